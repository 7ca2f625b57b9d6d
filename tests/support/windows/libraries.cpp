#include "support/libraries.h"

namespace kx::test {

const SystemLibrary kSystemLibrary = {u"kernel32.dll", u"GetTickCount"};

}  // namespace kx::test
