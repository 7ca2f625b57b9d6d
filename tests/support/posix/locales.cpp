#include "support/locales.h"

namespace kx::test {

const MultiByteLocale kMultiByteLocale = {"C.UTF-8", "\xC3\xA9", u"\u00E9"};

}  // namespace kx::test
