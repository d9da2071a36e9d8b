// Stepping through UEFI IFR opcodes: each one's number, length and scope
// bit, checked to lie inside the form package. An opcode whose length is
// below 2 or runs past the package ends the walk (its successor cannot be
// found).
#pragma once

#include "hiicompat/byte_span.h"

namespace hiicompat {

struct IfrOp {
  UINT64 Offset;  // in the IFR
  UINT8 Code;
  UINT8 Length;
  bool Scope;
};

class IfrWalk {
 public:
  // Ifr: the opcodes (a form package without its header).
  explicit IfrWalk(ByteView Ifr, UINT64 Start = 0) : Ifr(Ifr), Cursor(Start) {}
  bool Next(IfrOp &Op);
  // Peeks at the opcode at the cursor without moving.
  bool Peek(IfrOp &Op) const;
  UINT64 Position() const { return Cursor; }
  void MoveTo(UINT64 Position) { Cursor = Position; }
  ByteView Bytes() const { return Ifr; }

 private:
  ByteView Ifr;
  UINT64 Cursor;
};

// Opcodes that belong to an expression (as a forms browser tells them):
// they follow a condition's opcode and build its value.
bool IsExpressionOpCode(UINT8 Code);

}  // namespace hiicompat
