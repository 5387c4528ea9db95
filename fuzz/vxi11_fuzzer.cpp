// libFuzzer target: the VXI-11 client reading whatever the network gives: portmapper and core-channel
// replies in any pieces (record marking, RPC reply headers, the create_link, device_write and device_read
// results), through open, write, read and the reconnect a broken link makes. The record reassembly and the
// reply parser also take the raw bytes directly.

#include "fuzz/fuzz_input.h"
#include "instruments/visa/byte_stream.h"
#include "instruments/visa/rpc.h"
#include "instruments/visa/vxi11_link.h"

#include <memory>

namespace {

// Every stream the link opens reads from the same fuzz input; writes go nowhere.
class FuzzStream final : public zel::visa::ByteStream {
public:
    explicit FuzzStream(zel::fuzz::Input& in) : in_(in) {}
    Result connect(const std::string&, std::uint16_t, int) override {
        return in_.byte() == 0xEE ? Result::Error : Result::Ok;
    }
    Result write(std::string_view, int) override { return in_.empty() ? Result::Closed : Result::Ok; }
    Result read(std::string& out, std::size_t max, int) override {
        if (in_.empty()) return Result::Closed;
        const std::uint8_t how = in_.byte();
        if (how == 0xFF) return Result::Timeout;
        if (how == 0xFE) return Result::Closed;
        const std::string_view p = in_.piece(std::min<std::size_t>(max, 200));
        out.append(p);
        return Result::Ok;
    }
    void close() override {}

private:
    zel::fuzz::Input& in_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::visa;
    {
        zel::fuzz::Input raw(data, size);
        rpc::RecordAssembler assembler(1 << 16);
        while (!raw.empty() && assembler.feed(raw.piece(40)))
            while (auto rec = assembler.next()) {
                (void)rpc::parseReply(*rec);
                XdrReader r(*rec);
                (void)rpc::parseCall(r);
            }
    }
    zel::fuzz::Input in(data, size);
    Vxi11Link link([&in] { return std::make_unique<FuzzStream>(in); });
    if (link.open("127.0.0.1", 111, "inst0", 1000) < 0) return 0;
    for (int round = 0; round < 8 && !in.empty(); ++round) {
        std::uint32_t written = 0;
        (void)link.write(round % 2 ? "CURVE?" : std::string(40, 'x'), written, 1000);
        std::string reply;
        (void)link.read(reply, 1 + in.byte() * 97u, 1000);
    }
    link.close();
    return 0;
}
