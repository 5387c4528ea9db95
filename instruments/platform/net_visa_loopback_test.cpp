// The VISA sessions over real loopback sockets against zel-sim scope, in both resource forms.

#include "instruments/platform/qt_byte_stream.h"
#include "instruments/platform/qt_test_app.h"
#include "instruments/visa/ieee_block.h"
#include "instruments/visa/net_visa.h"
#include "instruments/visa/rpc.h"
#include "instruments/visa/vxi11_protocol.h"
#include "tests/e2e/field_sim.h"

#include <gtest/gtest.h>

#include <fstream>
#include <netinet/in.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace zel::platform {
namespace {

using namespace zel::visa;

struct Loopback : ::testing::Test {
    std::string transcript = ::testing::TempDir() + "visa_loopback_" + std::to_string(::getpid()) + ".txt";
    e2e::SimChild sim{ZEL_SIM,
                      {"scope", "--host", "127.0.0.1", "--portmap-port", "0", "--sweep-ms", "0",
                       "--transcript", transcript, "--device", "inst0"}};
    std::unique_ptr<NetVisa> visa;
    ViSession rm = 0;

    void SetUp() override {
        ensureQtTestApp();
        ASSERT_TRUE(sim.running());
        visa = std::make_unique<NetVisa>(
            qtByteStreamFactory(),
            NetVisaOptions{static_cast<std::uint16_t>(sim.port("scope", "portmap")), 500});
        ASSERT_EQ(visa->openDefaultRM(rm), VI_SUCCESS);
    }

    std::string query(ViSession vi, const std::string& command, std::uint32_t max = 256) {
        std::uint32_t written = 0;
        EXPECT_EQ(visa->write(vi, command, written), VI_SUCCESS);
        std::string reply;
        EXPECT_GE(visa->read(vi, reply, max), VI_SUCCESS);
        return reply;
    }
};

TEST_F(Loopback, BothResourceFormsQueryAndTransferTheSameBlock) {
    const std::string resources[] = {
        "TCPIP::127.0.0.1::INSTR",
        "TCPIP::127.0.0.1::" + std::to_string(sim.port("scope", "socket")) + "::SOCKET",
    };
    for (const auto& resource : resources) {
        ViSession vi = 0;
        ASSERT_EQ(visa->open(rm, resource, VI_NO_LOCK, 0, vi), VI_SUCCESS) << resource;
        EXPECT_EQ(visa->setAttribute(vi, VI_ATTR_WR_BUF_OPER_MODE, VI_FLUSH_ON_ACCESS), VI_SUCCESS);
        EXPECT_EQ(query(vi, "*IDN?").substr(0, 10), "TEKTRONIX,") << resource;
        std::uint32_t written = 0;
        visa->write(vi, ":HEAD OFF;:DATA:ENC RIB;SOU CH2;STAR 1;STOP 500;WID 2", written);
        visa->write(vi, ":HOR:RECORDL 500", written);
        // A 1000-byte block whose data hold LF bytes, read through a reply buffer far smaller than it.
        BlockParser block(1 << 20);
        std::string part = query(vi, "CURVE?", 100);
        while (!block.failed() && !block.complete()) {
            block.feed(part);
            if (block.complete()) break;
            ASSERT_GE(visa->read(vi, part, 100), VI_SUCCESS);
        }
        EXPECT_TRUE(block.complete()) << block.error();
        EXPECT_EQ(block.data().size(), 1000u);
        EXPECT_EQ(visa->close(vi), VI_SUCCESS);
    }
    std::ifstream in(transcript);
    std::stringstream text;
    text << in.rdbuf();
    const std::string once = "*IDN?\n:HEAD OFF;:DATA:ENC RIB;SOU CH2;STAR 1;STOP 500;WID 2\n"
                             ":HOR:RECORDL 500\nCURVE?\n";
    EXPECT_EQ(text.str(), once + once);
}

TEST_F(Loopback, UnknownDeviceAndClosedPortAreNotFound) {
    ViSession vi = 0;
    EXPECT_EQ(visa->open(rm, "TCPIP::127.0.0.1::gpib0,2::INSTR", VI_NO_LOCK, 0, vi), VI_ERROR_RSRC_NFOUND);
    sim.kill();
    EXPECT_EQ(visa->open(rm, "TCPIP::127.0.0.1::INSTR", VI_NO_LOCK, 0, vi), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(visa->open(rm, "TCPIP::127.0.0.1::INSTR::bad", VI_NO_LOCK, 0, vi), VI_ERROR_INV_RSRC_NAME);
}

TEST_F(Loopback, ReadWithNothingToSayAndFrozenInstrumentTimeOut) {
    ViSession vi = 0;
    ASSERT_EQ(visa->open(rm, "TCPIP::127.0.0.1::INSTR", VI_NO_LOCK, 0, vi), VI_SUCCESS);
    std::string reply;
    EXPECT_EQ(visa->read(vi, reply, 256), VI_ERROR_TMO);
    // The late time-out answer of the server must not be taken for the next reply.
    EXPECT_EQ(query(vi, "*ESR?"), "0\n");
    sim.stop();
    std::uint32_t written = 0;
    const ViStatus st = visa->write(vi, "*IDN?", written);
    if (st >= 0)
        EXPECT_EQ(visa->read(vi, reply, 256), VI_ERROR_TMO);
    else
        EXPECT_EQ(st, VI_ERROR_TMO);
    sim.resume();
}

// What libtirpc-based VISA clients ask first: rpcbind version 4 over TCP (turned away with the supported
// range, so they fall back) and GETPORT version 2 over UDP.
TEST_F(Loopback, PortmapperTurnsAwayRpcbindProbesAndAnswersOverUdp) {
    const auto portmapCall = [](std::uint32_t vers, std::uint32_t xid) {
        XdrWriter args;
        for (std::uint32_t v : {vxi11::kCoreProg, vxi11::kCoreVers, rpc::kIpProtoTcp, 0u})
            args.u32(v);
        return rpc::buildCall({xid, rpc::kPortmapProg, vers, rpc::kPortmapGetPort}, args.bytes());
    };
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(static_cast<std::uint16_t>(sim.port("scope", "portmap")));
    const timeval wait{2, 0};

    const auto exchange = [&](int type, const std::string& bytes) {
        const int fd = ::socket(AF_INET, type, 0);
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
        std::string got;
        if (::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0 &&
            ::send(fd, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size())) {
            char buf[512];
            const ssize_t n = ::recv(fd, buf, sizeof buf, 0);
            if (n > 0) got.assign(buf, static_cast<std::size_t>(n));
        }
        ::close(fd);
        return got;
    };

    rpc::RecordAssembler in(4096);
    in.feed(exchange(SOCK_STREAM, rpc::frameRecord(portmapCall(4, 77))));
    const auto record = in.next();
    ASSERT_TRUE(record);
    const rpc::Reply v4 = rpc::parseReply(*record);
    EXPECT_EQ(v4.xid, 77u);
    EXPECT_EQ(v4.stat, rpc::AcceptStat::ProgMismatch);
    XdrReader range(v4.results);
    EXPECT_EQ(range.u32(), 2u);
    EXPECT_EQ(range.u32(), 2u);

    const rpc::Reply udp = rpc::parseReply(exchange(SOCK_DGRAM, portmapCall(2, 78)));
    ASSERT_EQ(udp.kind, rpc::Reply::Kind::Accepted);
    EXPECT_EQ(udp.xid, 78u);
    XdrReader port(udp.results);
    EXPECT_EQ(port.u32(), static_cast<std::uint32_t>(sim.port("scope", "vxi11")));
}

} // namespace
} // namespace zel::platform
