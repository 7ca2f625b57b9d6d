#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

// Behind the headers that it needs.
#include "support/native_address_texts.h"

namespace kx::test {

std::string NativeHostName() {
    char name[256] = {};
    gethostname(name, sizeof name - 1);
    return name;
}

}  // namespace kx::test
