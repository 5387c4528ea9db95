#pragma once
// The raw socket form: a plain TCP stream whose messages end with LF. A reply that starts with a
// definite-length block ends after the block, whatever LF bytes its binary data hold. A connection the
// peer closed or that failed is Broken; the next write or read connects again.

#include "instruments/visa/byte_stream.h"
#include "instruments/visa/instrument_link.h"

#include <memory>

namespace zel::visa {

class SocketLink final : public InstrumentLink {
public:
    explicit SocketLink(ByteStreamFactory factory) : factory_(std::move(factory)) {}
    ~SocketLink() override { close(); }

    ViStatus open(const std::string& host, std::uint16_t port, int timeoutMs);
    ViStatus write(std::string_view data, std::uint32_t& written, int timeoutMs) override;
    ViStatus read(std::string& data, std::uint32_t maxCount, int timeoutMs) override;
    void close() override;
    LinkState state() const override { return state_; }

private:
    ViStatus connect(int timeoutMs);
    ViStatus failed(ByteStream::Result r);
    ViStatus ensureConnected(int timeoutMs);

    ByteStreamFactory factory_;
    std::unique_ptr<ByteStream> stream_;
    std::string host_;
    std::uint16_t port_ = 0;
    LinkState state_ = LinkState::Connected;
    std::string buffer_; // received, not yet returned
};

// Length of the first whole message in bytes (its LF included), or 0 while it is still incomplete.
std::size_t socketMessageLength(std::string_view buffered);

} // namespace zel::visa
