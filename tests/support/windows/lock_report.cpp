#include "support/lock_report.h"

#include <iomanip>
#include <sstream>

namespace kx::test {

// All digits, in upper case, and no prefix: as the streams of the system's own compiler do.
std::string StreamedAddress(KXMutexHandle lock) {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0') << std::setw(2 * sizeof lock) << lock;
    return text.str();
}

}  // namespace kx::test
