#include "platform/identifiers.h"

#include "platform/windows/native.h"
// Behind the header that it needs.
#include <rpc.h>

namespace kx::platform {

static_assert(kNoNetworkAddress == RPC_S_UUID_NO_ADDRESS);
static_assert(sizeof(KXGUID) == sizeof(UUID));

std::uint32_t GenerateIdentifier(KXGUID* out) noexcept {
    return static_cast<std::uint32_t>(UuidCreate(reinterpret_cast<UUID*>(out)));
}

}  // namespace kx::platform
