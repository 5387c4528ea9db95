#include "instruments/visa/vxi11_link.h"

#include "instruments/visa/deadline.h"
#include "instruments/visa/vxi11_protocol.h"

#include <algorithm>
#include <chrono>

namespace zel::visa {

namespace {
// A reply from a remote that merely says "no" must not leave the caller waiting for more.
constexpr int kDestroyLinkMs = 500;
constexpr std::uint32_t kMaxReadChunk = 1024 * 1024;

ViStatus fromDeviceError(std::int32_t e) {
    switch (e) {
    case vxi11::NoError: return VI_SUCCESS;
    case vxi11::IoTimeout: return VI_ERROR_TMO;
    case vxi11::DeviceNotAccessible:
    case vxi11::InvalidLinkId: return VI_ERROR_RSRC_NFOUND;
    default: return VI_ERROR_IO;
    }
}

ViStatus fromStream(ByteStream::Result r) {
    switch (r) {
    case ByteStream::Result::Ok: return VI_SUCCESS;
    case ByteStream::Result::Timeout: return VI_ERROR_TMO;
    case ByteStream::Result::Closed: return VI_ERROR_CONN_LOST;
    case ByteStream::Result::Error: return VI_ERROR_IO;
    }
    return VI_ERROR_IO;
}

std::uint32_t clientId() {
    return static_cast<std::uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count() &
                                      0x7FFFFFFF);
}
} // namespace

ViStatus Vxi11Link::call(ByteStream& stream, rpc::RecordAssembler& in, std::uint32_t prog, std::uint32_t vers,
                         std::uint32_t proc, std::string_view args, const Deadline& deadline,
                         std::string& results) {
    const std::uint32_t xid = ++xid_;
    streamLost_ = false;
    const auto lost = [this](ViStatus st) {
        streamLost_ = true;
        return st;
    };
    const std::string record = rpc::buildCall({xid, prog, vers, proc}, args);
    if (const auto r = stream.write(rpc::frameRecord(record), deadline.remainingMs());
        r != ByteStream::Result::Ok)
        return r == ByteStream::Result::Timeout ? VI_ERROR_TMO : lost(fromStream(r));
    while (true) {
        while (auto rec = in.next()) {
            const rpc::Reply rep = rpc::parseReply(*rec);
            if (rep.kind == rpc::Reply::Kind::Malformed) return lost(VI_ERROR_IO);
            if (rep.xid != xid) continue; // the late answer to a call given up on
            if (rep.kind == rpc::Reply::Kind::Denied || rep.stat != rpc::AcceptStat::Success)
                return VI_ERROR_IO;
            results = rep.results;
            return VI_SUCCESS;
        }
        if (in.failed()) return lost(VI_ERROR_IO);
        if (deadline.expired()) return VI_ERROR_TMO;
        std::string bytes;
        const auto r = stream.read(bytes, 64 * 1024, deadline.remainingMs());
        if (r != ByteStream::Result::Ok && r != ByteStream::Result::Timeout) return lost(fromStream(r));
        in.feed(bytes);
    }
}

ViStatus Vxi11Link::getPort(const std::string& host, std::uint16_t portmapPort, const Deadline& deadline,
                            std::uint16_t& port) {
    auto pm = factory_();
    if (pm->connect(host, portmapPort, deadline.remainingMs()) != ByteStream::Result::Ok)
        return VI_ERROR_RSRC_NFOUND;
    XdrWriter args;
    args.u32(vxi11::kCoreProg);
    args.u32(vxi11::kCoreVers);
    args.u32(rpc::kIpProtoTcp);
    args.u32(0);
    rpc::RecordAssembler in(4096);
    std::string results;
    const ViStatus st = call(*pm, in, rpc::kPortmapProg, rpc::kPortmapVers, rpc::kPortmapGetPort,
                             args.bytes(), deadline, results);
    pm->close();
    if (st < 0) return st == VI_ERROR_TMO ? VI_ERROR_TMO : VI_ERROR_RSRC_NFOUND;
    XdrReader r(results);
    const auto p = r.u32();
    if (!p || *p == 0 || *p > 65535) return VI_ERROR_RSRC_NFOUND;
    port = static_cast<std::uint16_t>(*p);
    return VI_SUCCESS;
}

ViStatus Vxi11Link::open(const std::string& host, std::uint16_t portmapPort, const std::string& device,
                         int timeoutMs) {
    host_ = host;
    portmapPort_ = portmapPort;
    device_ = device;
    reopen_ = false;
    const ViStatus st = connectLink(Deadline(timeoutMs));
    reopen_ = st >= 0;
    state_ = LinkState::Connected;
    return st;
}

ViStatus Vxi11Link::connectLink(const Deadline& deadline) {
    dropConnection();
    std::uint16_t port = 0;
    if (const ViStatus st = getPort(host_, portmapPort_, deadline, port); st < 0) return st;

    core_ = factory_();
    if (core_->connect(host_, port, deadline.remainingMs()) != ByteStream::Result::Ok) {
        core_.reset();
        return VI_ERROR_RSRC_NFOUND;
    }
    XdrWriter args;
    args.u32(clientId());
    args.boolean(false);
    args.u32(0);
    args.opaque(device_);
    std::string results;
    ViStatus st = call(*core_, coreIn_, vxi11::kCoreProg, vxi11::kCoreVers, vxi11::CreateLink, args.bytes(),
                       deadline, results);
    if (st >= 0) {
        XdrReader r(results);
        const auto error = r.i32(), lid = r.i32();
        const auto abortPort = r.u32(), maxRecv = r.u32();
        if (!maxRecv)
            st = VI_ERROR_IO;
        else if (*error != vxi11::NoError)
            st = VI_ERROR_RSRC_NFOUND;
        else {
            (void)abortPort;
            lid_ = *lid;
            maxRecvSize_ = std::clamp<std::uint32_t>(*maxRecv, 1, 1024 * 1024);
            linked_ = true;
        }
    }
    if (st < 0) dropConnection();
    return st;
}

void Vxi11Link::dropConnection() {
    if (core_) core_->close();
    core_.reset();
    // Bytes of the old connection must not be taken for replies on the new one.
    coreIn_ = rpc::RecordAssembler(kMaxRecord);
    linked_ = false;
}

ViStatus Vxi11Link::ensureLinked(const Deadline& deadline) {
    if (linked_) return VI_SUCCESS;
    if (state_ != LinkState::Broken || !reopen_) return VI_ERROR_CONN_LOST;
    state_ = LinkState::Reconnecting;
    const ViStatus st = connectLink(deadline);
    state_ = st < 0 ? LinkState::Broken : LinkState::Connected;
    return st < 0 ? VI_ERROR_CONN_LOST : VI_SUCCESS;
}

ViStatus Vxi11Link::failed(ViStatus st) {
    if (streamLost_) {
        dropConnection();
        state_ = LinkState::Broken;
    }
    return st;
}

ViStatus Vxi11Link::write(std::string_view data, std::uint32_t& written, int timeoutMs) {
    written = 0;
    const Deadline deadline(timeoutMs);
    if (const ViStatus st = ensureLinked(deadline); st < 0) return st;
    std::size_t pos = 0;
    do {
        const std::size_t n = std::min<std::size_t>(maxRecvSize_, data.size() - pos);
        const bool last = pos + n == data.size();
        XdrWriter args;
        args.i32(lid_);
        args.u32(static_cast<std::uint32_t>(deadline.remainingMs()));
        args.u32(0);
        args.i32(last ? vxi11::kFlagEnd : 0);
        args.opaque(data.substr(pos, n));
        std::string results;
        const ViStatus st = call(*core_, coreIn_, vxi11::kCoreProg, vxi11::kCoreVers, vxi11::DeviceWrite,
                                 args.bytes(), deadline, results);
        if (st < 0) return failed(st);
        XdrReader r(results);
        const auto error = r.i32();
        const auto size = r.u32();
        if (!size) return VI_ERROR_IO;
        if (*error != vxi11::NoError) return deviceError(*error);
        // A device that takes fewer bytes than sent gets the rest in the next chunk.
        const std::size_t took = std::min<std::size_t>(*size, n);
        if (took == 0) return VI_ERROR_IO;
        pos += took;
        written = static_cast<std::uint32_t>(pos);
    } while (pos < data.size());
    return VI_SUCCESS;
}

ViStatus Vxi11Link::read(std::string& data, std::uint32_t maxCount, int timeoutMs) {
    data.clear();
    const Deadline deadline(timeoutMs);
    if (const ViStatus st = ensureLinked(deadline); st < 0) return st;
    while (true) {
        const std::uint32_t want =
            std::min<std::uint32_t>(maxCount - static_cast<std::uint32_t>(data.size()), kMaxReadChunk);
        if (want == 0) return VI_SUCCESS_MAX_CNT;
        XdrWriter args;
        args.i32(lid_);
        args.u32(want);
        args.u32(static_cast<std::uint32_t>(deadline.remainingMs()));
        args.u32(0);
        args.i32(0);
        args.u32(0); // termChar, unused without the termchar flag
        std::string results;
        const ViStatus st = call(*core_, coreIn_, vxi11::kCoreProg, vxi11::kCoreVers, vxi11::DeviceRead,
                                 args.bytes(), deadline, results);
        if (st < 0) return failed(st);
        XdrReader r(results);
        const auto error = r.i32(), reason = r.i32();
        const auto chunk = r.opaque(want);
        if (!chunk) return VI_ERROR_IO;
        if (*error != vxi11::NoError) return deviceError(*error);
        data += *chunk;
        if (*reason & vxi11::kReasonEnd) return VI_SUCCESS;
        if (*reason & vxi11::kReasonChr) return VI_SUCCESS_TERM_CHAR;
        if (deadline.expired()) return VI_ERROR_TMO;
    }
}

ViStatus Vxi11Link::deviceError(std::int32_t error) {
    // The device no longer knows the link (it was restarted behind the same connection): build it again.
    if (error == vxi11::InvalidLinkId) {
        dropConnection();
        state_ = LinkState::Broken;
    }
    return fromDeviceError(error);
}

void Vxi11Link::close() {
    reopen_ = false;
    if (!core_) return;
    if (linked_) {
        XdrWriter args;
        args.i32(lid_);
        std::string results;
        call(*core_, coreIn_, vxi11::kCoreProg, vxi11::kCoreVers, vxi11::DestroyLink, args.bytes(),
             Deadline(kDestroyLinkMs), results);
        linked_ = false;
    }
    dropConnection();
}

} // namespace zel::visa
