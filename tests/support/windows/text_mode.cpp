#include "support/text_mode.h"

#include <fcntl.h>
#include <io.h>

namespace kx::test {

const bool kTextModeHasCarriageReturns = true;

void LeaveBytesAlone() {
    for (int stream = 0; stream < 3; ++stream) _setmode(stream, _O_BINARY);
}

}  // namespace kx::test
