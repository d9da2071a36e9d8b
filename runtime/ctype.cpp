// Character classes of the C locale (ASCII); every other value is in no
// class, including EOF and bytes above 0x7F.
#include "runtime/crt.h"

namespace crt {

int tolower(int C) { return C >= 'A' && C <= 'Z' ? C - 'A' + 'a' : C; }

int toupper(int C) { return C >= 'a' && C <= 'z' ? C - 'a' + 'A' : C; }

int isprint(int C) { return C >= 0x20 && C <= 0x7E; }

int isspace(int C) { return C == ' ' || (C >= '\t' && C <= '\r'); }

int isdigit(int C) { return C >= '0' && C <= '9'; }

}  // namespace crt
