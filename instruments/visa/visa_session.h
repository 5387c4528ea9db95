#pragma once
// The VISA operations the instrument drivers use, under their standard meanings and status codes: a
// negative status is an error, VI_SUCCESS (0) and the positive completion codes are not.

#include <cstdint>
#include <string>
#include <string_view>

namespace zel::visa {

using ViSession = std::uint32_t;
using ViStatus = std::int32_t;

constexpr ViStatus code(std::uint32_t v) {
    return static_cast<ViStatus>(v);
}

constexpr ViStatus VI_SUCCESS = 0;
constexpr ViStatus VI_SUCCESS_TERM_CHAR = code(0x3FFF0005);
constexpr ViStatus VI_SUCCESS_MAX_CNT = code(0x3FFF0006);
constexpr ViStatus VI_ERROR_SYSTEM_ERROR = code(0xBFFF0000);
constexpr ViStatus VI_ERROR_INV_OBJECT = code(0xBFFF000E);
constexpr ViStatus VI_ERROR_RSRC_NFOUND = code(0xBFFF0011);
constexpr ViStatus VI_ERROR_INV_RSRC_NAME = code(0xBFFF0012);
constexpr ViStatus VI_ERROR_TMO = code(0xBFFF0015);
constexpr ViStatus VI_ERROR_NSUP_ATTR = code(0xBFFF001D);
constexpr ViStatus VI_ERROR_NSUP_ATTR_STATE = code(0xBFFF001E);
constexpr ViStatus VI_ERROR_IO = code(0xBFFF003E);
constexpr ViStatus VI_ERROR_CONN_LOST = code(0xBFFF00A6);

constexpr std::uint32_t VI_ATTR_TMO_VALUE = 0x3FFF001A;
constexpr std::uint32_t VI_ATTR_RD_BUF_OPER_MODE = 0x3FFF002A;
constexpr std::uint32_t VI_ATTR_WR_BUF_OPER_MODE = 0x3FFF002D;
constexpr std::uint64_t VI_FLUSH_ON_ACCESS = 1;
constexpr std::uint64_t VI_FLUSH_WHEN_FULL = 2;
constexpr std::uint32_t VI_NO_LOCK = 0;

// The state of an instrument session's connection. Broken: the connection died (the peer closed it, an I/O
// error, a reply stream that lost its framing); the next write or read tries to build it again
// (Reconnecting while it does) and fails with VI_ERROR_CONN_LOST when that does not work.
enum class LinkState { Connected, Broken, Reconnecting };

class VisaSession {
public:
    virtual ~VisaSession() = default;
    virtual ViStatus openDefaultRM(ViSession& rm) = 0;
    virtual ViStatus open(ViSession rm, std::string_view resource, std::uint32_t accessMode,
                          std::uint32_t openTimeoutMs, ViSession& vi) = 0;
    virtual ViStatus setAttribute(ViSession vi, std::uint32_t attribute, std::uint64_t value) = 0;
    virtual ViStatus write(ViSession vi, std::string_view data, std::uint32_t& written) = 0;
    // Reads one message, or its first maxCount bytes (VI_SUCCESS_MAX_CNT; the rest waits for the next read).
    virtual ViStatus read(ViSession vi, std::string& data, std::uint32_t maxCount) = 0;
    virtual std::string statusDesc(ViSession vi, ViStatus status) = 0;
    virtual ViStatus close(ViSession vi) = 0;
    // A session whose transport cannot break (or an unknown one) is always Connected.
    virtual LinkState linkState(ViSession) const { return LinkState::Connected; }
};

} // namespace zel::visa
