#include "support/libraries.h"

namespace kx::test {

const SystemLibrary kSystemLibrary = {u"libm.so.6", u"cos"};

}  // namespace kx::test
