#include "platform/security.h"

#include <kxcore7/result.h>
#include <kxcore7/security.h>

using namespace kx;

KXResult KXWinBuildRestrictedSD(void* descriptor, uint32_t accessMask, void** list) {
    const auto error = platform::BuildRestrictedDescriptor(descriptor, accessMask, list);
    return error == platform::kNotImplemented ? KX_E_NOTIMPL : KXResultFromNative(error);
}

void KXWinFreeRestrictedSD(void* list) {
    platform::FreeAccessList(list);
}
