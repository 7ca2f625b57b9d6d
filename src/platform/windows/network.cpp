#include "platform/network.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstdlib>
#include <cstring>
#include <memory>

// Behind the headers that it needs.
#include "platform/portable/native_resolver.h"

namespace kx::platform {
namespace {

// A socket, which an address family answers by, up to the end of the scope.
class Socket final {
  public:
    explicit Socket(int family) noexcept : m_socket(socket(family, SOCK_STREAM, IPPROTO_TCP)) {}
    ~Socket() {
        if (m_socket != INVALID_SOCKET) closesocket(m_socket);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    // Asks for the interfaces' addresses. Returns the bytes of the answer, whether it fits or not;
    // 0 for a failure. Without a socket it fails as well.
    DWORD QueryAddresses(void* out, DWORD size) const noexcept {
        DWORD length = 0;
        WSAIoctl(m_socket, SIO_ADDRESS_LIST_QUERY, nullptr, 0, out, size, &length, nullptr,
                 nullptr);
        return length;
    }

  private:
    const SOCKET m_socket;
};

struct Free {
    void operator()(void* block) const noexcept { std::free(block); }
};
using Answer = std::unique_ptr<SOCKET_ADDRESS_LIST, Free>;

// Null without one. The answer points into itself.
Answer AllAddresses(int family) noexcept {
    const Socket socket(family);
    const DWORD size = socket.QueryAddresses(nullptr, 0);
    if (size == 0) return nullptr;
    Answer answer(static_cast<SOCKET_ADDRESS_LIST*>(std::calloc(1, size)));
    if (answer != nullptr) socket.QueryAddresses(answer.get(), size);
    return answer;
}

}  // namespace

bool StartNetwork() noexcept {
    WSADATA data{};
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

NativeError QueryHostName(char* out, std::size_t size) noexcept {
    if (gethostname(out, static_cast<int>(size)) == 0) return kSuccess;
    return static_cast<NativeError>(WSAGetLastError());
}

// An answer of another family than was asked for counts as none.
SocketAddressList InterfaceAddresses(Family family) noexcept {
    const bool isIpv4 = family == Family::kIpv4;
    const int native = isIpv4 ? AF_INET : AF_INET6;
    const std::size_t length = isIpv4 ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    const Answer answer = AllAddresses(native);
    SocketAddressList list;
    if (answer == nullptr || answer->iAddressCount <= 0) return list;
    const auto count = static_cast<std::size_t>(answer->iAddressCount);
    list.entries = static_cast<SocketAddress*>(std::calloc(count, sizeof(SocketAddress)));
    if (list.entries == nullptr) return list;
    for (std::size_t i = 0; i < count; ++i) {
        const sockaddr* const address = answer->Address[i].lpSockaddr;
        if (address->sa_family != native) continue;
        std::memcpy(list.entries[list.count++].storage, address, length);
    }
    return list;
}

}  // namespace kx::platform
