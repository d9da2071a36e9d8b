// One line of a session file: the operands of one bioscfg-tool run, written
// as they would follow `bioscfg-tool.efi` in a UEFI Shell script, so that a
// line serves a session and a startup.nsh alike.
//
// The Shell's rules: blanks (space, tab) separate words; double quotes group
// blanks into a word and are dropped; ^ takes the next character as it is
// (^" a quote, ^# a hash, ^^ a caret); an unescaped # starts a comment
// wherever it stands, inside quotes too.
#pragma once

#include <string>
#include <vector>

namespace bioscfgsim {

struct SessionLine {
  std::string Text;                // the command as written, comment and outer blanks dropped
  std::vector<std::string> Words;  // empty for a blank or comment line
};

// False with a reason when a double quote is left open.
[[nodiscard]] bool SplitSessionLine(const std::string &Line, SessionLine &Out, std::string &Error);

}  // namespace bioscfgsim
