// The VXI-11 client against a scripted in-memory server that answers in one-to-three-byte pieces, puts a
// stale reply before each real one and accepts only tiny write chunks.

#include "instruments/visa/rpc.h"
#include "instruments/visa/socket_link.h"
#include "instruments/visa/vxi11_link.h"
#include "instruments/visa/vxi11_protocol.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace zel::visa {
namespace {

struct Server {
    std::uint32_t maxRecv = 4;
    std::string pendingReply;                                 // what device_read hands out
    std::vector<std::pair<std::string, std::int32_t>> writes; // chunk, flags
    std::vector<std::uint32_t> procs;
    bool silent = false;
    // Connections die when the server restarts (generation); none are taken while it is down.
    int generation = 0;
    bool down = false;
    bool oversized = false; // the next reply announces a record beyond any cap
    int links = 0;          // create_link calls

    std::string answer(const std::string& record) {
        XdrReader r(record);
        const auto h = rpc::parseCall(r);
        if (!h) return {};
        procs.push_back(h->proc);
        XdrWriter w;
        if (h->prog == rpc::kPortmapProg) {
            w.u32(5025);
        } else if (h->proc == vxi11::CreateLink) {
            ++links;
            w.i32(0), w.i32(7), w.u32(0), w.u32(maxRecv);
        } else if (h->proc == vxi11::DeviceWrite) {
            r.u32(), r.u32(), r.u32();
            const auto flags = r.i32();
            const auto data = r.opaque(1024);
            writes.emplace_back(*data, *flags);
            w.i32(0), w.u32(static_cast<std::uint32_t>(data->size()));
        } else if (h->proc == vxi11::DeviceRead) {
            r.u32();
            const std::uint32_t want = *r.u32();
            const std::string chunk = pendingReply.substr(0, want);
            pendingReply.erase(0, chunk.size());
            w.i32(0), w.i32(pendingReply.empty() ? vxi11::kReasonEnd : vxi11::kReasonReqCnt);
            w.opaque(chunk);
        } else {
            w.i32(0);
        }
        if (oversized) {
            oversized = false;
            return std::string("\x7F\xFF\xFF\xF0", 4);
        }
        // A reply to some earlier call first: the client must skip it by its xid.
        return rpc::frameRecord(rpc::buildAcceptedReply(h->xid + 1000, rpc::AcceptStat::Success, "junk")) +
               rpc::frameRecord(rpc::buildAcceptedReply(h->xid, rpc::AcceptStat::Success, w.bytes()), 6);
    }
};

class FakeStream : public ByteStream {
public:
    explicit FakeStream(Server& s) : server_(s) {}
    Result connect(const std::string&, std::uint16_t, int) override {
        generation_ = server_.generation;
        return server_.down ? Result::Error : Result::Ok;
    }
    Result write(std::string_view bytes, int) override {
        if (generation_ != server_.generation) return Result::Closed;
        if (server_.silent) return Result::Ok;
        in_.feed(bytes);
        while (auto rec = in_.next())
            out_ += server_.answer(*rec);
        return Result::Ok;
    }
    Result read(std::string& out, std::size_t max, int) override {
        if (generation_ != server_.generation) return Result::Closed;
        if (out_.empty()) return Result::Timeout;
        const std::size_t n = std::min({max, out_.size(), 1 + (step_++ % 3)});
        out += out_.substr(0, n);
        out_.erase(0, n);
        return Result::Ok;
    }
    void close() override {}

private:
    Server& server_;
    rpc::RecordAssembler in_{1 << 20};
    std::string out_;
    std::size_t step_ = 0;
    int generation_ = 0;
};

ByteStreamFactory factoryFor(Server& s) {
    return [&s] { return std::make_unique<FakeStream>(s); };
}

TEST(Vxi11Link, WritesInChunksAndReadsUntilEnd) {
    Server server;
    Vxi11Link link(factoryFor(server));
    ASSERT_EQ(link.open("127.0.0.1", 111, "inst0", 1000), VI_SUCCESS);
    EXPECT_EQ(link.maxRecvSize(), 4u);

    std::uint32_t written = 0;
    ASSERT_EQ(link.write("*IDN?X", written, 1000), VI_SUCCESS);
    EXPECT_EQ(written, 6u);
    using W = std::vector<std::pair<std::string, std::int32_t>>;
    EXPECT_EQ(server.writes, (W{{"*IDN", 0}, {"?X", vxi11::kFlagEnd}}));

    server.pendingReply = "#210" + std::string("\0\1\2\3\4\5\6\7\x08\x09", 10) + "\n";
    std::string data;
    EXPECT_EQ(link.read(data, 10, 1000), VI_SUCCESS_MAX_CNT);
    EXPECT_EQ(data, "#210" + std::string("\0\1\2\3\4\5", 6));
    EXPECT_EQ(link.read(data, 1000, 1000), VI_SUCCESS);
    EXPECT_EQ(data, std::string("\6\7\x08\x09\n", 5));

    link.close();
    EXPECT_EQ(server.procs.back(), static_cast<std::uint32_t>(vxi11::DestroyLink));
}

TEST(Vxi11Link, SilentServerTimesOut) {
    Server server;
    Vxi11Link link(factoryFor(server));
    ASSERT_EQ(link.open("127.0.0.1", 111, "inst0", 1000), VI_SUCCESS);
    server.silent = true;
    std::string data;
    EXPECT_EQ(link.read(data, 100, 50), VI_ERROR_TMO);
}

// A link whose connection died is Broken and is built again (portmapper, connection, create_link) by the
// next call that finds the device back; a time-out alone leaves it as it is; a link closed on purpose stays
// closed.
TEST(Vxi11Link, ReconnectsOnTheNextCallAfterALostConnectionOrAnOversizedRecord) {
    Server server;
    Vxi11Link link(factoryFor(server));
    ASSERT_EQ(link.open("127.0.0.1", 111, "inst0", 1000), VI_SUCCESS);
    ASSERT_EQ(server.links, 1);
    std::uint32_t written = 0;
    std::string data;

    server.silent = true;
    EXPECT_EQ(link.read(data, 100, 50), VI_ERROR_TMO);
    EXPECT_EQ(link.state(), LinkState::Connected);
    server.silent = false;

    struct Step {
        const char* what;
        std::function<void()> fault;
        ViStatus failure;
    };
    const Step steps[] = {
        {"the device restarted", [&] { ++server.generation; }, VI_ERROR_CONN_LOST},
        {"a record beyond the cap", [&] { server.oversized = true; }, VI_ERROR_IO},
    };
    for (const Step& step : steps) {
        const int linksBefore = server.links;
        step.fault();
        EXPECT_EQ(link.write("*CLS", written, 1000), step.failure) << step.what;
        EXPECT_EQ(link.state(), LinkState::Broken) << step.what;

        // While the device is away every call fails at once, and the link stays broken.
        server.down = true;
        EXPECT_EQ(link.write("*CLS", written, 1000), VI_ERROR_CONN_LOST) << step.what;
        EXPECT_EQ(link.read(data, 100, 1000), VI_ERROR_CONN_LOST) << step.what;
        EXPECT_EQ(link.state(), LinkState::Broken) << step.what;
        EXPECT_EQ(server.links, linksBefore) << step.what;

        server.down = false;
        server.writes.clear();
        ASSERT_EQ(link.write("*IDN?", written, 1000), VI_SUCCESS) << step.what;
        EXPECT_EQ(link.state(), LinkState::Connected) << step.what;
        EXPECT_EQ(server.links, linksBefore + 1) << step.what;
        EXPECT_EQ(server.writes.back().first, "?") << step.what; // the whole command on the new link
        server.pendingReply = "ok\n";
        EXPECT_EQ(link.read(data, 100, 1000), VI_SUCCESS) << step.what;
        EXPECT_EQ(data, "ok\n") << step.what;
    }

    link.close();
    const int links = server.links;
    EXPECT_EQ(link.write("*CLS", written, 1000), VI_ERROR_CONN_LOST);
    EXPECT_EQ(server.links, links);
}

// The raw socket form: a connection the peer closed is Broken, and the next call connects again; what the
// old connection had buffered is not taken for a reply on the new one.
TEST(SocketLink, ReconnectsOnTheNextCallAfterTheConnectionClosed) {
    struct Instrument {
        int generation = 0, connects = 0;
        bool down = false;
        std::string replies; // sent on the connection of the current generation
    } instrument;
    struct Stream final : ByteStream {
        Instrument& i;
        int generation = -1;
        explicit Stream(Instrument& in) : i(in) {}
        Result connect(const std::string&, std::uint16_t, int) override {
            if (i.down) return Result::Error;
            ++i.connects;
            generation = i.generation;
            return Result::Ok;
        }
        Result write(std::string_view, int) override {
            return generation == i.generation ? Result::Ok : Result::Closed;
        }
        Result read(std::string& out, std::size_t max, int) override {
            if (generation != i.generation) return Result::Closed;
            if (i.replies.empty()) return Result::Timeout;
            const std::size_t n = std::min(max, i.replies.size());
            out += i.replies.substr(0, n);
            i.replies.erase(0, n);
            return Result::Ok;
        }
        void close() override {}
    };
    SocketLink link([&instrument] { return std::make_unique<Stream>(instrument); });
    ASSERT_EQ(link.open("127.0.0.1", 4000, 100), VI_SUCCESS);
    std::uint32_t written = 0;
    std::string data;
    instrument.replies = "first\nhalf a rep";
    ASSERT_EQ(link.read(data, 100, 100), VI_SUCCESS_TERM_CHAR);
    EXPECT_EQ(data, "first\n");
    EXPECT_EQ(link.read(data, 100, 100), VI_ERROR_TMO); // "half a rep" stays buffered
    EXPECT_EQ(link.state(), LinkState::Connected);

    ++instrument.generation; // the instrument restarted
    instrument.down = true;
    EXPECT_EQ(link.write("*IDN?", written, 100), VI_ERROR_CONN_LOST);
    EXPECT_EQ(link.state(), LinkState::Broken);
    EXPECT_EQ(link.read(data, 100, 100), VI_ERROR_CONN_LOST);
    EXPECT_EQ(instrument.connects, 1);

    instrument.down = false;
    ASSERT_EQ(link.write("*IDN?", written, 100), VI_SUCCESS);
    EXPECT_EQ(link.state(), LinkState::Connected);
    EXPECT_EQ(instrument.connects, 2);
    instrument.replies = "ZEL,SIM\n";
    ASSERT_EQ(link.read(data, 100, 100), VI_SUCCESS_TERM_CHAR);
    EXPECT_EQ(data, "ZEL,SIM\n");

    link.close();
    EXPECT_EQ(link.write("*IDN?", written, 100), VI_ERROR_CONN_LOST);
    EXPECT_EQ(instrument.connects, 2);
}

TEST(SocketLink, MessageEndsAfterBlockOrAtLf) {
    struct Case {
        std::string buffered;
        std::size_t length;
    };
    const Case cases[] = {
        {"1.5E-3\nnext", 7}, {"partial", 0}, {"#15a\nb\nc\nrest", 9},
        {"#15a\nb", 0},      {"#0abc\n", 6}, {"#15abcde", 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(socketMessageLength(c.buffered), c.length) << c.buffered;
}

} // namespace
} // namespace zel::visa
