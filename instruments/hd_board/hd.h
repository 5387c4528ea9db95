#pragma once
// clsHD: the network data board. One TCP connection per board port; commands are text on the command
// port, records stream in on the record port and are decoded into the received-records table.

#include "common/clock.h"
#include "common/host.h"
#include "instruments/hd_board/hd_protocol.h"
#include "instruments/transport/tcp_link.h"

#include <array>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

class clsHD {
public:
    clsHD(Host& host, const Clock& clock, TcpLinkFactory links);

    // Connects every port, waiting up to timeoutMs for each; reports the ports that did not connect.
    bool Connect(const std::string& address, const hd_protocol::Ports& ports = {}, int timeoutMs = 3000);
    bool Connected() const;
    void Close();

    void Stop();
    void SetDS(int mask);
    void SetICF(int n);
    void SampleInterval(int n);
    void IntTime(int n);
    // Asks for the board's status and waits for its reply (see hd_protocol.h); false, with "Timeout Stat"
    // shown, when none comes within ReplyTimeoutMs. The column map is rebuilt and the data select re-sent
    // either way.
    bool Stat(int mode);
    // Waits for the next record after this call; false, with "Timeout WaitRecord" shown, when none comes
    // within timeoutMs.
    bool WaitRecord(int timeoutMs);
    void SetCV(int channel, double volts);
    void ClearCounter();

    // The dialog's check before it sets integrations per cycle; false (with the reason shown) when refused.
    bool CheckICF(int integrationsPerCycle, int overSamplingPoints);
    // The high-voltage button: switches the detector and returns the button's new caption.
    std::string HV_Toggle();
    std::string HV_Caption() const { return hvOn_ ? "HV Off" : "HV On (600V)"; }

    // The control voltage's byte value: 0..800 V onto 0..255, ties to even, never 0.
    static int CVValue(double volts);

    int ReplyTimeoutMs = 2000;
    // The last status reply, if any came.
    const std::optional<hd_protocol::Status>& LastStatus() const { return status_; }

    int DataSelect() const { return mask_; }
    int IntegrationTime() const { return intTime_; }
    const hd_protocol::ColumnMap& ColumnMap() const { return map_; }
    // One row per record, indexed by column; columns the mask does not select stay 0.
    using Record = std::array<float, hd_protocol::kColumns>;
    const std::deque<Record>& Records() const { return records_; }
    void ClearRecords() { records_.clear(); }

    // Raised once per decoded record.
    std::function<void(const Record&)> NewRecord;

    // The most records kept; older ones are dropped first.
    static constexpr std::size_t kMaxRecords = 20000;

private:
    enum class Role { Command, Record, Second };
    struct Port {
        Role role;
        std::uint16_t number;
        std::unique_ptr<TcpLink> link;
        std::string pending;
    };
    void send(std::string_view text);
    void onData(Port& port);
    void decode(std::string& bytes);
    // The column map of mask_, with what the record port holds of the old selection thrown away.
    void newColumnMap();
    void replies(std::string& bytes);
    Port* command();
    // Lets the event loop run until done() or timeoutMs; false (with "Timeout " + operation) on time-out.
    bool await(std::string_view operation, int timeoutMs, const std::function<bool()>& done);

    Host& host_;
    const Clock& clock_;
    TcpLinkFactory makeLink_;
    std::vector<std::unique_ptr<Port>> ports_;
    std::int64_t lastSentMs_ = 0;
    bool sentBefore_ = false;
    int mask_ = 0;
    int intTime_ = 1;
    bool hvOn_ = false;
    hd_protocol::ColumnMap map_ = hd_protocol::columnMap(0);
    std::deque<Record> records_;
    std::uint64_t recordCount_ = 0;
    std::optional<hd_protocol::Status> status_;
    std::uint64_t replyCount_ = 0;
};

} // namespace zel
