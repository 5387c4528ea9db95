#pragma once
// One TCP connection with a data-arrival event, for the network data board, whose records arrive unasked.
// connect() only starts the connection; the caller watches state() while it lets the event loop run.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace zel {

class TcpLink {
public:
    enum class State { Unconnected, Connecting, Connected, Closing };

    virtual ~TcpLink() = default;
    virtual void connect(const std::string& host, std::uint16_t port) = 0;
    virtual State state() const = 0;
    virtual bool write(std::string_view bytes) = 0;
    virtual std::string readAll() = 0;
    virtual void setDataHandler(std::function<void()> handler) = 0;
    virtual void close() = 0;
};

using TcpLinkFactory = std::function<std::unique_ptr<TcpLink>()>;

} // namespace zel
