#include "support/started_child.h"

#include <fcntl.h>
#include <poll.h>

namespace kx::test {

KXFileHandle InheritableFile(const std::filesystem::path& path) {
    return static_cast<KXFileHandle>(open(path.c_str(), O_RDWR | O_CREAT, 0600));
}

void AwaitEnd(KXProcessHandle process) {
    pollfd ended{static_cast<int>(process), POLLIN, 0};
    while (poll(&ended, 1, -1) != 1) {
    }
}

}  // namespace kx::test
