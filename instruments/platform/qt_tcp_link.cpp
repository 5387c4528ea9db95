#include "instruments/platform/qt_tcp_link.h"

#include <QTcpSocket>

namespace zel::platform {

namespace {
// Unread data the socket keeps: a board that streams records while the program does not read them (no
// event loop running, no handler) is then held back by TCP instead of filling memory.
constexpr qint64 kReadBufferBytes = 1 << 20;
} // namespace

QtTcpLink::QtTcpLink() : socket_(std::make_unique<QTcpSocket>()) {
    socket_->setReadBufferSize(kReadBufferBytes);
    socket_->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    QObject::connect(socket_.get(), &QTcpSocket::readyRead, [this] {
        if (handler_) handler_();
    });
}

QtTcpLink::~QtTcpLink() {
    socket_->abort();
}

void QtTcpLink::connect(const std::string& host, std::uint16_t port) {
    socket_->abort();
    socket_->connectToHost(QString::fromStdString(host), port);
}

TcpLink::State QtTcpLink::state() const {
    switch (socket_->state()) {
    case QAbstractSocket::ConnectedState: return State::Connected;
    case QAbstractSocket::HostLookupState:
    case QAbstractSocket::ConnectingState: return State::Connecting;
    case QAbstractSocket::ClosingState: return State::Closing;
    default: return State::Unconnected;
    }
}

bool QtTcpLink::write(std::string_view bytes) {
    if (socket_->state() != QAbstractSocket::ConnectedState) return false;
    return socket_->write(bytes.data(), static_cast<qint64>(bytes.size())) ==
           static_cast<qint64>(bytes.size());
}

std::string QtTcpLink::readAll() {
    const QByteArray b = socket_->readAll();
    return {b.constData(), static_cast<std::size_t>(b.size())};
}

void QtTcpLink::setDataHandler(std::function<void()> handler) {
    handler_ = std::move(handler);
}

void QtTcpLink::close() {
    socket_->abort();
}

TcpLinkFactory qtTcpLinkFactory() {
    return [] { return std::make_unique<QtTcpLink>(); };
}

} // namespace zel::platform
