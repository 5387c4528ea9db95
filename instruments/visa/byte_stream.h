#pragma once
// The transport under the instrument protocols: a TCP byte stream whose waits are bounded by the caller.
// The platform layer implements it on its event loop, so a wait lets the user interface run.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace zel::visa {

class ByteStream {
public:
    enum class Result { Ok, Timeout, Closed, Error };

    virtual ~ByteStream() = default;
    virtual Result connect(const std::string& host, std::uint16_t port, int timeoutMs) = 0;
    // Returns once every byte is handed to the network, or the time is up.
    virtual Result write(std::string_view bytes, int timeoutMs) = 0;
    // Waits up to timeoutMs for data and appends what has arrived, at most max bytes.
    virtual Result read(std::string& out, std::size_t max, int timeoutMs) = 0;
    virtual void close() = 0;
};

using ByteStreamFactory = std::function<std::unique_ptr<ByteStream>()>;

} // namespace zel::visa
