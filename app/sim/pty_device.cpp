#include "app/sim/pty_device.h"

#include <QSocketNotifier>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace zel::sim {

PtyDevice::PtyDevice() = default;

PtyDevice::~PtyDevice() {
    delete notifier_;
    if (master_ >= 0) ::close(master_);
    if (slave_ >= 0) ::close(slave_);
}

bool PtyDevice::open() {
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0) {
        error_ = std::string("pseudo-terminal: ") + std::strerror(errno);
        return false;
    }
    const char* name = ::ptsname(master_);
    if (!name) {
        error_ = std::string("pseudo-terminal name: ") + std::strerror(errno);
        return false;
    }
    path_ = name;
    slave_ = ::open(name, O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (slave_ < 0) {
        error_ = path_ + ": " + std::strerror(errno);
        return false;
    }
    termios t{};
    if (::tcgetattr(slave_, &t) == 0) {
        ::cfmakeraw(&t);
        ::tcsetattr(slave_, TCSANOW, &t);
    }
    notifier_ = new QSocketNotifier(master_, QSocketNotifier::Read);
    QObject::connect(notifier_, &QSocketNotifier::activated, [this] { readable(); });
    return true;
}

void PtyDevice::readable() {
    char buf[4096];
    const auto n = ::read(master_, buf, sizeof buf);
    if (n > 0 && handler_) handler_(std::string_view(buf, static_cast<std::size_t>(n)));
}

void PtyDevice::send(std::string_view bytes) {
    if (master_ < 0) return;
    while (!bytes.empty()) {
        const auto n = ::write(master_, bytes.data(), bytes.size());
        if (n <= 0) return;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
}

Transcript::Transcript(const std::string& path) {
    if (!path.empty()) file_ = std::fopen(path.c_str(), "wb");
}

Transcript::~Transcript() {
    if (file_) std::fclose(file_);
}

void Transcript::line(std::string_view text) {
    if (!file_) return;
    std::fwrite(text.data(), 1, text.size(), file_);
    std::fputc('\n', file_);
    std::fflush(file_);
}

std::string printable(std::string_view bytes) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    for (const char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (u == 27)
            out += "<ESC>";
        else if (u < 32 || u >= 127)
            out += std::string{'<', hex[u >> 4], hex[u & 15], '>'};
        else
            out += c;
    }
    return out;
}

} // namespace zel::sim
