#include "instruments/platform/qt_serial_port.h"

#include "instruments/transport/serial_settings.h"

#include <QSerialPort>
#include <QTimer>

namespace zel::platform {

QtSerialPort::QtSerialPort() : port_(std::make_unique<QSerialPort>()) {
    QObject::connect(port_.get(), &QSerialPort::readyRead, [this] {
        if (handler_) handler_();
    });
}

QtSerialPort::~QtSerialPort() {
    close();
}

bool QtSerialPort::open(const std::string& device, std::string_view settings) {
    close();
    const auto s = parseSerialSettings(settings);
    if (!s) {
        error_ = "bad serial settings \"" + std::string(settings) + "\"";
        return false;
    }
    port_->setPortName(QString::fromStdString(device));
    if (!port_->open(QIODevice::ReadWrite)) {
        error_ = device + ": " + port_->errorString().toStdString();
        return false;
    }
    QSerialPort::Parity parity = QSerialPort::NoParity;
    switch (s->parity) {
    case 'e': parity = QSerialPort::EvenParity; break;
    case 'o': parity = QSerialPort::OddParity; break;
    case 'm': parity = QSerialPort::MarkParity; break;
    case 's': parity = QSerialPort::SpaceParity; break;
    default: break;
    }
    const bool ok = port_->setBaudRate(s->baud) &&
                    port_->setDataBits(static_cast<QSerialPort::DataBits>(s->dataBits)) &&
                    port_->setParity(parity) &&
                    port_->setStopBits(s->stopBits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop) &&
                    port_->setFlowControl(QSerialPort::NoFlowControl);
    if (!ok) {
        error_ = device + ": " + port_->errorString().toStdString();
        port_->close();
        return false;
    }
    // What arrived before this open belongs to nobody.
    port_->clear();
    error_.clear();
    return true;
}

bool QtSerialPort::isOpen() const {
    return port_->isOpen();
}

void QtSerialPort::close() {
    if (port_->isOpen()) port_->close();
}

bool QtSerialPort::write(std::string_view bytes) {
    if (!port_->isOpen()) return false;
    const auto n = port_->write(bytes.data(), static_cast<qint64>(bytes.size()));
    // The bytes leave from the event loop; a short pause in the caller (or its next wait) sends them.
    port_->flush();
    return n == static_cast<qint64>(bytes.size());
}

std::string QtSerialPort::readAll() {
    const QByteArray b = port_->readAll();
    return {b.constData(), static_cast<std::size_t>(b.size())};
}

void QtSerialPort::setReceiveHandler(std::function<void()> handler) {
    handler_ = std::move(handler);
}

struct QtTimer::Impl {
    QTimer timer;
    std::function<void()> tick;
};

QtTimer::QtTimer() : impl_(std::make_unique<Impl>()) {
    QObject::connect(&impl_->timer, &QTimer::timeout, [this] {
        if (impl_->tick) impl_->tick();
    });
}

QtTimer::~QtTimer() = default;

void QtTimer::start(int intervalMs, std::function<void()> tick) {
    impl_->tick = std::move(tick);
    impl_->timer.start(intervalMs);
}

void QtTimer::stop() {
    impl_->timer.stop();
    impl_->tick = nullptr;
}

bool QtTimer::active() const {
    return impl_->timer.isActive();
}

} // namespace zel::platform
