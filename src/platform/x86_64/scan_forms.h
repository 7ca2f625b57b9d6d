// The forms with vectors of 16 and of 32 bytes.
#ifndef KXCORE7_SRC_PLATFORM_X86_64_SCAN_FORMS_H
#define KXCORE7_SRC_PLATFORM_X86_64_SCAN_FORMS_H

#include "platform/scan.h"

namespace kx::platform {

extern const Scan kSse2Scan;
extern const Scan kAvx2Scan;

}  // namespace kx::platform

#endif
