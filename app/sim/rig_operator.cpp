#include "app/sim/rig_operator.h"

#include <QHostAddress>

#include <charconv>
#include <cmath>

namespace zel::sim {

bool RigOperator::listen(const QString& host, std::string& error) {
    QObject::connect(&server_, &QTcpServer::newConnection, [this] { accept(); });
    if (server_.listen(QHostAddress(host), 0)) return true;
    error = "operator port: " + server_.errorString().toStdString();
    return false;
}

void RigOperator::accept() {
    while (QTcpSocket* s = server_.nextPendingConnection()) {
        QObject::connect(s, &QTcpSocket::disconnected, s, &QObject::deleteLater);
        QObject::connect(s, &QTcpSocket::readyRead, s, [this, s] {
            // A line is short; a peer that sends more without a line end is cut off.
            while (s->canReadLine()) {
                const std::string line = s->readLine(128).trimmed().toStdString();
                s->write(QByteArray::fromStdString(request(line) + "\r\n"));
            }
            if (s->bytesAvailable() > 128) s->abort();
        });
    }
}

std::string RigOperator::request(const std::string& line) {
    constexpr std::string_view kTube = "tube ";
    if (line.rfind(kTube, 0) != 0) return "error: unknown request";
    const std::string arg = line.substr(kTube.size());
    if (arg == "out") {
        if (placeInTube) placeInTube(-1.0);
        return "ok";
    }
    double feet = 0;
    const auto [end, ec] = std::from_chars(arg.data(), arg.data() + arg.size(), feet);
    if (ec != std::errc() || end != arg.data() + arg.size() || !std::isfinite(feet) || feet < 0 || feet > 10)
        return "error: the tube takes 0 to 10 ft";
    if (placeInTube) placeInTube(feet);
    return "ok";
}

} // namespace zel::sim
