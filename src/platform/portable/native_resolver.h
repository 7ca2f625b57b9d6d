// The resolver of every system that has the one of RFC 3493. A system's network.cpp includes the
// headers that declare it, then this, and nobody else does.
#ifndef KXCORE7_SRC_PLATFORM_PORTABLE_NATIVE_RESOLVER_H
#define KXCORE7_SRC_PLATFORM_PORTABLE_NATIVE_RESOLVER_H

#include "platform/network.h"

namespace kx::platform {

int Resolve(const char* node, const char* service, const addrinfo* hints, addrinfo** out) {
    return getaddrinfo(node, service, hints, out);
}

addrinfo* ResolveCanonical(const char* node) {
    addrinfo hints{};
    hints.ai_flags = AI_CANONNAME;
    addrinfo* list = nullptr;
    return getaddrinfo(node, nullptr, &hints, &list) == 0 ? list : nullptr;
}

void FreeResolved(addrinfo* list) noexcept {
    freeaddrinfo(list);
}

int ResolverOutOfMemory() noexcept {
    return EAI_MEMORY;
}

}  // namespace kx::platform

#endif
