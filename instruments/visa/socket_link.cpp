#include "instruments/visa/socket_link.h"

#include "instruments/visa/deadline.h"
#include "instruments/visa/ieee_block.h"

namespace zel::visa {

namespace {
constexpr std::size_t kMaxBlock = 16 * 1024 * 1024;

ViStatus fromStream(ByteStream::Result r) {
    switch (r) {
    case ByteStream::Result::Ok: return VI_SUCCESS;
    case ByteStream::Result::Timeout: return VI_ERROR_TMO;
    case ByteStream::Result::Closed: return VI_ERROR_CONN_LOST;
    case ByteStream::Result::Error: return VI_ERROR_IO;
    }
    return VI_ERROR_IO;
}
} // namespace

std::size_t socketMessageLength(std::string_view buffered) {
    if (!buffered.empty() && buffered.front() == '#') {
        BlockParser block(kMaxBlock);
        const std::size_t used = block.feed(buffered);
        if (block.complete()) return used;
        if (!block.failed()) return 0;
        // Not a valid block after all: the message ends at its LF like any other.
    }
    const std::size_t lf = buffered.find('\n');
    return lf == std::string_view::npos ? 0 : lf + 1;
}

ViStatus SocketLink::connect(int timeoutMs) {
    stream_ = factory_();
    buffer_.clear();
    const auto r = stream_->connect(host_, port_, timeoutMs);
    if (r != ByteStream::Result::Ok) {
        stream_.reset();
        return r == ByteStream::Result::Timeout ? VI_ERROR_TMO : VI_ERROR_RSRC_NFOUND;
    }
    state_ = LinkState::Connected;
    return VI_SUCCESS;
}

ViStatus SocketLink::open(const std::string& host, std::uint16_t port, int timeoutMs) {
    host_ = host;
    port_ = port;
    return connect(timeoutMs);
}

ViStatus SocketLink::failed(ByteStream::Result r) {
    // A time-out leaves the stream as it was; anything else ends this connection.
    if (r != ByteStream::Result::Timeout && stream_) {
        stream_->close();
        stream_.reset();
        buffer_.clear();
        state_ = LinkState::Broken;
    }
    return fromStream(r);
}

ViStatus SocketLink::ensureConnected(int timeoutMs) {
    if (stream_) return VI_SUCCESS;
    if (state_ != LinkState::Broken || port_ == 0) return VI_ERROR_CONN_LOST;
    state_ = LinkState::Reconnecting;
    const ViStatus st = connect(timeoutMs);
    if (st < 0) state_ = LinkState::Broken;
    return st < 0 ? VI_ERROR_CONN_LOST : VI_SUCCESS;
}

ViStatus SocketLink::write(std::string_view data, std::uint32_t& written, int timeoutMs) {
    written = 0;
    if (const ViStatus st = ensureConnected(timeoutMs); st < 0) return st;
    std::string message(data);
    if (message.empty() || message.back() != '\n') message += '\n';
    const auto r = stream_->write(message, timeoutMs);
    if (r != ByteStream::Result::Ok) return failed(r);
    written = static_cast<std::uint32_t>(data.size());
    return VI_SUCCESS;
}

ViStatus SocketLink::read(std::string& data, std::uint32_t maxCount, int timeoutMs) {
    data.clear();
    const Deadline deadline(timeoutMs);
    if (const ViStatus st = ensureConnected(deadline.remainingMs()); st < 0) return st;
    while (true) {
        const std::size_t n = socketMessageLength(buffer_);
        if (n > 0 && n <= maxCount) {
            data = buffer_.substr(0, n);
            buffer_.erase(0, n);
            return VI_SUCCESS_TERM_CHAR;
        }
        if (buffer_.size() >= maxCount) {
            data = buffer_.substr(0, maxCount);
            buffer_.erase(0, maxCount);
            return VI_SUCCESS_MAX_CNT;
        }
        if (deadline.expired()) return VI_ERROR_TMO;
        const auto r = stream_->read(buffer_, 64 * 1024, deadline.remainingMs());
        if (r != ByteStream::Result::Ok && r != ByteStream::Result::Timeout) return failed(r);
    }
}

void SocketLink::close() {
    port_ = 0; // closed on purpose: nothing to connect again
    if (!stream_) return;
    stream_->close();
    stream_.reset();
    buffer_.clear();
}

} // namespace zel::visa
