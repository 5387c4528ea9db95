#pragma once
// VISA over TCP/IP without a VISA library: the resource string picks the VXI-11 link or the raw socket.

#include "instruments/visa/byte_stream.h"
#include "instruments/visa/instrument_link.h"
#include "instruments/visa/visa_session.h"

#include <map>
#include <memory>

namespace zel::visa {

struct NetVisaOptions {
    std::uint16_t portmapPort = 111;
    int timeoutMs = 2000; // VISA's default I/O time-out
};

class NetVisa final : public VisaSession {
public:
    NetVisa(ByteStreamFactory factory, NetVisaOptions options = {});
    ~NetVisa() override;

    ViStatus openDefaultRM(ViSession& rm) override;
    ViStatus open(ViSession rm, std::string_view resource, std::uint32_t accessMode,
                  std::uint32_t openTimeoutMs, ViSession& vi) override;
    ViStatus setAttribute(ViSession vi, std::uint32_t attribute, std::uint64_t value) override;
    ViStatus write(ViSession vi, std::string_view data, std::uint32_t& written) override;
    ViStatus read(ViSession vi, std::string& data, std::uint32_t maxCount) override;
    std::string statusDesc(ViSession vi, ViStatus status) override;
    ViStatus close(ViSession vi) override;
    LinkState linkState(ViSession vi) const override;

private:
    struct Session {
        bool manager = false;
        std::unique_ptr<InstrumentLink> link;
        int timeoutMs = 2000;
    };
    Session* find(ViSession vi);

    ByteStreamFactory factory_;
    NetVisaOptions options_;
    std::map<ViSession, Session> sessions_;
    ViSession next_ = 1;
};

// The standard status descriptions.
std::string describeStatus(ViStatus status);

} // namespace zel::visa
