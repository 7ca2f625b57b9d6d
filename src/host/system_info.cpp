#include <kxcore7/result.h>
#include <kxcore7/systeminfo.h>

#include "frame/exception.h"
#include "platform/users.h"

using namespace kx;

KXResult KXGetUserName(char16_t* name, uint32_t size) {
    return core::Guarded([&] { return KXResultFromNative(platform::QueryUserName(name, size)); });
}
