#include "support/locales.h"

namespace kx::test {

// The runtime has no UTF-8; this is the code page of Japan.
const MultiByteLocale kMultiByteLocale = {".932", "\x82\xA0", u"\u3042"};

}  // namespace kx::test
