#include "app/cli/scope_command.h"

#include "app/cli/core_app.h"

#include "common/clock.h"
#include "common/console_host.h"
#include "instruments/platform/qt_byte_stream.h"
#include "instruments/scope/scope.h"
#include "instruments/visa/net_visa.h"
#include "instruments/visa/resource.h"

#include <QCoreApplication>
#include <nlohmann/json.hpp>

#include <charconv>
#include <iostream>
#include <memory>
#include <sstream>

namespace zel::cli {

namespace {

double plain(float v) {
    char buf[32];
    const auto res = std::to_chars(buf, buf + sizeof buf, v);
    double d = 0.0;
    std::from_chars(buf, res.ptr, d);
    return d;
}

std::string withoutLineEnd(std::string s) {
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r'))
        s.pop_back();
    return s;
}

} // namespace

int runScope(const ScopeArgs& args, std::ostream& out, std::ostream& err) {
    qtApp();
    std::string resource = args.resource, address = args.resource;
    if (const auto parsed = visa::parseResource(args.resource)) {
        if (!args.raw && (parsed->kind != visa::Resource::Kind::Instr || parsed->device != "inst0")) {
            err << "zel-cli scope: Init opens \"TCPIP::<address>::INSTR\" itself; use --raw for "
                << args.resource << "\n";
            return 1;
        }
        address = parsed->host;
    } else {
        resource = "TCPIP::" + args.resource + "::INSTR";
    }

    visa::NetVisa visa(platform::qtByteStreamFactory(),
                       {static_cast<std::uint16_t>(args.portmapPort), args.timeoutMs});
    std::ostringstream shown;
    ConsoleHost host(args.json ? static_cast<std::ostream&>(shown) : err);
    SystemClock clock;
    cZEL_Scope scope(&visa, host, clock);

    if (args.raw) {
        visa::ViSession rm = 0, vi = 0;
        visa.openDefaultRM(rm);
        const visa::ViStatus st = visa.open(rm, resource, visa::VI_NO_LOCK, 0, vi);
        if (st < 0) {
            err << "zel-cli scope: " << resource << ": " << visa::describeStatus(st) << "\n";
            return 1;
        }
        scope.Attach(rm, vi);
    } else {
        scope.Init(address);
        if (!scope.Connected) {
            err << "zel-cli scope: no scope at " << address << "\n";
            if (args.json) err << shown.str();
            return 1;
        }
    }
    if (args.applyDefault) scope.Tek_Default();

    bool ok = true;
    nlohmann::json replies = nlohmann::json::array();
    for (const auto& [query, text] : args.steps) {
        if (!query) {
            scope.Write(text);
            continue;
        }
        std::string reply;
        const bool answered = scope.QueryText(text, reply);
        ok = ok && answered;
        if (args.json)
            replies.push_back({{"query", text}, {"reply", answered ? nlohmann::json(reply) : nullptr}});
        else if (answered)
            out << withoutLineEnd(reply) << "\n";
    }

    nlohmann::json waves = nlohmann::json::array();
    if (args.acquire > 0) scope.Tek_Wave_Info();
    for (int n = 0; n < args.acquire; ++n) {
        std::int32_t status = 0;
        scope.Tek_Wave_Acq(false, false, status);
        nlohmann::json w;
        w["status"] = status;
        if (status == 1) {
            nlohmann::json samples = nlohmann::json::array();
            for (float v : scope.Waveform)
                samples.push_back(plain(v));
            w["samples"] = std::move(samples);
            w["delta_x"] = plain(scope.Wave_DeltaX);
            w["delay"] = plain(scope.HorizontalDelay);
        } else {
            ok = false;
        }
        if (args.json)
            waves.push_back(std::move(w));
        else
            out << w.dump() << "\n";
    }
    if (args.json) {
        nlohmann::ordered_json j;
        j["resource"] = args.raw ? resource : address;
        j["name"] = scope.ScopeName;
        j["idn"] = scope.IdnFields();
        j["replies"] = replies;
        j["waveforms"] = waves;
        j["messages"] = host.shown();
        out << j.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
    }
    scope.Tek_Close();
    return ok ? 0 : 1;
}

void addScopeCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<ScopeArgs>();
    auto* cmd =
        app.add_subcommand("scope", "Talk to an oscilloscope: commands, queries and processed waveforms");
    cmd->add_option(
           "RESOURCE", args->resource,
           "scope address (Init tries TCPIP::<address>::INSTR, then ::gpib0,2::INSTR), or with --raw any "
           "VISA TCP/IP resource such as TCPIP::<host>::<port>::SOCKET")
        ->required();
    cmd->add_flag("--raw", args->raw, "open the resource as it is, without Init's start-up sequence");
    cmd->add_flag("--default", args->applyDefault, "apply the default setup (Init already does)");
    auto* write = cmd->add_option("--write", "send a command as it stands (repeatable)")
                      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
                      ->allow_extra_args(false);
    auto* query = cmd->add_option("--query", "send a query and print its reply (repeatable)")
                      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
                      ->allow_extra_args(false);
    cmd->add_option("--acquire", args->acquire, "acquire and print N processed waveforms")
        ->check(CLI::Range(0, 100000));
    cmd->add_flag("--json", args->json, "print one JSON object: replies, waveforms and messages");
    cmd->add_option("--portmap-port", args->portmapPort, "portmapper port of the VXI-11 host")
        ->check(CLI::Range(1, 65535))
        ->capture_default_str();
    cmd->add_option("--timeout-ms", args->timeoutMs, "VISA I/O time-out")
        ->check(CLI::Range(1, 600000))
        ->capture_default_str();
    cmd->callback([args, cmd, write, query, &run] {
        // Writes and queries go out in the order they were given.
        std::size_t nextWrite = 0, nextQuery = 0;
        const auto writes = write->as<std::vector<std::string>>();
        const auto queries = query->as<std::vector<std::string>>();
        for (const CLI::Option* o : cmd->parse_order()) {
            if (o == write && nextWrite < writes.size()) args->steps.emplace_back(false, writes[nextWrite++]);
            if (o == query && nextQuery < queries.size())
                args->steps.emplace_back(true, queries[nextQuery++]);
        }
        run = [args] { return runScope(*args, std::cout, std::cerr); };
    });
}

} // namespace zel::cli
