#include "tools/bioscfg-sim/session_line.h"

namespace bioscfgsim {

namespace {

bool IsBlank(char C) { return C == ' ' || C == '\t'; }

std::string Trimmed(const std::string &Text) {
  size_t Start = 0;
  size_t End = Text.size();
  while (Start < End && IsBlank(Text[Start])) ++Start;
  while (End > Start && IsBlank(Text[End - 1])) --End;
  return Text.substr(Start, End - Start);
}

}  // namespace

bool SplitSessionLine(const std::string &Line, SessionLine &Out, std::string &Error) {
  Out = SessionLine{};
  size_t End = Line.size();
  if (End > 0 && Line[End - 1] == '\r') --End;  // a script written with CR LF

  std::string Word;
  bool HasWord = false;
  bool Quoted = false;
  bool Comment = false;
  size_t Index = 0;
  for (; Index < End; ++Index) {
    const char C = Line[Index];
    if (C == '^' && Index + 1 < End) {
      Word.push_back(Line[++Index]);
      HasWord = true;
    } else if (C == '#') {
      Comment = true;
      break;
    } else if (C == '"') {
      Quoted = !Quoted;
      HasWord = true;
    } else if (!Quoted && IsBlank(C)) {
      if (HasWord) Out.Words.push_back(Word);
      Word.clear();
      HasWord = false;
    } else {
      Word.push_back(C);
      HasWord = true;
    }
  }
  Out.Text = Trimmed(Line.substr(0, Index));
  if (Quoted) {
    Error = Comment ? "a double quote is left open where a # starts a comment (write ^# for a #)"
                    : "a double quote is left open";
    Out.Words.clear();
    return false;
  }
  if (HasWord) Out.Words.push_back(Word);
  return true;
}

}  // namespace bioscfgsim
