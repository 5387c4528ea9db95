#include "instruments/visa/rpc.h"

#include <gtest/gtest.h>

namespace zel::visa::rpc {
namespace {

std::string be(std::uint32_t v) {
    XdrWriter w;
    w.u32(v);
    return w.bytes();
}

TEST(Xdr, OpaqueIsPaddedAndReadBack) {
    for (const std::string& s : {std::string(), std::string("a"), std::string("abcd"), std::string("abcde"),
                                 std::string("\0\1\2", 3)}) {
        XdrWriter w;
        w.opaque(s);
        w.u32(7);
        EXPECT_EQ(w.bytes().size() % 4, 0u) << s;
        XdrReader r(w.bytes());
        EXPECT_EQ(r.opaque(64), s);
        EXPECT_EQ(r.u32(), 7u);
        EXPECT_EQ(r.remaining(), 0u);
    }
}

TEST(Xdr, ReaderRefusesLengthsItCannotBack) {
    // Stated length over the cap, past the end, and the padding missing.
    for (std::string wire : {be(100) + std::string(100, 'x'), be(8) + "abcd", be(3) + "abc"}) {
        XdrReader r(wire);
        EXPECT_FALSE(r.opaque(64).has_value());
    }
    XdrReader shortWord(std::string("\0\0", 2));
    EXPECT_FALSE(shortWord.u32().has_value());
}

TEST(RecordMarking, ReassemblesFragmentsSplitAtEveryByte) {
    const std::string a(10, 'a'), b = "second record";
    const std::string wire = frameRecord(a, 3) + frameRecord(b);
    for (std::size_t chunk : {1, 2, 5, 7, 100}) {
        RecordAssembler asmb(1024);
        std::vector<std::string> got;
        for (std::size_t i = 0; i < wire.size(); i += chunk) {
            ASSERT_TRUE(asmb.feed(std::string_view(wire).substr(i, chunk)));
            while (auto r = asmb.next())
                got.push_back(*r);
        }
        EXPECT_EQ(got, (std::vector<std::string>{a, b})) << "chunk " << chunk;
    }
}

TEST(RecordMarking, RecordOverTheCapFailsTheStream) {
    RecordAssembler asmb(16);
    EXPECT_TRUE(asmb.feed(frameRecord(std::string(16, 'x'), 4)));
    EXPECT_FALSE(asmb.feed(frameRecord(std::string(20, 'y'), 4)));
    ASSERT_TRUE(asmb.next().has_value());
    EXPECT_TRUE(asmb.failed());
    EXPECT_FALSE(asmb.next().has_value());
}

TEST(Rpc, CallRoundTripsThroughTheServerParser) {
    const std::string args = "\0\0\0\x2a";
    const std::string rec = buildCall({0x1234, 0x0607AF, 1, 11}, args);
    XdrReader r(rec);
    const auto h = parseCall(r);
    ASSERT_TRUE(h);
    EXPECT_EQ(h->xid, 0x1234u);
    EXPECT_EQ(h->prog, 0x0607AFu);
    EXPECT_EQ(h->proc, 11u);
    EXPECT_EQ(r.remaining(), args.size());
}

TEST(Rpc, RepliesParse) {
    const Reply ok = parseReply(buildAcceptedReply(9, AcceptStat::Success, be(4321)));
    EXPECT_EQ(ok.kind, Reply::Kind::Accepted);
    EXPECT_EQ(ok.xid, 9u);
    EXPECT_EQ(ok.results, be(4321));

    const Reply mis = parseReply(buildProgMismatch(5, 2, 2));
    EXPECT_EQ(mis.stat, AcceptStat::ProgMismatch);
    EXPECT_EQ(mis.results, be(2) + be(2));

    const std::string denied = be(3) + be(kReply) + be(kMsgDenied) + be(0) + be(2) + be(2);
    EXPECT_EQ(parseReply(denied).kind, Reply::Kind::Denied);

    for (std::string bad : {std::string(), be(1) + be(kCall) + be(0), be(1) + be(kReply) + be(0) + be(0)})
        EXPECT_EQ(parseReply(bad).kind, Reply::Kind::Malformed);
}

} // namespace
} // namespace zel::visa::rpc
