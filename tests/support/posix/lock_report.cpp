#include "support/lock_report.h"

#include <sstream>

namespace kx::test {

std::string StreamedAddress(KXMutexHandle lock) {
    std::ostringstream text;
    text << reinterpret_cast<const void*>(lock);
    return text.str();
}

}  // namespace kx::test
