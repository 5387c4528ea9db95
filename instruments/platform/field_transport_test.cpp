// The Qt serial port on a real pseudo-terminal, the TCP link on loopback, and the settings behind them.

#include "instruments/platform/event_loop_host.h"
#include "instruments/platform/qt_serial_port.h"
#include "instruments/platform/qt_tcp_link.h"
#include "instruments/platform/qt_test_app.h"
#include "instruments/platform/serial_port_map.h"
#include "instruments/transport/serial_settings.h"

#include "common/testing/recording_host.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <pty.h>
#include <unistd.h>

namespace zel::platform {
namespace {

struct Pty {
    int master = -1;
    std::string slave;
    Pty() {
        int s = -1;
        char name[128] = {};
        if (openpty(&master, &s, name, nullptr, nullptr) == 0) {
            slave = name;
            ::close(s); // the port under test opens it again by name
        }
    }
    ~Pty() {
        if (master >= 0) ::close(master);
    }
    void send(const std::string& b) const {
        ASSERT_EQ(::write(master, b.data(), b.size()), ssize_t(b.size()));
    }
    std::string receive() const {
        std::string out;
        char buf[256];
        fcntl(master, F_SETFL, O_NONBLOCK);
        for (ssize_t n; (n = ::read(master, buf, sizeof buf)) > 0;)
            out.append(buf, static_cast<std::size_t>(n));
        return out;
    }
};

TEST(FieldTransport, SerialSettingsText) {
    const auto s = parseSerialSettings("115200,n,8,1");
    ASSERT_TRUE(s);
    EXPECT_EQ(s->baud, 115200);
    EXPECT_EQ(s->parity, 'n');
    EXPECT_EQ(parseSerialSettings(" 9600 , E , 7 , 2 ")->parity, 'e');
    for (const char* bad :
         {"", "9600", "9600,n,8", "9600,x,8,1", "fast,n,8,1", "9600,n,9,1", "9600,n,8,3", "9600,n,8,1,"})
        EXPECT_FALSE(parseSerialSettings(bad)) << bad;
}

TEST(FieldTransport, PortNumbersThroughTheCommSettings) {
    const auto dir = std::filesystem::temp_directory_path() / ("zel_portmap_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const auto ini = (dir / "ZEL_Options.ini").string();
    std::ofstream(ini) << "[CommPorts]\r\nPort3=/dev/pts/42\r\n";
    EXPECT_EQ(serialDevicePath(3, ini), "/dev/pts/42");
    EXPECT_EQ(serialDevicePath(1, ini), "/dev/ttyS0");
    EXPECT_EQ(serialDevicePath(4, ""), "/dev/ttyS3");
    std::filesystem::remove_all(dir);
}

TEST(FieldTransport, SerialPortOnAPseudoTerminal) {
    ensureQtTestApp();
    testing::RecordingHost inner;
    EventLoopHost host(inner);
    Pty pty;
    ASSERT_FALSE(pty.slave.empty());
    QtSerialPort port;
    EXPECT_FALSE(port.open(pty.slave, "9600,q,8,1"));
    ASSERT_TRUE(port.open(pty.slave, "115200,n,8,1")) << port.errorText();
    std::string got;
    port.setReceiveHandler([&] { got += port.readAll(); });
    pty.send("U2800\r");
    for (int i = 0; i < 200 && got.size() < 6; ++i)
        host.sleepMs(10);
    EXPECT_EQ(got, "U2800\r");
    ASSERT_TRUE(port.write("W0400\r"));
    std::string out;
    for (int i = 0; i < 200 && out.size() < 6; ++i) {
        host.sleepMs(10);
        out += pty.receive();
    }
    EXPECT_EQ(out, "W0400\r");
    port.close();
    EXPECT_FALSE(port.isOpen());
    EXPECT_FALSE(port.open("/nonexistent/tty", "9600,n,8,1"));
    EXPECT_FALSE(port.errorText().empty());
}

TEST(FieldTransport, TcpLinkOnLoopback) {
    ensureQtTestApp();
    testing::RecordingHost inner;
    EventLoopHost host(inner);
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
    QtTcpLink link;
    std::string got;
    link.setDataHandler([&] { got += link.readAll(); });
    link.connect("127.0.0.1", server.serverPort());
    for (int i = 0; i < 300 && link.state() != TcpLink::State::Connected; ++i)
        host.sleepMs(10);
    ASSERT_EQ(link.state(), TcpLink::State::Connected);
    for (int i = 0; i < 300 && !server.hasPendingConnections(); ++i)
        host.sleepMs(10);
    QTcpSocket* peer = server.nextPendingConnection();
    ASSERT_NE(peer, nullptr);
    peer->write("record");
    ASSERT_TRUE(link.write("Stop\r"));
    QByteArray fromLink;
    for (int i = 0; i < 300 && (got.size() < 6 || fromLink.size() < 5); ++i) {
        host.sleepMs(10);
        fromLink += peer->readAll();
    }
    EXPECT_EQ(got, "record");
    EXPECT_EQ(fromLink.toStdString(), "Stop\r");
    link.close();
    EXPECT_EQ(link.state(), TcpLink::State::Unconnected);
}

} // namespace
} // namespace zel::platform
