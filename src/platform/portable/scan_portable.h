// The form for every processor, a unit after the other; the others are held against it.
#ifndef KXCORE7_SRC_PLATFORM_PORTABLE_SCAN_PORTABLE_H
#define KXCORE7_SRC_PLATFORM_PORTABLE_SCAN_PORTABLE_H

#include "platform/scan.h"

namespace kx::platform {

extern const Scan kPortableScan;

}  // namespace kx::platform

#endif
