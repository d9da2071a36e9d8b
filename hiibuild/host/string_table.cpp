// String packs: one per language, every token present in each.
#include "hiibuild/host/hii_export_builder.h"
#include "hiibuild/host/host_allocator.h"
#include "hiibuild/pack_encoder.h"

#include <stdexcept>

namespace hiibuild {

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
  auto Wide = [](const std::u16string &Text) {
    return WideText{reinterpret_cast<const CHAR16 *>(Text.data()), Text.size()};
  };
  const std::u16string LanguageName = Widen(Language);
  const std::u16string Printable = PrintableName(Language);
  std::vector<WideText> Texts;
  Texts.reserve(Strings.size());
  for (const Text &T : Strings) {
    const std::u16string *Shown = T.In(Language);
    Texts.push_back(Shown == nullptr ? WideText{nullptr, 0} : Wide(*Shown));  // absent: beyond the pack
  }
  ByteBuffer Pack(HostAllocator());
  const StringPackParts Parts{Wide(LanguageName), Wide(Printable), Texts.data(), Texts.size()};
  ThrowUnlessSuccess(WriteStringPack(Pack, Parts), "string pack");
  return Bytes(Pack.Data(), Pack.Data() + Pack.Size());
}

}  // namespace hiibuild
