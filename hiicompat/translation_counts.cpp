#include "hiicompat/translation_counts.h"

namespace hiicompat {

const char *LeftOutName(LeftOut Reason) {
  switch (Reason) {
    case LeftOut::String: return "string";
    case LeftOut::Password: return "password";
    case LeftOut::Date: return "date";
    case LeftOut::Time: return "time";
    case LeftOut::OrderedList: return "ordered list";
    case LeftOut::Action: return "action";
    case LeftOut::Wide: return "8-byte numeric";
    case LeftOut::BeyondSixteen: return "values past 16 bits";
    case LeftOut::BitField: return "bit-field store";
    case LeftOut::NameValue: return "name/value store";
    case LeftOut::NoVariableName: return "EFI store without a name";
    case LeftOut::UnknownStore: return "undeclared store";
    case LeftOut::LargeStore: return "store over 4096 bytes";
    case LeftOut::ManyStores: return "past 32 stores";
    case LeftOut::NoRouting: return "buffer store without Config Routing";
    case LeftOut::NoDevicePath: return "buffer store without an owner";
    case LeftOut::Disabled: return "disabled";
    case LeftOut::Malformed: return "malformed";
    case LeftOut::Count: break;
  }
  return "?";
}

}  // namespace hiicompat
