#include "app/sim/hd_sim.h"

#include "app/sim/pty_device.h"
#include "app/sim/site_model.h"
#include "instruments/hd_board/hd_protocol.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <nlohmann/json.hpp>

#include <cmath>
#include <iostream>
#include <vector>

namespace zel::sim {

namespace {

struct HdArgs {
    std::string host = "127.0.0.1";
    int commandPort = 0;
    int recordPort = 0;
    int secondPort = 0;
    std::string transcript;
    int intervalMs = 100;
    double rateFtPerS = 0.5;
    std::uint32_t seed = 1;
    bool silent = false;
    double conductivityV = -1; // negative: from the site model
};

class HdBoard {
public:
    HdBoard(const HdArgs& a, Transcript& transcript) : a_(a), transcript_(transcript), site_(a.seed) {
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

    // The raw integer of one column, inverse of the driver's scaling.
    std::int32_t raw(int column, double seconds) {
        const double depth = a_.rateFtPerS * seconds;
        if (column == 0) return static_cast<std::int32_t>(std::lround(seconds * 1000.0));
        if (column >= 1 && column <= 4) {
            const auto f = site_.fluorescenceAt(depth);
            return static_cast<std::int32_t>(
                std::lround(f.amplitudeV[static_cast<std::size_t>(column - 1)] * 1e5));
        }
        const double volts = column == hd_protocol::kThreeVoltColumn ? 1.5
                             : a_.conductivityV >= 0                 ? a_.conductivityV
                                                                     : site_.conductivityAt(depth) / 100.0;
        const double scale = column == hd_protocol::kThreeVoltColumn ? 3.0 : 5.0;
        return static_cast<std::int32_t>(std::lround(std::clamp(volts / scale, 0.0, 1.0) * 4095.0));
    }

    void sendRecord() {
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

    const HdArgs& a_;
    Transcript& transcript_;
    SiteModel site_;
    QElapsedTimer clock_;
    QTcpServer command_, record_, second_;
    std::vector<QTcpSocket*> recordClients_, secondClients_;
    QTimer timer_;
    std::string line_;
    int mask_ = 0;
    hd_protocol::ColumnMap map_ = hd_protocol::columnMap(0);
    long counter_ = 0;
    hd_protocol::Status status_{1, 2, 0, 0, 1, 0, 0, 0};
};

int runHd(const HdArgs& a) {
    Transcript transcript(a.transcript);
    HdBoard board(a, transcript);
    std::string error;
    if (!board.listen(error)) {
        std::cerr << "zel-sim hd: " << error << '\n';
        return 1;
    }
    nlohmann::ordered_json j;
    j["hd"] = board.ports();
    std::cout << j.dump() << std::endl;
    return QCoreApplication::exec();
}

} // namespace

void addHdSim(CLI::App& app, std::function<int()>& run) {
    auto args = std::make_shared<HdArgs>();
    CLI::App* sc = app.add_subcommand(
        "hd", "Network data board on TCP: commands, records, second stream. Prints {\"hd\": {\"command\": C, "
              "\"record\": R, \"second\": S}} once listening.");
    sc->add_option("--host", args->host, "Address to listen on")->capture_default_str();
    const auto port = [&](const char* name, int& value, const char* what) {
        sc->add_option(name, value, what)->capture_default_str()->check(CLI::Range(0, 65535));
    };
    port("--command-port", args->commandPort,
         "Command port, CR-ended text (0 = any free; the board uses 5000)");
    port("--record-port", args->recordPort, "Record port (0 = any free; the board uses 5001)");
    port("--second-port", args->secondPort, "Second data port (0 = any free; the board uses 5002)");
    sc->add_option("--transcript", args->transcript, "File receiving every command, one a line");
    sc->add_option("--interval-ms", args->intervalMs, "Time between records while streaming")
        ->capture_default_str()
        ->check(CLI::Range(1, 60000));
    sc->add_option("--rate", args->rateFtPerS, "Push rate behind the simulated signals, feet per second")
        ->capture_default_str();
    sc->add_option("--seed", args->seed, "Seed of the site model")->capture_default_str();
    sc->add_flag("--silent", args->silent, "Never answer \"Stat\" (a board whose replies are lost)");
    sc->add_option("--conductivity-v", args->conductivityV,
                   "Fixed volts of the 5-volt analogue columns instead of the site model's conductivity")
        ->check(CLI::Range(0.0, 5.0));
    sc->callback([args, &run] { run = [args] { return runHd(*args); }; });
}

} // namespace zel::sim
