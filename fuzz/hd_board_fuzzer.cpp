// libFuzzer target: the network data board's two streams as the driver reads them: records on the record
// port (little-endian values in the layout of the selection mask) and reply lines (the status line of
// "Stat") on the command port, in any pieces and interleaved, with the selection changed in between.

#include "fuzz/fuzz_input.h"
#include "instruments/hd_board/hd.h"
#include "instruments/hd_board/hd_protocol.h"

#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace {

// Links that connect at once and deliver what the target hands them.
struct Net {
    struct Link final : zel::TcpLink {
        Net& net;
        std::uint16_t port = 0;
        State st = State::Unconnected;
        std::string inbox;
        std::function<void()> handler;
        explicit Link(Net& n) : net(n) {}
        void connect(const std::string&, std::uint16_t p) override {
            port = p;
            st = State::Connected;
            net.links[p] = this;
        }
        State state() const override { return st; }
        bool write(std::string_view) override { return st == State::Connected; }
        std::string readAll() override { return std::exchange(inbox, {}); }
        void setDataHandler(std::function<void()> h) override { handler = std::move(h); }
        void close() override { st = State::Unconnected; }
    };
    std::map<std::uint16_t, Link*> links;
    void arrive(std::uint16_t port, std::string_view bytes) {
        const auto it = links.find(port);
        if (it == links.end()) return;
        it->second->inbox.append(bytes);
        if (it->second->handler) it->second->handler();
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input in(data, size);
    zel::FakeClock clock;
    zel::fuzz::QuietHost host(clock);
    Net net;
    zel::clsHD hd(host, clock, [&net] { return std::make_unique<Net::Link>(net); });
    if (!hd.Connect("127.0.0.1")) return 0;
    hd.SetDS((in.byte() << 8 | in.byte()) & 0xFFF);
    while (!in.empty()) {
        const std::uint8_t what = in.byte();
        switch (what % 8) {
        case 0: hd.SetDS((what << 4 | in.byte()) & 0xFFF); break;
        case 1: net.arrive(5000, in.piece(80)); break;
        case 2: (void)zel::hd_protocol::parseStatus(in.piece(80)); break;
        default: net.arrive(5001, in.piece(64)); break;
        }
    }
    if (const auto& s = hd.LastStatus()) (void)s->firmwareMajor;
    return 0;
}
