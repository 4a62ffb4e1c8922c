#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace quillon::test {

// A loopback port on which nothing listens, so that a connection is refused at once: the port is
// bound to find a free one and released without ever listening.
inline int refusedPort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        if (fd >= 0) {
            ::close(fd);
        }
        throw std::runtime_error("cannot find a free port");
    }
    ::close(fd);
    return ntohs(address.sin_port);
}

// "https://localhost:PORT" for such a port.
inline std::string refusedBaseUrl() {
    return "https://localhost:" + std::to_string(refusedPort());
}

} // namespace quillon::test
