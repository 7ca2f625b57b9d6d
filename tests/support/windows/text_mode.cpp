#include "support/text_mode.h"

namespace kx::test {

const bool kTextModeHasCarriageReturns = true;

}  // namespace kx::test
