#include "settings/startup/platform_network.h"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zel {
namespace {

class Socket {
public:
    explicit Socket(int fd) : fd_(fd) {}
    ~Socket() {
        if (fd_ >= 0) ::close(fd_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int fd() const { return fd_; }

private:
    int fd_;
};

} // namespace

bool SystemNetwork::answersEcho(const std::string& address) {
    const auto ip = parseDottedIPv4(address);
    if (!ip || port_ <= 0 || port_ > 65535) return false;

    Socket s(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (s.fd() < 0) return false;
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(port_));
    to.sin_addr.s_addr = htonl(*ip);

    int error = 0;
    if (::connect(s.fd(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
        error = errno;
        if (error == EINPROGRESS) {
            pollfd p{s.fd(), POLLOUT, 0};
            int ready;
            do
                ready = ::poll(&p, 1, timeoutMs_);
            while (ready < 0 && errno == EINTR);
            if (ready <= 0) return false;
            socklen_t len = sizeof error;
            if (::getsockopt(s.fd(), SOL_SOCKET, SO_ERROR, &error, &len) != 0) return false;
        }
    }
    return error == 0 || error == ECONNREFUSED;
}

std::vector<std::string> SystemNetwork::localAddresses() {
    std::vector<std::string> out;
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) return out;
    for (const ifaddrs* i = list; i; i = i->ifa_next) {
        if (!i->ifa_addr || i->ifa_addr->sa_family != AF_INET) continue;
        if (!(i->ifa_flags & IFF_UP) || (i->ifa_flags & IFF_LOOPBACK)) continue;
        const auto* in = reinterpret_cast<const sockaddr_in*>(i->ifa_addr);
        char text[INET_ADDRSTRLEN] = {};
        if (::inet_ntop(AF_INET, &in->sin_addr, text, sizeof text)) out.emplace_back(text);
    }
    ::freeifaddrs(list);
    return out;
}

} // namespace zel
