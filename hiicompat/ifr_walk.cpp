#include "hiicompat/ifr_walk.h"

#include "uefi/uefi_ifr.h"

namespace hiicompat {

bool IfrWalk::Peek(IfrOp &Op) const {
  if (!Ifr.Holds(Cursor, sizeof(EFI_IFR_OP_HEADER))) return false;
  const UINT8 Length = IfrOpLength(Ifr.Data + Cursor);
  if (Length < sizeof(EFI_IFR_OP_HEADER) || !Ifr.Holds(Cursor, Length)) return false;
  Op = IfrOp{Cursor, Ifr.U8(Cursor), Length, IfrOpOpensScope(Ifr.Data + Cursor)};
  return true;
}

bool IfrWalk::Next(IfrOp &Op) {
  if (!Peek(Op)) return false;
  Cursor += Op.Length;
  return true;
}

bool IsExpressionOpCode(UINT8 Code) {
  return (Code >= EFI_IFR_EQ_ID_VAL_OP && Code <= EFI_IFR_NOT_OP) ||
         (Code >= EFI_IFR_MATCH_OP && Code <= EFI_IFR_SET_OP) ||
         (Code >= EFI_IFR_EQUAL_OP && Code <= EFI_IFR_SPAN_OP) || Code == EFI_IFR_CATENATE_OP ||
         Code == EFI_IFR_TO_LOWER_OP || Code == EFI_IFR_TO_UPPER_OP || Code == EFI_IFR_MAP_OP ||
         Code == EFI_IFR_VERSION_OP || Code == EFI_IFR_SECURITY_OP || Code == EFI_IFR_MATCH2_OP;
}

}  // namespace hiicompat
