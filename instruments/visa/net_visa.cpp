#include "instruments/visa/net_visa.h"

#include "instruments/visa/resource.h"
#include "instruments/visa/socket_link.h"
#include "instruments/visa/vxi11_link.h"

#include <cstdio>

namespace zel::visa {

NetVisa::NetVisa(ByteStreamFactory factory, NetVisaOptions options)
    : factory_(std::move(factory)), options_(options) {}

NetVisa::~NetVisa() {
    for (auto& [vi, s] : sessions_)
        if (s.link) s.link->close();
}

NetVisa::Session* NetVisa::find(ViSession vi) {
    const auto it = sessions_.find(vi);
    return it == sessions_.end() ? nullptr : &it->second;
}

ViStatus NetVisa::openDefaultRM(ViSession& rm) {
    rm = next_++;
    sessions_[rm].manager = true;
    return VI_SUCCESS;
}

ViStatus NetVisa::open(ViSession rm, std::string_view resource, std::uint32_t, std::uint32_t, ViSession& vi) {
    vi = 0;
    const Session* manager = find(rm);
    if (!manager || !manager->manager) return VI_ERROR_INV_OBJECT;
    const auto res = parseResource(resource);
    if (!res) return VI_ERROR_INV_RSRC_NAME;

    Session s;
    s.timeoutMs = options_.timeoutMs;
    if (res->kind == Resource::Kind::Socket) {
        auto link = std::make_unique<SocketLink>(factory_);
        if (const ViStatus st = link->open(res->host, res->port, s.timeoutMs); st < 0) return st;
        s.link = std::move(link);
    } else {
        auto link = std::make_unique<Vxi11Link>(factory_);
        if (const ViStatus st = link->open(res->host, options_.portmapPort, res->device, s.timeoutMs); st < 0)
            return st;
        s.link = std::move(link);
    }
    vi = next_++;
    sessions_[vi] = std::move(s);
    return VI_SUCCESS;
}

ViStatus NetVisa::setAttribute(ViSession vi, std::uint32_t attribute, std::uint64_t value) {
    Session* s = find(vi);
    if (!s || s->manager) return VI_ERROR_INV_OBJECT;
    switch (attribute) {
    case VI_ATTR_TMO_VALUE:
        s->timeoutMs = value > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(value);
        return VI_SUCCESS;
    case VI_ATTR_RD_BUF_OPER_MODE:
    case VI_ATTR_WR_BUF_OPER_MODE:
        // Every write goes out at once and every read takes what is there: both modes behave alike.
        return value == VI_FLUSH_ON_ACCESS || value == VI_FLUSH_WHEN_FULL ? VI_SUCCESS
                                                                          : VI_ERROR_NSUP_ATTR_STATE;
    default: return VI_ERROR_NSUP_ATTR;
    }
}

ViStatus NetVisa::write(ViSession vi, std::string_view data, std::uint32_t& written) {
    written = 0;
    Session* s = find(vi);
    if (!s || !s->link) return VI_ERROR_INV_OBJECT;
    return s->link->write(data, written, s->timeoutMs);
}

ViStatus NetVisa::read(ViSession vi, std::string& data, std::uint32_t maxCount) {
    data.clear();
    Session* s = find(vi);
    if (!s || !s->link) return VI_ERROR_INV_OBJECT;
    return s->link->read(data, maxCount, s->timeoutMs);
}

std::string NetVisa::statusDesc(ViSession, ViStatus status) {
    return describeStatus(status);
}

ViStatus NetVisa::close(ViSession vi) {
    Session* s = find(vi);
    if (!s) return VI_ERROR_INV_OBJECT;
    if (s->link) s->link->close();
    sessions_.erase(vi);
    return VI_SUCCESS;
}

LinkState NetVisa::linkState(ViSession vi) const {
    const auto it = sessions_.find(vi);
    if (it == sessions_.end() || !it->second.link) return LinkState::Connected;
    return it->second.link->state();
}

std::string describeStatus(ViStatus status) {
    switch (status) {
    case VI_SUCCESS: return "VI_SUCCESS: Operation completed successfully.";
    case VI_SUCCESS_TERM_CHAR: return "VI_SUCCESS_TERM_CHAR: The specified termination character was read.";
    case VI_SUCCESS_MAX_CNT:
        return "VI_SUCCESS_MAX_CNT: The number of bytes read is equal to the input count.";
    case VI_ERROR_SYSTEM_ERROR: return "VI_ERROR_SYSTEM_ERROR: Unknown system error.";
    case VI_ERROR_INV_OBJECT: return "VI_ERROR_INV_OBJECT: The given session or object reference is invalid.";
    case VI_ERROR_RSRC_NFOUND:
        return "VI_ERROR_RSRC_NFOUND: Insufficient location information or "
               "resource not present in the system.";
    case VI_ERROR_INV_RSRC_NAME: return "VI_ERROR_INV_RSRC_NAME: Invalid resource reference specified.";
    case VI_ERROR_TMO: return "VI_ERROR_TMO: Timeout expired before operation completed.";
    case VI_ERROR_NSUP_ATTR:
        return "VI_ERROR_NSUP_ATTR: The specified attribute is not defined by the referenced resource.";
    case VI_ERROR_NSUP_ATTR_STATE:
        return "VI_ERROR_NSUP_ATTR_STATE: The specified state of the attribute is not valid.";
    case VI_ERROR_IO: return "VI_ERROR_IO: Could not perform operation because of I/O error.";
    case VI_ERROR_CONN_LOST: return "VI_ERROR_CONN_LOST: The connection for the given session has been lost.";
    default: {
        char buf[48];
        std::snprintf(buf, sizeof buf, "Unknown status 0x%08X.", static_cast<unsigned>(status));
        return buf;
    }
    }
}

} // namespace zel::visa
