#pragma once
// The network data board as the simulators play it: commands on one TCP port, records on another, the
// status line; its integrated signals and analogue columns come from the probe the feed gives it.
//
// Reference reads: a stream that selects the four integrated signal columns and nothing else is the
// program reading the probe's channels at the surface. The first darkReads such streams see no light (the
// background, as the rig's scope sees its first acquisitions), later ones see the reference emitter (the
// RE); neither starts the probe. Any other stream
// is a push's: the probe starts down and the signals come from the site.

#include "app/sim/probe.h"
#include "app/sim/pty_device.h"
#include "app/sim/scope_waveform.h"
#include "app/sim/site_model.h"
#include "instruments/hd_board/hd_protocol.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace zel::sim {

struct HdBoardOptions {
    std::string host = "127.0.0.1";
    int commandPort = 0;
    int recordPort = 0;
    int secondPort = 0;
    int intervalMs = 100;
    bool silent = false;
    double conductivityV = -1; // negative: from the site model
    double condMsPerV = 100.0; // the conductivity circuit: mS/m per volt
    double condOffsetV = 0.0;  // and its output in a liquid of no conductivity
    double reScale = 1.0;      // brightness of the reference emitter
    int darkReads = 0;         // reference reads that see no light before the emitter's
};

class HdBoardSim {
public:
    HdBoardSim(HdBoardOptions a, Transcript& transcript, const SiteModel& site, ProbeFeed probe)
        : a_(std::move(a)), transcript_(transcript), site_(site), probe_(std::move(probe)) {
        clock_.start();
        QObject::connect(&command_, &QTcpServer::newConnection, [this] { acceptCommand(); });
        QObject::connect(&record_, &QTcpServer::newConnection,
                         [this] { acceptData(record_, recordClients_); });
        QObject::connect(&second_, &QTcpServer::newConnection,
                         [this] { acceptData(second_, secondClients_); });
        QObject::connect(&timer_, &QTimer::timeout, [this] { sendRecord(); });
    }

    bool listen(std::string& error) {
        const QHostAddress host(QString::fromStdString(a_.host));
        for (auto [server, port] : {std::pair{&command_, a_.commandPort}, std::pair{&record_, a_.recordPort},
                                    std::pair{&second_, a_.secondPort}}) {
            if (!server->listen(host, static_cast<quint16>(port))) {
                error = server->errorString().toStdString();
                return false;
            }
        }
        return true;
    }
    nlohmann::ordered_json ports() const {
        return {{"command", command_.serverPort()},
                {"record", record_.serverPort()},
                {"second", second_.serverPort()}};
    }

private:
    void acceptCommand() {
        while (QTcpSocket* s = command_.nextPendingConnection()) {
            QObject::connect(s, &QTcpSocket::disconnected, s, &QObject::deleteLater);
            QObject::connect(s, &QTcpSocket::readyRead, [this, s] {
                const QByteArray b = s->readAll();
                for (const char c : b) {
                    if (c == '\r') {
                        command(line_, *s);
                        line_.clear();
                    } else if (line_.size() < 128) {
                        line_ += c;
                    }
                }
            });
        }
    }

    void acceptData(QTcpServer& server, std::vector<QTcpSocket*>& clients) {
        while (QTcpSocket* s = server.nextPendingConnection()) {
            clients.push_back(s);
            QObject::connect(s, &QTcpSocket::disconnected, [s, &clients] {
                std::erase(clients, s);
                s->deleteLater();
            });
        }
    }

    void command(const std::string& cmd, QTcpSocket& from) {
        transcript_.line(printable(cmd));
        const auto space = cmd.find(' ');
        const std::string name = cmd.substr(0, space);
        const long value = space == std::string::npos ? 0 : std::strtol(cmd.c_str() + space + 1, nullptr, 10);
        if (name == "Stop") {
            timer_.stop();
        } else if (name == "SetDS") {
            mask_ = static_cast<int>(value) & hd_protocol::kMaxMask;
            map_ = hd_protocol::columnMap(mask_);
            light_ = Light::Site;
            if (referenceRead()) {
                light_ = referenceReads_ < a_.darkReads ? Light::Dark : Light::Emitter;
                ++referenceReads_;
            } else if (mask_ != 0) {
                // Records are asked for as a push starts.
                probe_.started();
            }
            if (mask_ != 0)
                timer_.start(a_.intervalMs);
            else
                timer_.stop();
        } else if (name == "ClearCounter") {
            counter_ = 0;
        } else if (name == "IntTime") {
            status_.intTime = static_cast<int>(std::clamp(value, 1L, 1000L));
        } else if (name == "SetICF") {
            status_.icf = static_cast<int>(std::clamp(value, 0L, 65535L));
        } else if (name == "SampleInterval") {
            status_.sampleInterval = static_cast<int>(std::clamp(value, 0L, 1000000L));
        } else if (name == "Stat" && !a_.silent) {
            status_.mask = mask_;
            status_.counter = counter_;
            const std::string reply = hd_protocol::formatStatus(status_) + "\r";
            from.write(reply.data(), static_cast<qint64>(reply.size()));
        }
    }

    bool referenceRead() const {
        for (int c = 0; c < hd_protocol::kColumns; ++c) {
            const bool signal = c >= hd_layout::kFirstSignalColumn &&
                                c < hd_layout::kFirstSignalColumn + hd_layout::kSignalColumns;
            if ((map_[static_cast<std::size_t>(c)] >= 0) != signal) return false;
        }
        return true;
    }

    // The raw integer of one column, inverse of the driver's scaling.
    std::int32_t raw(int column, double seconds) {
        const double depth = probe_.depth();
        if (column == 0) return static_cast<std::int32_t>(std::lround(seconds * 1000.0));
        if (column >= 1 && column <= 4) {
            if (light_ == Light::Dark) return 0;
            const auto f =
                light_ == Light::Emitter ? referenceEmitter(a_.reScale) : site_.fluorescenceAt(depth);
            const auto c = static_cast<std::size_t>(column - 1);
            return c < f.amplitudeV.size() ? static_cast<std::int32_t>(std::lround(f.amplitudeV[c] * 1e5))
                                           : 0;
        }
        const double volts =
            column == hd_protocol::kThreeVoltColumn ? 1.5
            : a_.conductivityV >= 0
                ? a_.conductivityV
                : a_.condOffsetV + probe_.solution().value_or(site_.conductivityAt(depth)) / a_.condMsPerV;
        const double scale = column == hd_protocol::kThreeVoltColumn ? 3.0 : 5.0;
        return static_cast<std::int32_t>(std::lround(std::clamp(volts / scale, 0.0, 1.0) * 4095.0));
    }

    void sendRecord() {
        probe_.passed(a_.intervalMs / 1000.0);
        ++counter_;
        const double seconds = clock_.elapsed() / 1000.0;
        const int n = hd_protocol::selectedColumns(map_);
        std::vector<std::string> values(static_cast<std::size_t>(n));
        for (int c = 0; c < hd_protocol::kColumns; ++c) {
            const int pos = map_[static_cast<std::size_t>(c)];
            if (pos >= 0) values[static_cast<std::size_t>(pos)] = hd_protocol::encodeValue(raw(c, seconds));
        }
        std::string record;
        for (const auto& v : values)
            record += v;
        for (QTcpSocket* s : recordClients_)
            s->write(record.data(), static_cast<qint64>(record.size()));
    }

    HdBoardOptions a_;
    Transcript& transcript_;
    const SiteModel& site_;
    ProbeFeed probe_;
    QElapsedTimer clock_;
    QTcpServer command_, record_, second_;
    std::vector<QTcpSocket*> recordClients_, secondClients_;
    QTimer timer_;
    std::string line_;
    int mask_ = 0;
    enum class Light { Dark, Emitter, Site };
    Light light_ = Light::Site;
    int referenceReads_ = 0;
    hd_protocol::ColumnMap map_ = hd_protocol::columnMap(0);
    long counter_ = 0;
    hd_protocol::Status status_{1, 2, 0, 0, 1, 0, 0, 0};
};

} // namespace zel::sim
