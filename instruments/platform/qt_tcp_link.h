#pragma once
// TcpLink on QTcpSocket: the connection is made and data announced by the event loop.

#include "instruments/transport/tcp_link.h"

#include <memory>

class QTcpSocket;

namespace zel::platform {

class QtTcpLink final : public TcpLink {
public:
    QtTcpLink();
    ~QtTcpLink() override;
    void connect(const std::string& host, std::uint16_t port) override;
    State state() const override;
    bool write(std::string_view bytes) override;
    std::string readAll() override;
    void setDataHandler(std::function<void()> handler) override;
    void close() override;

private:
    std::unique_ptr<QTcpSocket> socket_;
    std::function<void()> handler_;
};

TcpLinkFactory qtTcpLinkFactory();

} // namespace zel::platform
