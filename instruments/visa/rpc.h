#pragma once
// ONC-RPC over TCP as the instrument protocol needs it: record marking (fragments with a last-fragment bit),
// calls with null authentication, and accepted/denied replies matched by transaction id.

#include "instruments/visa/xdr.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace zel::visa::rpc {

constexpr std::uint32_t kPortmapProg = 100000;
constexpr std::uint32_t kPortmapVers = 2;
constexpr std::uint32_t kPortmapGetPort = 3;
constexpr std::uint32_t kIpProtoTcp = 6;
constexpr std::uint32_t kIpProtoUdp = 17;

constexpr std::uint32_t kCall = 0;
constexpr std::uint32_t kReply = 1;
constexpr std::uint32_t kMsgAccepted = 0;
constexpr std::uint32_t kMsgDenied = 1;

enum class AcceptStat : std::uint32_t {
    Success = 0,
    ProgUnavail = 1,
    ProgMismatch = 2,
    ProcUnavail = 3,
    GarbageArgs = 4,
    SystemErr = 5
};

// The record as it goes on the wire: fragments of at most maxFragment bytes, the last one flagged.
std::string frameRecord(std::string_view record, std::size_t maxFragment = 0x7FFFFFFF);

// Reassembles records from a TCP byte stream that may split headers and fragments anywhere.
class RecordAssembler {
public:
    explicit RecordAssembler(std::size_t maxRecord) : maxRecord_(maxRecord) {}
    // Takes bytes off the stream. False once the stream is unusable (a record above the cap).
    bool feed(std::string_view bytes);
    bool failed() const { return failed_; }
    std::optional<std::string> next();

private:
    std::size_t maxRecord_;
    std::string pending_; // bytes not yet forming a whole fragment
    std::string record_;  // fragments of the record in progress
    std::deque<std::string> ready_;
    bool failed_ = false;
};

struct CallHeader {
    std::uint32_t xid = 0;
    std::uint32_t prog = 0;
    std::uint32_t vers = 0;
    std::uint32_t proc = 0;
};

// A call record (without record marking): header, AUTH_NULL credential and verifier, then args.
std::string buildCall(const CallHeader& h, std::string_view args);

// The server's view of a call: the header checked, credential and verifier skipped; args left in reader.
std::optional<CallHeader> parseCall(XdrReader& reader);

// Reply records built by a server.
std::string buildAcceptedReply(std::uint32_t xid, AcceptStat stat, std::string_view results = {});
std::string buildProgMismatch(std::uint32_t xid, std::uint32_t low, std::uint32_t high);

struct Reply {
    enum class Kind { Accepted, Denied, Malformed } kind = Kind::Malformed;
    std::uint32_t xid = 0;
    AcceptStat stat = AcceptStat::Success;
    std::string results; // body after accept_stat when Success
};

Reply parseReply(std::string_view record);

} // namespace zel::visa::rpc
