// The class that the component module holds, as both sides know it.
#ifndef KXCORE7_BENCH_COMPONENT_CLASS_H
#define KXCORE7_BENCH_COMPONENT_CLASS_H

#include <kxcore7/guid.h>

namespace bench {

inline constexpr KXGUID kClass = {
    0x5D0F3C61u, 0x8A42, 0x4E97, {0xB1, 0x0C, 0x7E, 0x23, 0x94, 0xD8, 0x6F, 0x15}};

}  // namespace bench

#endif
