#include <kxcore7/bytes.h>

#include <cstring>

namespace {

template <typename Value>
Value Get(const void* address) {
    Value value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

}  // namespace

uint16_t KXSwapInt16(uint16_t value) {
    return __builtin_bswap16(value);
}
uint32_t KXSwapInt32(uint32_t value) {
    return __builtin_bswap32(value);
}
uint64_t KXSwapInt64(uint64_t value) {
    return __builtin_bswap64(value);
}

uint16_t KXGetUnalignedInt16(const void* address) {
    return Get<uint16_t>(address);
}
uint32_t KXGetUnalignedInt32(const void* address) {
    return Get<uint32_t>(address);
}
uint64_t KXGetUnalignedInt64(const void* address) {
    return Get<uint64_t>(address);
}

void KXPutUnalignedInt16(void* address, uint16_t value) {
    std::memcpy(address, &value, sizeof value);
}
void KXPutUnalignedInt32(void* address, uint32_t value) {
    std::memcpy(address, &value, sizeof value);
}
void KXPutUnalignedInt64(void* address, uint64_t value) {
    std::memcpy(address, &value, sizeof value);
}
