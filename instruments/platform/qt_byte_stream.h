#pragma once
// ByteStream on a QTcpSocket. Waits run a local event loop bounded by a timer, so the program's other
// events (buttons, timers, other sockets) are handled while an instrument answers. Needs a
// QCoreApplication (or QApplication) on the calling thread.

#include "instruments/visa/byte_stream.h"

#include <memory>

class QTcpSocket;

namespace zel::platform {

class QtByteStream final : public visa::ByteStream {
public:
    QtByteStream();
    ~QtByteStream() override;

    Result connect(const std::string& host, std::uint16_t port, int timeoutMs) override;
    Result write(std::string_view bytes, int timeoutMs) override;
    Result read(std::string& out, std::size_t max, int timeoutMs) override;
    void close() override;

private:
    template <class Done> bool waitUntil(Done done, int timeoutMs);

    std::unique_ptr<QTcpSocket> socket_;
};

visa::ByteStreamFactory qtByteStreamFactory();

} // namespace zel::platform
