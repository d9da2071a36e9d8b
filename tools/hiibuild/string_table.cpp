// String packs: one per language, every token present in each.
#include "tools/hiibuild/hii_export_builder.h"

#include <stdexcept>

namespace hiibuild {

using namespace hii_layout;

Text Text::OnlyIn(std::map<std::string, std::u16string> Translations) {
  Text T;
  T.Translations = std::move(Translations);
  T.OnlyTranslated = true;
  T.None = false;
  return T;
}

const std::u16string *Text::In(const std::string &Language) const {
  static const std::u16string Empty;
  if (None) return &Empty;
  auto Found = Translations.find(Language);
  if (Found != Translations.end()) return &Found->second;
  if (OnlyTranslated) return nullptr;
  return &Default;
}

StringTable::StringTable(std::vector<std::string> Languages)
    : LanguageNames(std::move(Languages)) {
  Strings.push_back(Text());  // token 0: the empty string
  Tokens[Text()] = 0;
}

uint16_t StringTable::Token(const Text &T) {
  auto Found = Tokens.find(T);
  if (Found != Tokens.end()) return Found->second;
  if (Strings.size() > 0xFFFF) throw std::length_error("more than 65535 strings in one table");
  auto NewToken = static_cast<uint16_t>(Strings.size());
  Strings.push_back(T);
  Tokens[T] = NewToken;
  return NewToken;
}

static std::u16string Widen(const std::string &Ascii) {
  return std::u16string(Ascii.begin(), Ascii.end());
}

// Names a person reads in a language menu.
static std::u16string PrintableName(const std::string &Language) {
  if (Language == "eng") return u"English";
  if (Language == "fra") return u"Francais";
  if (Language == "deu") return u"Deutsch";
  return Widen(Language);
}

Bytes StringTable::BuildPack(const std::string &Language) const {
  // Layout: 22-byte header, one pointer per token, the language names, then
  // the texts. Every pointer is an offset from the pack's start.
  const uint32_t PointerBytes = static_cast<uint32_t>(4 * Strings.size());
  ByteWriter Body;
  const uint32_t BodyStart = STRING_POINTERS + PointerBytes;
  const uint32_t LanguageNameAt = BodyStart;
  Body.WideZ(Widen(Language));
  const uint32_t PrintableNameAt = BodyStart + static_cast<uint32_t>(Body.Size());
  Body.WideZ(PrintableName(Language));

  std::vector<uint32_t> Pointers;
  for (const Text &T : Strings) {
    const std::u16string *Shown = T.In(Language);
    if (Shown == nullptr) {
      Pointers.push_back(0xFFFFFFFFu);  // beyond any pack: no text here
      continue;
    }
    Pointers.push_back(BodyStart + static_cast<uint32_t>(Body.Size()));
    Body.WideZ(*Shown);
  }

  ByteWriter Pack;
  Pack.U32(BodyStart + static_cast<uint32_t>(Body.Size()))
      .U16(HII_PACK_STRING)
      .U32(LanguageNameAt)
      .U32(PrintableNameAt)
      .U32(static_cast<uint32_t>(Strings.size()))
      .U32(0);  // attributes
  for (uint32_t P : Pointers) Pack.U32(P);
  Pack.Append(Body.Data());
  return Pack.Take();
}

}  // namespace hiibuild
