#include "support/text_mode.h"

namespace kx::test {

const bool kTextModeHasCarriageReturns = false;

void LeaveBytesAlone() {}

}  // namespace kx::test
