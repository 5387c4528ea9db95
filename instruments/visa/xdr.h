#pragma once
// XDR encoding of the few types ONC-RPC calls use. Every value read comes from the network, so the reader
// checks each length against what is left and against a caller's cap instead of trusting it.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zel::visa {

class XdrWriter {
public:
    void u32(std::uint32_t v);
    void i32(std::int32_t v) { u32(static_cast<std::uint32_t>(v)); }
    void boolean(bool v) { u32(v ? 1 : 0); }
    // Length word, the bytes, zero padding to a multiple of four.
    void opaque(std::string_view bytes);
    const std::string& bytes() const { return out_; }
    std::string take() { return std::move(out_); }

private:
    std::string out_;
};

class XdrReader {
public:
    explicit XdrReader(std::string_view bytes) : in_(bytes) {}
    std::optional<std::uint32_t> u32();
    std::optional<std::int32_t> i32();
    // nullopt when the stated length exceeds maxLength or the bytes (with padding) are not all there.
    std::optional<std::string> opaque(std::size_t maxLength);
    // Skips an opaque (credential, verifier body) without keeping it.
    bool skipOpaque(std::size_t maxLength);
    std::size_t remaining() const { return in_.size() - pos_; }

private:
    std::string_view in_;
    std::size_t pos_ = 0;
};

} // namespace zel::visa
