#include "instruments/visa/rpc.h"

#include <algorithm>

namespace zel::visa::rpc {

namespace {
constexpr std::uint32_t kLastFragment = 0x80000000u;
constexpr std::size_t kMaxAuth = 400; // RFC 5531 bound on an opaque_auth body

std::uint32_t word(std::string_view s, std::size_t at) {
    std::uint32_t v = 0;
    for (std::size_t i = 0; i < 4; ++i)
        v = (v << 8) | static_cast<unsigned char>(s[at + i]);
    return v;
}
} // namespace

std::string frameRecord(std::string_view record, std::size_t maxFragment) {
    maxFragment = std::clamp<std::size_t>(maxFragment, 1, 0x7FFFFFFF);
    std::string out;
    std::size_t pos = 0;
    do {
        const std::size_t n = std::min(maxFragment, record.size() - pos);
        const bool last = pos + n == record.size();
        XdrWriter w;
        w.u32(static_cast<std::uint32_t>(n) | (last ? kLastFragment : 0));
        out += w.bytes();
        out.append(record.substr(pos, n));
        pos += n;
    } while (pos < record.size());
    return out;
}

bool RecordAssembler::feed(std::string_view bytes) {
    if (failed_) return false;
    pending_.append(bytes);
    std::size_t pos = 0;
    while (pending_.size() - pos >= 4) {
        const std::uint32_t mark = word(pending_, pos);
        const std::size_t len = mark & ~kLastFragment;
        if (record_.size() + len > maxRecord_) {
            failed_ = true;
            pending_.clear();
            record_.clear();
            return false;
        }
        if (pending_.size() - pos - 4 < len) break;
        record_.append(pending_, pos + 4, len);
        pos += 4 + len;
        if (mark & kLastFragment) ready_.push_back(std::move(record_)), record_.clear();
    }
    pending_.erase(0, pos);
    return true;
}

std::optional<std::string> RecordAssembler::next() {
    if (ready_.empty()) return std::nullopt;
    std::string r = std::move(ready_.front());
    ready_.pop_front();
    return r;
}

std::string buildCall(const CallHeader& h, std::string_view args) {
    XdrWriter w;
    w.u32(h.xid);
    w.u32(kCall);
    w.u32(2);
    w.u32(h.prog);
    w.u32(h.vers);
    w.u32(h.proc);
    for (int i = 0; i < 2; ++i) { // credential, verifier: AUTH_NULL
        w.u32(0);
        w.u32(0);
    }
    return w.take().append(args);
}

std::optional<CallHeader> parseCall(XdrReader& r) {
    CallHeader h;
    const auto xid = r.u32(), type = r.u32(), rpcvers = r.u32();
    const auto prog = r.u32(), vers = r.u32(), proc = r.u32();
    if (!proc || *type != kCall || *rpcvers != 2) return std::nullopt;
    for (int i = 0; i < 2; ++i)
        if (!r.u32() || !r.skipOpaque(kMaxAuth)) return std::nullopt;
    h.xid = *xid;
    h.prog = *prog;
    h.vers = *vers;
    h.proc = *proc;
    return h;
}

static XdrWriter acceptedHead(std::uint32_t xid, AcceptStat stat) {
    XdrWriter w;
    w.u32(xid);
    w.u32(kReply);
    w.u32(kMsgAccepted);
    w.u32(0); // verifier AUTH_NULL
    w.u32(0);
    w.u32(static_cast<std::uint32_t>(stat));
    return w;
}

std::string buildAcceptedReply(std::uint32_t xid, AcceptStat stat, std::string_view results) {
    return acceptedHead(xid, stat).take().append(results);
}

std::string buildProgMismatch(std::uint32_t xid, std::uint32_t low, std::uint32_t high) {
    XdrWriter w = acceptedHead(xid, AcceptStat::ProgMismatch);
    w.u32(low);
    w.u32(high);
    return w.take();
}

Reply parseReply(std::string_view record) {
    Reply rep;
    XdrReader r(record);
    const auto xid = r.u32(), type = r.u32(), replyStat = r.u32();
    if (!replyStat || *type != kReply) return rep;
    rep.xid = *xid;
    if (*replyStat == kMsgDenied) {
        rep.kind = Reply::Kind::Denied;
        return rep;
    }
    if (*replyStat != kMsgAccepted || !r.u32() || !r.skipOpaque(kMaxAuth)) return rep;
    const auto stat = r.u32();
    if (!stat || *stat > static_cast<std::uint32_t>(AcceptStat::SystemErr)) return rep;
    rep.kind = Reply::Kind::Accepted;
    rep.stat = static_cast<AcceptStat>(*stat);
    rep.results = std::string(record.substr(record.size() - r.remaining()));
    return rep;
}

} // namespace zel::visa::rpc
