#include "settings/ini_text.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace zel::ini {
namespace {

using namespace std::string_literals;

struct ReadCase {
    const char* what;
    std::string text;
    std::string section;
    std::string key;
    std::optional<std::string> expected; // nullopt: missing
};

class IniRead : public ::testing::TestWithParam<ReadCase> {};

TEST_P(IniRead, FindsWhatTheProfileReadFinds) {
    const ReadCase& c = GetParam();
    IniDocument doc(c.text);
    auto v = doc.value(c.section, c.key);
    EXPECT_EQ(v ? std::optional<std::string>(std::string(*v)) : std::nullopt, c.expected) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, IniRead,
    ::testing::Values(
        ReadCase{"plain", "[S]\r\nk=v\r\n", "S", "k", "v"},
        ReadCase{"blanks around names and value", "  [ S ]  \r\n  k  =  v w  \r\n", "S", "k", "v w"},
        ReadCase{"whole trimming set", "\t[S]\x1a\r\n\v\fk\t=\x1a v\x1a\t\r\n", "S", "k", "v"},
        ReadCase{"caller's names trimmed and without case", "[Sec]\r\nKey=1\r\n", " sEC ", " kEY\t", "1"},
        ReadCase{"name up to the last bracket", "[a]b] x\r\nk=1\r\n", "a]b", "k", "1"},
        ReadCase{"bracket line without closing bracket is data", "[S]\r\n[x=1\r\n", "S", "[x", "1"},
        ReadCase{"semicolon line is a comment", "[S]\r\n;k=1\r\n", "S", ";k", std::nullopt},
        ReadCase{"hash and later semicolon are data", "[S]\r\n#k=1 ; x\r\n", "S", "#k", "1 ; x"},
        ReadCase{"split at the first equals sign", "[S]\r\nk=a=b\r\n", "S", "k", "a=b"},
        ReadCase{"empty value is not missing", "[S]\r\nk=\r\n", "S", "k", ""},
        ReadCase{"first key wins", "[S]\r\nk=1\r\nK=2\r\n", "S", "k", "1"},
        ReadCase{"first section wins", "[S]\r\nk=1\r\n[s]\r\nj=2\r\n", "S", "j", std::nullopt},
        ReadCase{"lines before the first header", "k=1\r\n[S]\r\n", "S", "k", std::nullopt},
        ReadCase{"double quotes stripped", "[S]\r\nk=\" a \"\r\n", "S", "k", " a "},
        ReadCase{"single quotes stripped", "[S]\r\nk='a'\r\n", "S", "k", "a"},
        ReadCase{"empty quoted value", "[S]\r\nk=\"\"\r\n", "S", "k", ""},
        ReadCase{"mismatched quotes stay", "[S]\r\nk=\"a'\r\n", "S", "k", "\"a'"},
        ReadCase{"a lone quote stays", "[S]\r\nk=\"\r\n", "S", "k", "\""},
        ReadCase{"line breaks of every kind", "[S]\rk=1\n\n\r\rj=2\n\r", "S", "j", "2"},
        ReadCase{"name-only line has no value", "[S]\r\nflag\r\nflag=1\r\n", "S", "flag", std::nullopt},
        ReadCase{"NUL bytes are ordinary", "[S]\r\nk=a\0b\r\n"s, "S", "k", "a\0b"s},
        ReadCase{"binary tail continues the last section", "[D]\r\nk=1\r\n\x01\xff\0\r\nj=2\r\x7f"s, "D", "j",
                 "2"}));

TEST(IniRead, ManyKeysInOneSectionStillFirstMatchWins) {
    std::string text = "[S]\r\n";
    for (int i = 0; i < 100; ++i)
        text += "k" + std::to_string(i) + "=" + std::to_string(i) + "\r\n";
    text += "K5=dup\r\n";
    IniDocument doc(text);
    EXPECT_EQ(doc.value("S", "K5"), "5");
    EXPECT_EQ(doc.value("S", "k99"), "99");
    EXPECT_FALSE(doc.value("S", "k100"));
}

TEST(IniLists, KeysEntriesAndSectionsInFileOrder) {
    IniDocument doc("x=0\r\n[A]\r\nb=1\r\n; c\r\nflag\r\na = \"q\" \r\n=e\r\n[]\r\n[B]\r\n[a]\r\nz=9\r\n");
    EXPECT_EQ(doc.keyNames("a"), (std::vector<std::string_view>{"b", "a"}));
    EXPECT_EQ(doc.sectionEntries("A"), (std::vector<std::string>{"b=1", "flag", "a=\"q\"", "=e"}));
    EXPECT_EQ(doc.sectionNames(), (std::vector<std::string_view>{"A", "B", "a"}));
    EXPECT_TRUE(doc.keyNames("missing").empty());
}

TEST(IniLists, PackedLikeTheCallersBuffer) {
    const std::vector<std::string_view> e{"abc", "def"};
    struct {
        std::size_t buffer;
        std::string expected;
    } cases[] = {
        {100, "abc\0def\0"s}, // "abc\0def\0\0" fits
        {9, "abc\0def\0"s},   // exactly
        {8, "abc\0de"s},      // one short: the last entry is cut, two NULs close it
        {6, "abc\0"s},        //
        {4, "ab"s},           //
        {2, ""s},
        {1, ""s},
    };
    for (const auto& c : cases)
        EXPECT_EQ(packList(e, c.buffer), c.expected) << c.buffer;
    EXPECT_EQ(packList({}, 10), "");
    EXPECT_EQ(splitList("abc\0de"s), (std::vector<std::string>{"abc", "de"}));
    EXPECT_EQ(splitList("a\0\0b\0"s), (std::vector<std::string>{"a"}));
}

// ---- Edits: the bytes before and after, written by hand.
enum class Op { Write, DeleteKey, DeleteSection, WriteSection };

struct EditCase {
    const char* what;
    std::string before;
    Op op;
    std::string section;
    std::string key; // for WriteSection: NUL-separated entries
    std::string value;
    std::string after;
};

class IniEdit : public ::testing::TestWithParam<EditCase> {};

TEST_P(IniEdit, ChangesExactlyTheseBytes) {
    const EditCase& c = GetParam();
    IniDocument doc(c.before);
    switch (c.op) {
    case Op::Write: doc.writeString(c.section, c.key, c.value); break;
    case Op::DeleteKey: doc.deleteKey(c.section, c.key); break;
    case Op::DeleteSection: doc.deleteSection(c.section); break;
    case Op::WriteSection: {
        auto parts = splitList(c.key);
        doc.writeSection(c.section, std::vector<std::string_view>(parts.begin(), parts.end()));
        break;
    }
    }
    EXPECT_EQ(doc.bytes(), c.after) << c.what;
    // The index follows the edit: a fresh parse of the new bytes answers the same.
    IniDocument fresh(doc.bytes());
    EXPECT_EQ(fresh.sectionNames(), doc.sectionNames()) << c.what;
    for (auto s : fresh.sectionNames())
        EXPECT_EQ(fresh.sectionEntries(s), doc.sectionEntries(s)) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, IniEdit,
    ::testing::Values(
        EditCase{"new file", "", Op::Write, "S", "k", "v", "[S]\r\nk=v\r\n"},
        EditCase{"names written trimmed", "", Op::Write, " S ", " k ", " v", "[S]\r\nk= v\r\n"},
        EditCase{"existing key: only the value changes", "[S]\r\nk=old\r\nj=2\r\n", Op::Write, "S", "k",
                 "new", "[S]\r\nk=new\r\nj=2\r\n"},
        EditCase{"existing key found without case, spacing before = kept", "; c\r\n[s]\r\n  K = old ; x\r\n",
                 Op::Write, "S", "k", "v", "; c\r\n[s]\r\n  K =v\r\n"},
        EditCase{"existing key keeps a lone LF", "[S]\nk=1\nj=2\n", Op::Write, "S", "j", "3",
                 "[S]\nk=1\nj=3\n"},
        EditCase{"name-only line gets its value", "[S]\r\nflag  \r\n", Op::Write, "S", "FLAG", "1",
                 "[S]\r\nflag=1\r\n"},
        EditCase{"new key after the last non-blank line", "[S]\r\na=1\r\n\r\n  \r\n[T]\r\nb=2\r\n", Op::Write,
                 "S", "c", "3", "[S]\r\na=1\r\nc=3\r\n\r\n  \r\n[T]\r\nb=2\r\n"},
        EditCase{"new key after a comment", "[S]\r\na=1\r\n; note\r\n", Op::Write, "S", "c", "3",
                 "[S]\r\na=1\r\n; note\r\nc=3\r\n"},
        EditCase{"new key at an unterminated end", "[S]\r\na=1", Op::Write, "S", "c", "3",
                 "[S]\r\na=1\r\nc=3\r\n"},
        EditCase{"new key in an empty section", "[S]\r\n[T]\r\n", Op::Write, "S", "a", "1",
                 "[S]\r\na=1\r\n[T]\r\n"},
        EditCase{"new key under an unterminated header", "[S]", Op::Write, "S", "a", "1", "[S]\r\na=1\r\n"},
        EditCase{"new key in an LF file", "[S]\na=1\n", Op::Write, "S", "b", "2", "[S]\na=1\nb=2\r\n"},
        EditCase{"new key goes to the first of two sections", "[S]\r\na=1\r\n[S]\r\nb=2\r\n", Op::Write, "s",
                 "b", "3", "[S]\r\na=1\r\nb=3\r\n[S]\r\nb=2\r\n"},
        EditCase{"new section at the end, no blank line", "x\r\n[S]\r\na=1\r\n", Op::Write, "T", "b", "2",
                 "x\r\n[S]\r\na=1\r\n[T]\r\nb=2\r\n"},
        EditCase{"new section after an unterminated end", "[S]\r\na=1", Op::Write, "T", "b", "2",
                 "[S]\r\na=1\r\n[T]\r\nb=2\r\n"},
        EditCase{"new section after a lone CR", "[S]\ra=1\r", Op::Write, "T", "b", "2",
                 "[S]\ra=1\r[T]\r\nb=2\r\n"},
        EditCase{"delete a key", "[S]\r\na=1\r\nb=2\r\n", Op::DeleteKey, "S", "A", "", "[S]\r\nb=2\r\n"},
        EditCase{"delete the last key leaves the header", "[S]\r\na=1\r\n", Op::DeleteKey, "S", "a", "",
                 "[S]\r\n"},
        EditCase{"delete an unterminated last key", "[S]\r\nb=0\r\na=1", Op::DeleteKey, "S", "a", "",
                 "[S]\r\nb=0\r\n"},
        EditCase{"delete only the first of two keys", "[S]\r\na=1\r\na=2\r\n", Op::DeleteKey, "S", "a", "",
                 "[S]\r\na=2\r\n"},
        EditCase{"delete a missing key", "[S]\r\na=1\r\n", Op::DeleteKey, "S", "b", "", "[S]\r\na=1\r\n"},
        EditCase{"delete a key of a missing section", "[S]\r\na=1\r\n", Op::DeleteKey, "T", "a", "",
                 "[S]\r\na=1\r\n"},
        EditCase{"delete a section with its lines", "[A]\r\na=1\r\n\r\n[B]\r\n; c\r\nb=2\r\n\r\n[C]\r\nc=3",
                 Op::DeleteSection, "b", "", "", "[A]\r\na=1\r\n\r\n[C]\r\nc=3"},
        EditCase{"delete the last section", "x=0\r\n[A]\r\na=1\r\n[B]\r\nb=2", Op::DeleteSection, "B", "", "",
                 "x=0\r\n[A]\r\na=1\r\n"},
        EditCase{"delete a missing section", "[A]\r\n", Op::DeleteSection, "B", "", "", "[A]\r\n"},
        EditCase{"replace a section's lines", "[A]\r\na=1\r\n; c\r\nb=2\r\n\r\n[B]\r\n", Op::WriteSection,
                 "A", "x=9\0y=8\0"s, "", "[A]\r\nx=9\r\ny=8\r\n\r\n[B]\r\n"},
        EditCase{"write a new section whole", "[A]\r\na=1", Op::WriteSection, "B", "x=9\0"s, "",
                 "[A]\r\na=1\r\n[B]\r\nx=9\r\n"},
        EditCase{"empty a section", "[A]\r\na=1\r\n[B]\r\n", Op::WriteSection, "A", "", "",
                 "[A]\r\n[B]\r\n"}));

TEST(IniEdit, RepeatedWritesKeepCallOrderAndTheBinaryTail) {
    IniDocument doc;
    doc.writeString("INFO", "a", "1");
    doc.writeString("INFO", "b", "2");
    doc.writeString("DATA", "x", "3");
    doc.writeString("INFO", "c", "4");
    doc.writeString("INFO", "a", "5");
    EXPECT_EQ(doc.bytes(), "[INFO]\r\na=5\r\nb=2\r\nc=4\r\n[DATA]\r\nx=3\r\n");

    std::string withTail = doc.bytes() + "\x01\x02\0\xfe"s;
    IniDocument raw(withTail);
    raw.writeString("INFO", "b", "22");
    EXPECT_EQ(raw.bytes(), "[INFO]\r\na=5\r\nb=22\r\nc=4\r\n[DATA]\r\nx=3\r\n\x01\x02\0\xfe"s);
}

} // namespace
} // namespace zel::ini
