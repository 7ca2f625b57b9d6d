// The part of native_addresses.cpp that is the same on every system, which includes this behind the
// headers for its sockets.
#ifndef KXCORE7_TESTS_SUPPORT_NATIVE_ADDRESS_TEXTS_H
#define KXCORE7_TESTS_SUPPORT_NATIVE_ADDRESS_TEXTS_H

#include <cstring>

#include "support/native_addresses.h"

namespace kx::test {
namespace {

template <typename Native>
Native Copied(const addrinfo& record) {
    Native native{};
    std::memcpy(&native, record.ai_addr, sizeof native);
    return native;
}

std::string TextOf(const addrinfo& record) {
    char text[INET6_ADDRSTRLEN] = {};
    if (record.ai_family == AF_INET && record.ai_addrlen == sizeof(sockaddr_in)) {
        const auto native = Copied<sockaddr_in>(record);
        if (native.sin_family != AF_INET || native.sin_port != 0) return "?";
        inet_ntop(AF_INET, &native.sin_addr, text, sizeof text);
        return text;
    }
    if (record.ai_family == AF_INET6 && record.ai_addrlen == sizeof(sockaddr_in6)) {
        const auto native = Copied<sockaddr_in6>(record);
        if (native.sin6_family != AF_INET6 || native.sin6_port != 0) return "?";
        inet_ntop(AF_INET6, &native.sin6_addr, text, sizeof text);
        std::string whole = text;
        if (native.sin6_scope_id != 0)
            whole.append("%").append(std::to_string(native.sin6_scope_id));
        return whole;
    }
    return "?";
}

}  // namespace

std::vector<std::string> AddressTexts(const addrinfo* list) {
    std::vector<std::string> texts;
    for (; list != nullptr; list = list->ai_next) texts.push_back(TextOf(*list));
    return texts;
}

std::vector<std::string> SocketTexts(const addrinfo* list) {
    std::vector<std::string> texts;
    for (; list != nullptr; list = list->ai_next) {
        texts.push_back(std::to_string(list->ai_socktype) + "/" +
                        std::to_string(list->ai_protocol));
    }
    return texts;
}

const addrinfo* NumericHint() {
    static const addrinfo hint = [] {
        addrinfo made{};
        made.ai_flags = AI_NUMERICHOST;
        return made;
    }();
    return &hint;
}

}  // namespace kx::test

#endif
