#include "hiicompat/byte_span.h"

#include "runtime/crt.h"

namespace hiicompat {

void ByteView::Guid(UINT64 Offset, EFI_GUID &Out) const { crt::memcpy(&Out, Data + Offset, sizeof(EFI_GUID)); }

bool SameGuid(const EFI_GUID &A, const EFI_GUID &B) { return crt::memcmp(&A, &B, sizeof(EFI_GUID)) == 0; }

}  // namespace hiicompat
