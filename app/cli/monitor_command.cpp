// zel-cli monitor: opens one field instrument and prints what it reads until the time is up, the field
// technician's check that a device talks.

#include "app/cli/command.h"
#include "app/cli/core_app.h"

#include "common/console_host.h"
#include "common/number_text.h"
#include "instruments/depth/depth.h"
#include "instruments/display/display.h"
#include "instruments/gps/gps.h"
#include "instruments/hd_board/hd.h"
#include "instruments/platform/event_loop_host.h"
#include "instruments/platform/qt_serial_port.h"
#include "instruments/platform/qt_tcp_link.h"
#include "instruments/platform/serial_port_map.h"
#include "instruments/presflow/presflow.h"
#include "settings/data_root.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>

namespace zel::cli {

namespace {

struct MonitorArgs {
    std::string device;
    std::string port;
    int portNumber = 1;
    std::string address = hd_protocol::kDefaultAddress;
    std::vector<int> hdPorts{5000, 5001, 5002};
    int source = 1;
    double seconds = 10;
    bool json = false;
    int updateMs = 333;
    float cal = 1.0f;
    float countsPerFt = 1000;
    int mask = hd_protocol::kMaxMask;
    bool ansi = false;
    std::string settings = "4800,n,8,1";
};

// One reading: a JSON object on one line, or its fields as "name value" pairs.
void print(const MonitorArgs& a, const nlohmann::ordered_json& j) {
    if (a.json) {
        std::cout << j.dump() << std::endl;
        return;
    }
    std::string line;
    for (const auto& [key, value] : j.items())
        line += (line.empty() ? "" : "  ") + key + " " +
                (value.is_string() ? value.get<std::string>() : value.dump());
    std::cout << line << std::endl;
}

float rounded(float v, const char* pattern) {
    return static_cast<float>(val(formatNumber(v, pattern)));
}

class Monitor {
public:
    explicit Monitor(const MonitorArgs& a) : a_(a), console_(std::cerr), host_(console_) {}

    int run() {
        qtApp();
        if (a_.device == "depth") return depth();
        if (a_.device == "gps") return gps();
        if (a_.device == "display") return display();
        if (a_.device == "presflow") return presFlow();
        return hd();
    }

private:
    std::string serialPath() const {
        return a_.port.empty() ? platform::serialDevicePath(a_.portNumber, optionsFilePath()) : a_.port;
    }

    // Runs the event loop until the time is up; everySecond, if given, runs once a second meanwhile.
    void waitOut(const std::function<void()>& everySecond = {}) {
        QElapsedTimer t;
        t.start();
        const auto total = static_cast<qint64>(a_.seconds * 1000.0);
        qint64 nextSecond = 0;
        while (t.elapsed() < total) {
            if (everySecond && t.elapsed() >= nextSecond) {
                everySecond();
                nextSecond += 1000;
            }
            host_.sleepMs(static_cast<int>(std::min<qint64>(50, total - t.elapsed())));
        }
    }

    int depth() {
        platform::QtSerialPort port;
        platform::QtTimer timer;
        const std::string path = serialPath();
        cZEL_Depth d(host_, clock_, port, timer, [path](int) { return path; });
        d.Int_CalVal = a_.cal;
        d.AD4_CountsPerFt = a_.countsPerFt;
        d.Int_UpdateTimeMS = a_.updateMs;
        d.NewDepth = [&] {
            nlohmann::ordered_json j;
            j["depth_ft"] = rounded(d.Depth_Current_Ft(), "#0.000");
            j["depth_m"] = rounded(d.Depth_Current_M(), "#0.000");
            j["rate_in_s"] = rounded(d.Rate_In, "#0.00");
            j["rate_cm_s"] = rounded(d.Rate_Cm, "#0.00");
            if (d.Source() == DepthSource::Interface) {
                j["a0_v"] = rounded(d.Int_A0_Value, "#0.0000");
                j["a1_v"] = rounded(d.Int_A1_Value, "#0.0000");
                j["conductivity"] = rounded(d.Conductivity, "#0.000");
                j["counter"] = d.Int_Counter_Value;
            }
            print(a_, j);
        };
        if (!d.Init(a_.source, a_.portNumber, 0, false)) return 1;
        if (d.Source() == DepthSource::Interface) d.Int_StreamStart();
        waitOut();
        if (d.Source() == DepthSource::Interface) d.Int_StreamHalt();
        return 0;
    }

    int gps() {
        platform::QtSerialPort port;
        cZEL_GPS g(clock_);
        g.NewGPS = [&] {
            nlohmann::ordered_json j;
            j["time"] = g.FixTime;
            j["latitude"] = g.Latitude;
            j["longitude"] = g.Longitude;
            j["lat"] = rounded(g.Latitude_Dec, "#0.000000");
            j["lon"] = rounded(g.Longitude_Dec, "#0.000000");
            j["quality"] = g.QualityIndicator;
            j["satellites"] = g.Satellites;
            j["altitude_m"] = rounded(g.Altitude_M, "#0.00");
            if (const auto u = cZEL_GPS::LL_UTM(g.Latitude_Dec, g.Longitude_Dec)) {
                j["utm_zone"] = std::to_string(u->zone) + (u->north ? "N" : "S");
                j["easting"] = rounded(u->easting, "#0.0");
                j["northing"] = rounded(u->northing, "#0.0");
            }
            print(a_, j);
        };
        if (!g.Open(port, serialPath(), a_.settings)) {
            host_.message("GPS: cannot open " + serialPath() + " (" + port.errorText() + ")");
            return 1;
        }
        waitOut();
        return 0;
    }

    int presFlow() {
        platform::QtSerialPort port;
        cZEL_PresFlow pf(clock_);
        pf.NewReading = [&] {
            nlohmann::ordered_json j;
            j["time_s"] = rounded(pf.Time_S, "#0.000");
            j["pres_up_psi"] = rounded(pf.PresUp, "#0.000");
            j["pres_down_psi"] = rounded(pf.PresDown, "#0.000");
            j["flow_ml_min"] = rounded(pf.Flow, "#0.0");
            j["pres_down_avg_psi"] = rounded(static_cast<float>(pf.AveragePresDown()), "#0.000");
            print(a_, j);
        };
        if (!pf.Open(port, serialPath())) {
            host_.message("Pressure/flow unit: cannot open " + serialPath() + " (" + port.errorText() + ")");
            return 1;
        }
        pf.StartStream(a_.updateMs);
        waitOut();
        if (!pf.Answering()) std::cerr << "The pressure/flow unit is not answering.\n";
        pf.StopStream();
        host_.sleepMs(100); // the last command leaves from the event loop
        return pf.Readings > 0 ? 0 : 1;
    }

    int display() {
        platform::QtSerialPort port;
        cZEL_Display_J10 d(host_, port);
        d.AnsiTerminal = a_.ansi;
        if (!d.Open(serialPath())) {
            host_.message("Display: " + d.StatusText);
            return 1;
        }
        print(a_, {{"status", d.StatusText}, {"answered", d.RcvdOK}});
        d.NewDisplayInput = [&](int key, bool startsPush) {
            print(a_, {{"key", key}, {"starts_push", startsPush}});
        };
        d.Show_Ready();
        // The idle screen's clock, as the program keeps it.
        waitOut([&] { d.Time_Update(clock_.now()); });
        return 0;
    }

    int hd() {
        if (a_.hdPorts.size() != 3) {
            host_.message("--hd-ports takes three ports: command, record, second");
            return 1;
        }
        clsHD board(host_, clock_, platform::qtTcpLinkFactory());
        const auto p = [&](std::size_t i) { return static_cast<std::uint16_t>(a_.hdPorts[i]); };
        if (!board.Connect(a_.address, {p(0), p(1), p(2)})) return 1;
        // The board's own account first; a board that does not answer may still stream.
        if (board.Stat(0)) {
            const auto& s = *board.LastStatus();
            print(a_, {{"firmware", std::to_string(s.firmwareMajor) + "." + std::to_string(s.firmwareMinor) +
                                        "." + std::to_string(s.firmwarePatch)},
                       {"integration_time", s.intTime},
                       {"counter", s.counter}});
        }
        board.NewRecord = [&](const clsHD::Record& r) {
            nlohmann::ordered_json j;
            for (int c = 0; c < hd_protocol::kColumns; ++c)
                if (board.ColumnMap()[static_cast<std::size_t>(c)] >= 0)
                    j["c" + std::to_string(c)] = rounded(r[static_cast<std::size_t>(c)], "#0.0000");
            print(a_, j);
        };
        board.SetDS(a_.mask);
        waitOut();
        board.Stop();
        host_.sleepMs(100); // the last command leaves from the event loop
        return 0;
    }

    const MonitorArgs& a_;
    ConsoleHost console_;
    platform::EventLoopHost host_;
    SystemClock clock_;
};

} // namespace

void addMonitorCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<MonitorArgs>();
    CLI::App* cmd = app.add_subcommand(
        "monitor",
        "Open a field instrument and print what it reads until the time is up (one line or JSON object a "
        "reading)");
    cmd->add_option("device", args->device, "depth, gps, display, presflow or hd")
        ->required()
        ->check(CLI::IsMember({"depth", "gps", "display", "presflow", "hd"}));
    cmd->add_option("--port", args->port, "Serial device path (a pseudo-terminal works)");
    cmd->add_option("--port-number", args->portNumber,
                    "Serial port number, a device path through the options' Comm settings (when no --port)")
        ->capture_default_str();
    cmd->add_option("--address", args->address, "HD board address")->capture_default_str();
    cmd->add_option("--hd-ports", args->hdPorts, "HD board command, record and second ports")
        ->delimiter(',')
        ->capture_default_str();
    cmd->add_option("--source", args->source,
                    "Depth source: 0 emulation, 1 interface board, 2 AD4, 3 PCU, 4 CAN")
        ->capture_default_str()
        ->check(CLI::Range(0, 4));
    cmd->add_option("--seconds", args->seconds, "How long to listen")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 86400.0));
    cmd->add_flag("--json", args->json, "One JSON object a line");
    cmd->add_option("--update-ms", args->updateMs,
                    "Depth board's (or the pressure/flow unit's) streaming period")
        ->capture_default_str();
    cmd->add_option("--cal", args->cal, "String pot calibration, mV per V per inch")->capture_default_str();
    cmd->add_option("--counts-per-ft", args->countsPerFt, "AD4 counts per foot")->capture_default_str();
    cmd->add_option("--mask", args->mask, "HD board data-select mask")->capture_default_str();
    cmd->add_flag("--ansi", args->ansi, "The display is a plain ANSI terminal");
    cmd->add_option("--settings", args->settings, "GPS serial settings")->capture_default_str();
    cmd->callback([args, &run] { run = [args] { return Monitor(*args).run(); }; });
}

} // namespace zel::cli
