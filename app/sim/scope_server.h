#pragma once
// The simulated scope on the network: a version-2 portmapper (TCP and UDP) that also turns away the
// rpcbind version 3/4 probes so libtirpc-based clients fall back to it, the VXI-11 core channel, and the
// raw socket form. Every program message received is appended to the transcript before it is executed.

#include "app/sim/scope_model.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <string>

class QTcpServer;
class QTcpSocket;
class QUdpSocket;

namespace zel::sim {

struct ScopeServerPorts {
    std::uint16_t portmap = 0;
    std::uint16_t vxi11 = 0;
    std::uint16_t socket = 0;
};

class ScopeServer : public QObject {
public:
    ScopeServer(ScopeModel& model, std::string device, const std::string& transcriptPath);
    ~ScopeServer() override;

    // Binds all three services (0 = any free port); false with a reason when one cannot be bound.
    bool listen(const QString& host, ScopeServerPorts wanted, std::string& error);
    ScopeServerPorts ports() const { return ports_; }

private:
    struct CoreConnection;
    void onPortmapConnection();
    void onCoreConnection();
    void onSocketConnection();
    std::string portmapAnswer(const std::string& record);
    void coreCall(CoreConnection& c, const std::string& record);
    std::string execute(const std::string& message);

    ScopeModel& model_;
    std::string device_;
    std::ofstream transcript_;
    std::unique_ptr<QTcpServer> portmap_;
    std::unique_ptr<QUdpSocket> portmapUdp_;
    std::unique_ptr<QTcpServer> core_;
    std::unique_ptr<QTcpServer> socket_;
    ScopeServerPorts ports_;
    std::int32_t nextLink_ = 1;
};

} // namespace zel::sim
