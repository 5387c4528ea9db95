#pragma once
// Our own VXI-11 client: portmapper GETPORT (version 2, TCP), create_link, device_write in chunks of the
// server's maxRecvSize, device_read until END, destroy_link. Every RPC wait is bounded by the
// operation's time-out; replies to calls already given up on are recognised by their xid and dropped.
//
// Link state: a connection that died (closed by the peer, an I/O error, a record beyond the cap or a reply
// that cannot be parsed, after which the record stream cannot be trusted) or a link the device no longer
// knows is Broken; the next write or read builds the whole link again (portmapper, connection,
// create_link) within its own time-out, as mature VISA implementations do. A time-out alone does not break
// it: the late reply is dropped by its xid.

#include "instruments/visa/byte_stream.h"
#include "instruments/visa/instrument_link.h"
#include "instruments/visa/rpc.h"

#include <memory>
#include <optional>

namespace zel::visa {

class Deadline;

class Vxi11Link final : public InstrumentLink {
public:
    explicit Vxi11Link(ByteStreamFactory factory) : factory_(std::move(factory)) {}
    ~Vxi11Link() override { close(); }

    ViStatus open(const std::string& host, std::uint16_t portmapPort, const std::string& device,
                  int timeoutMs);
    ViStatus write(std::string_view data, std::uint32_t& written, int timeoutMs) override;
    ViStatus read(std::string& data, std::uint32_t maxCount, int timeoutMs) override;
    void close() override;
    LinkState state() const override { return state_; }

    std::uint32_t maxRecvSize() const { return maxRecvSize_; }

private:
    // Sends one call on the stream and waits for its reply; the results or an error status.
    ViStatus call(ByteStream& stream, rpc::RecordAssembler& in, std::uint32_t prog, std::uint32_t vers,
                  std::uint32_t proc, std::string_view args, const Deadline& deadline, std::string& results);
    ViStatus getPort(const std::string& host, std::uint16_t portmapPort, const Deadline& deadline,
                     std::uint16_t& port);
    ViStatus connectLink(const Deadline& deadline);
    ViStatus ensureLinked(const Deadline& deadline);
    // The status of a failed core call; a failure that leaves the connection unusable breaks the link.
    ViStatus failed(ViStatus st);
    void dropConnection();
    ViStatus deviceError(std::int32_t error);

    ByteStreamFactory factory_;
    std::unique_ptr<ByteStream> core_;
    rpc::RecordAssembler coreIn_{kMaxRecord};
    std::uint32_t xid_ = 0;
    std::int32_t lid_ = 0;
    std::uint32_t maxRecvSize_ = 1024;
    bool linked_ = false;
    bool streamLost_ = false; // set by call(): the stream itself failed
    LinkState state_ = LinkState::Connected;
    std::string host_, device_;
    std::uint16_t portmapPort_ = 0;
    bool reopen_ = false; // opened once and not closed on purpose

    static constexpr std::size_t kMaxRecord = 16 * 1024 * 1024;
};

} // namespace zel::visa
