#include "app/sim/scope_server.h"

#include "instruments/visa/rpc.h"
#include "instruments/visa/vxi11_protocol.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUdpSocket>

#include <algorithm>

namespace zel::sim {

using namespace zel::visa;

namespace {
constexpr std::size_t kMaxRecord = 1024 * 1024;
constexpr std::uint32_t kMaxRecvSize = 4096;
constexpr std::size_t kMaxLine = 1024 * 1024;
constexpr int kMaxIoWaitMs = 10000;

void send(QTcpSocket* s, const std::string& bytes) {
    s->write(bytes.data(), static_cast<qint64>(bytes.size()));
}
} // namespace

struct ScopeServer::CoreConnection {
    QPointer<QTcpSocket> socket;
    rpc::RecordAssembler in{kMaxRecord};
    std::map<std::int32_t, std::string> incoming; // per link: a message whose END has not come yet
    std::string output;                           // the reply not yet read
};

ScopeServer::ScopeServer(ScopeModel& model, std::string device, const std::string& transcriptPath)
    : model_(model), device_(std::move(device)) {
    if (!transcriptPath.empty()) transcript_.open(transcriptPath, std::ios::binary | std::ios::trunc);
}

ScopeServer::~ScopeServer() = default;

bool ScopeServer::listen(const QString& host, ScopeServerPorts wanted, std::string& error) {
    const QHostAddress address(host);
    if (address.isNull()) {
        error = "not an IP address: " + host.toStdString();
        return false;
    }
    portmap_ = std::make_unique<QTcpServer>();
    core_ = std::make_unique<QTcpServer>();
    socket_ = std::make_unique<QTcpServer>();
    struct Bind {
        QTcpServer* server;
        std::uint16_t port;
        const char* name;
    };
    for (const Bind& b :
         {Bind{portmap_.get(), wanted.portmap, "portmapper"}, Bind{core_.get(), wanted.vxi11, "VXI-11"},
          Bind{socket_.get(), wanted.socket, "socket"}}) {
        if (!b.server->listen(address, b.port)) {
            error = std::string("cannot listen for the ") + b.name + " on port " + std::to_string(b.port) +
                    ": " + b.server->errorString().toStdString();
            return false;
        }
    }
    ports_ = {portmap_->serverPort(), core_->serverPort(), socket_->serverPort()};

    // The portmapper also answers on UDP at its port when it is free (libtirpc clients ask there).
    portmapUdp_ = std::make_unique<QUdpSocket>();
    if (portmapUdp_->bind(address, ports_.portmap)) {
        connect(portmapUdp_.get(), &QUdpSocket::readyRead, this, [this] {
            while (portmapUdp_->hasPendingDatagrams()) {
                const QNetworkDatagram d = portmapUdp_->receiveDatagram(8192);
                const std::string answer = portmapAnswer(d.data().toStdString());
                if (!answer.empty())
                    portmapUdp_->writeDatagram(answer.data(), static_cast<qint64>(answer.size()),
                                               d.senderAddress(), static_cast<quint16>(d.senderPort()));
            }
        });
    } else {
        portmapUdp_.reset();
    }
    connect(portmap_.get(), &QTcpServer::newConnection, this, &ScopeServer::onPortmapConnection);
    connect(core_.get(), &QTcpServer::newConnection, this, &ScopeServer::onCoreConnection);
    connect(socket_.get(), &QTcpServer::newConnection, this, &ScopeServer::onSocketConnection);
    return true;
}

std::string ScopeServer::execute(const std::string& message) {
    if (transcript_) {
        transcript_ << message << '\n';
        transcript_.flush();
    }
    return model_.handle(message);
}

std::string ScopeServer::portmapAnswer(const std::string& record) {
    XdrReader r(record);
    const auto call = rpc::parseCall(r);
    if (!call) return {};
    if (call->prog != rpc::kPortmapProg)
        return rpc::buildAcceptedReply(call->xid, rpc::AcceptStat::ProgUnavail);
    if (call->vers != rpc::kPortmapVers) return rpc::buildProgMismatch(call->xid, 2, 2);
    if (call->proc == 0) return rpc::buildAcceptedReply(call->xid, rpc::AcceptStat::Success);
    if (call->proc != rpc::kPortmapGetPort)
        return rpc::buildAcceptedReply(call->xid, rpc::AcceptStat::ProcUnavail);
    const auto prog = r.u32(), vers = r.u32(), prot = r.u32(), port = r.u32();
    if (!port) return rpc::buildAcceptedReply(call->xid, rpc::AcceptStat::GarbageArgs);
    XdrWriter w;
    const bool ours = *prog == vxi11::kCoreProg && *vers == vxi11::kCoreVers && *prot == rpc::kIpProtoTcp;
    w.u32(ours ? ports_.vxi11 : 0);
    return rpc::buildAcceptedReply(call->xid, rpc::AcceptStat::Success, w.bytes());
}

void ScopeServer::onPortmapConnection() {
    while (QTcpSocket* s = portmap_->nextPendingConnection()) {
        connect(s, &QTcpSocket::disconnected, s, &QObject::deleteLater);
        auto in = std::make_shared<rpc::RecordAssembler>(64 * 1024);
        connect(s, &QTcpSocket::readyRead, this, [this, s, in] {
            if (!in->feed(s->readAll().toStdString())) return s->abort();
            while (auto rec = in->next())
                if (const std::string a = portmapAnswer(*rec); !a.empty()) send(s, rpc::frameRecord(a));
        });
    }
}

void ScopeServer::onCoreConnection() {
    while (QTcpSocket* s = core_->nextPendingConnection()) {
        s->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        auto c = std::make_shared<CoreConnection>();
        c->socket = s;
        connect(s, &QTcpSocket::disconnected, s, &QObject::deleteLater);
        connect(s, &QTcpSocket::readyRead, this, [this, s, c] {
            if (!c->in.feed(s->readAll().toStdString())) return s->abort();
            while (auto rec = c->in.next())
                coreCall(*c, *rec);
        });
    }
}

void ScopeServer::coreCall(CoreConnection& c, const std::string& record) {
    XdrReader r(record);
    const auto call = rpc::parseCall(r);
    if (!call) return;
    const auto reply = [&c, xid = call->xid](const XdrWriter& w) {
        if (c.socket)
            send(c.socket,
                 rpc::frameRecord(rpc::buildAcceptedReply(xid, rpc::AcceptStat::Success, w.bytes())));
    };
    if (call->prog != vxi11::kCoreProg) {
        send(c.socket, rpc::frameRecord(rpc::buildAcceptedReply(call->xid, rpc::AcceptStat::ProgUnavail)));
        return;
    }
    XdrWriter w;
    switch (call->proc) {
    case vxi11::CreateLink: {
        r.i32(), r.u32(), r.u32();
        const auto device = r.opaque(256);
        if (!device) break;
        if (*device != device_) {
            w.i32(vxi11::DeviceNotAccessible), w.i32(0), w.u32(0), w.u32(0);
        } else {
            const std::int32_t lid = nextLink_++;
            c.incoming[lid];
            w.i32(vxi11::NoError), w.i32(lid), w.u32(0), w.u32(kMaxRecvSize);
        }
        return reply(w);
    }
    case vxi11::DeviceWrite: {
        const auto lid = r.i32();
        r.u32(), r.u32();
        const auto flags = r.i32();
        const auto data = r.opaque(kMaxRecvSize);
        if (!data) break;
        const auto link = c.incoming.find(*lid);
        if (link == c.incoming.end()) {
            w.i32(vxi11::InvalidLinkId), w.u32(0);
            return reply(w);
        }
        link->second += *data;
        if (*flags & vxi11::kFlagEnd) {
            // A new message discards an unread reply, as the scope's output queue does.
            c.output = execute(link->second);
            link->second.clear();
        }
        w.i32(vxi11::NoError), w.u32(static_cast<std::uint32_t>(data->size()));
        return reply(w);
    }
    case vxi11::DeviceRead: {
        const auto lid = r.i32();
        const auto requestSize = r.u32(), ioTimeout = r.u32();
        if (!ioTimeout) break;
        if (!c.incoming.count(*lid)) {
            w.i32(vxi11::InvalidLinkId), w.i32(0), w.opaque({});
            return reply(w);
        }
        if (c.output.empty()) {
            // Nothing to read: the time-out error comes after the client's own wait.
            QPointer<QTcpSocket> s = c.socket;
            const std::uint32_t xid = call->xid;
            QTimer::singleShot(
                static_cast<int>(std::min<std::uint32_t>(*ioTimeout, kMaxIoWaitMs)), this, [s, xid] {
                    XdrWriter e;
                    e.i32(vxi11::IoTimeout), e.i32(0), e.opaque({});
                    if (s)
                        send(s, rpc::frameRecord(
                                    rpc::buildAcceptedReply(xid, rpc::AcceptStat::Success, e.bytes())));
                });
            return;
        }
        const std::size_t n =
            std::min<std::size_t>(std::max<std::uint32_t>(*requestSize, 1), c.output.size());
        const bool end = n == c.output.size();
        w.i32(vxi11::NoError), w.i32(end ? vxi11::kReasonEnd : vxi11::kReasonReqCnt);
        w.opaque(std::string_view(c.output).substr(0, n));
        c.output.erase(0, n);
        return reply(w);
    }
    case vxi11::DeviceReadStb: w.i32(vxi11::NoError), w.u32(0); return reply(w);
    case vxi11::DeviceClear:
        c.output.clear();
        w.i32(vxi11::NoError);
        return reply(w);
    case vxi11::DestroyLink: {
        const auto lid = r.i32();
        w.i32(lid && c.incoming.erase(*lid) ? vxi11::NoError : vxi11::InvalidLinkId);
        return reply(w);
    }
    default: w.i32(vxi11::OperationNotSupported); return reply(w);
    }
    send(c.socket, rpc::frameRecord(rpc::buildAcceptedReply(call->xid, rpc::AcceptStat::GarbageArgs)));
}

void ScopeServer::onSocketConnection() {
    while (QTcpSocket* s = socket_->nextPendingConnection()) {
        s->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(s, &QTcpSocket::disconnected, s, &QObject::deleteLater);
        auto buffer = std::make_shared<std::string>();
        connect(s, &QTcpSocket::readyRead, this, [this, s, buffer] {
            *buffer += s->readAll().toStdString();
            std::size_t lf;
            while ((lf = buffer->find('\n')) != std::string::npos) {
                std::string line = buffer->substr(0, lf);
                buffer->erase(0, lf + 1);
                if (!line.empty() && line.back() == '\r') line.pop_back();
                if (line.empty()) continue;
                if (const std::string answer = execute(line); !answer.empty()) send(s, answer);
            }
            if (buffer->size() > kMaxLine) s->abort();
        });
    }
}

} // namespace zel::sim
