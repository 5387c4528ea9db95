#include "instruments/platform/qt_byte_stream.h"

#include <QEventLoop>
#include <QTcpSocket>
#include <QTimer>

namespace zel::platform {

namespace {
// What the socket keeps of unread data. A device that keeps sending while nobody reads (a raw-socket
// instrument streaming between queries) is then held back by TCP instead of filling memory; the largest
// reply read at once (a 16 MiB block) still passes, a piece at a time.
constexpr qint64 kReadBufferBytes = 1 << 20;
} // namespace

QtByteStream::QtByteStream() : socket_(std::make_unique<QTcpSocket>()) {
    socket_->setReadBufferSize(kReadBufferBytes);
}

QtByteStream::~QtByteStream() {
    close();
}

template <class Done> bool QtByteStream::waitUntil(Done done, int timeoutMs) {
    if (done()) return true;
    if (timeoutMs <= 0) return false;
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    QTcpSocket* s = socket_.get();
    QObject::connect(s, &QTcpSocket::connected, &loop, &QEventLoop::quit);
    QObject::connect(s, &QTcpSocket::readyRead, &loop, &QEventLoop::quit);
    QObject::connect(s, &QTcpSocket::bytesWritten, &loop, &QEventLoop::quit);
    QObject::connect(s, &QTcpSocket::disconnected, &loop, &QEventLoop::quit);
    QObject::connect(s, &QTcpSocket::errorOccurred, &loop, &QEventLoop::quit);
    timer.start(timeoutMs);
    while (!done() && timer.isActive()) {
        if (s->state() == QAbstractSocket::UnconnectedState && s->bytesAvailable() == 0) break;
        loop.exec();
    }
    return done();
}

QtByteStream::Result QtByteStream::connect(const std::string& host, std::uint16_t port, int timeoutMs) {
    socket_->connectToHost(QString::fromStdString(host), port);
    const bool ok = waitUntil([&] { return socket_->state() == QAbstractSocket::ConnectedState; }, timeoutMs);
    if (ok) {
        // Commands are small and answered one by one: Nagle's delay would cost a round trip each. The
        // option only takes on a connected socket.
        socket_->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        return Result::Ok;
    }
    const bool timedOut = socket_->state() != QAbstractSocket::UnconnectedState;
    socket_->abort();
    return timedOut ? Result::Timeout : Result::Error;
}

QtByteStream::Result QtByteStream::write(std::string_view bytes, int timeoutMs) {
    if (socket_->state() != QAbstractSocket::ConnectedState) return Result::Closed;
    if (socket_->write(bytes.data(), static_cast<qint64>(bytes.size())) != static_cast<qint64>(bytes.size()))
        return Result::Error;
    if (waitUntil([&] { return socket_->bytesToWrite() == 0; }, timeoutMs)) return Result::Ok;
    return socket_->state() == QAbstractSocket::ConnectedState ? Result::Timeout : Result::Closed;
}

QtByteStream::Result QtByteStream::read(std::string& out, std::size_t max, int timeoutMs) {
    if (!waitUntil([&] { return socket_->bytesAvailable() > 0; }, timeoutMs))
        return socket_->state() == QAbstractSocket::ConnectedState ? Result::Timeout : Result::Closed;
    const qint64 n = std::min<qint64>(socket_->bytesAvailable(), static_cast<qint64>(max));
    const std::size_t at = out.size();
    out.resize(at + static_cast<std::size_t>(n));
    const qint64 got = socket_->read(out.data() + at, n);
    out.resize(at + static_cast<std::size_t>(std::max<qint64>(got, 0)));
    return got < 0 ? Result::Error : Result::Ok;
}

void QtByteStream::close() {
    if (socket_) socket_->abort();
}

visa::ByteStreamFactory qtByteStreamFactory() {
    return [] { return std::make_unique<QtByteStream>(); };
}

} // namespace zel::platform
