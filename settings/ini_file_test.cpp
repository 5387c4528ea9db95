#include "settings/ini_file.h"

#include "settings/ini_text.h"
#include "settings/memory_form.h"
#include "settings/test_files.h"

#include <filesystem>

namespace zel {
namespace {

using namespace std::string_literals;

class IniFileTest : public testing::TempDataRoot {
protected:
    cInifile at(const std::string& name, const std::string& section, const std::string& key = {}) {
        cInifile ini;
        ini.Path = file(name);
        ini.Section = section;
        ini.Key = key;
        return ini;
    }
};

TEST_F(IniFileTest, ValuesAreKeptOnOneLine) {
    struct {
        std::string value, stored, readBack;
    } cases[] = {
        {"", "k= \r\n", ""}, // the blank keeps the key; the profile read trims it
        {"two\r\nlines", "k=two\x03lines\r\n", "two\r\nlines"},
        {"\rx", "k=\x03x\r\n", "\r\nx"},
        {"a\0b\nc"s, "k=abc\r\n", "abc"},
        {"\n", "k=\r\n", ""},
    };
    for (const auto& c : cases) {
        cInifile ini = at("one.ini", "S", "k");
        std::filesystem::remove(ini.Path);
        ini.Value(c.value);
        EXPECT_TRUE(ini.Success());
        EXPECT_EQ(ini.LastReturnCode(), 1);
        EXPECT_EQ(get(ini.Path), "[S]\r\n" + c.stored);
        EXPECT_EQ(ini.Value(), c.readBack);
    }
}

TEST_F(IniFileTest, ReadsAreCutToTheirBuffer) {
    put(file("long.ini"), "[S]\r\nk=" + std::string(70000, 'x') + "\r\n");
    cInifile ini = at("long.ini", "S", "k");
    EXPECT_EQ(ini.Value().size(), 255u);
    ini.BigGetString = true;
    EXPECT_EQ(ini.Value().size(), 60000u);

    ini.Key = "missing";
    ini.Default = "dflt \t  ";
    EXPECT_EQ(ini.Value(), "dflt \t");
    ini.BigGetString = false;
    ini.Default = std::string(300, 'd');
    EXPECT_EQ(ini.Value(), std::string(255, 'd'));
}

TEST_F(IniFileTest, SectionAndListReads) {
    std::string text = "[A]\r\nb=1\r\nc = 'q'\r\n[B]\r\n";
    for (int i = 0; i < 1000; ++i)
        text += "[Section" + std::to_string(i) + "]\r\n";
    put(file("lists.ini"), text);
    cInifile ini = at("lists.ini", "a");
    EXPECT_EQ(ini.INISection(), "b=1\0c='q'\0"s);
    EXPECT_EQ(ini.EnumerateCurrentSection(), (std::vector<std::string>{"b", "c"}));

    // 1002 names need 10,895 characters: the 8192 buffer cuts the list, the enumeration does not.
    const std::string names = ini.Sections();
    EXPECT_EQ(names.size(), 8190u);
    EXPECT_EQ(names.substr(0, 4), "A\0B\0"s);
    EXPECT_EQ(ini.EnumerateAllSections().size(), 1002u);
    EXPECT_EQ(ini.EnumerateAllSections().back(), "Section999");

    ini.INISection("x=1\0y=2\0"s);
    EXPECT_EQ(get(ini.Path).substr(0, 20), "[A]\r\nx=1\r\ny=2\r\n[B]\r\n");
}

TEST_F(IniFileTest, WriteAndDeleteOutcomes) {
    cInifile ini = at("no_such_folder/x.ini", "S", "k");
    ini.Value("v");
    EXPECT_FALSE(ini.Success());
    EXPECT_EQ(ini.LastReturnCode(), 0);

    // Deleting from a file that does not exist creates nothing.
    ini = at("absent.ini", "S", "k");
    ini.DeleteKey();
    EXPECT_TRUE(ini.Success());
    ini.DeleteSection();
    EXPECT_TRUE(ini.Success());
    EXPECT_FALSE(std::filesystem::exists(ini.Path));

    put(ini.Path, "[S]\r\nk=1\r\nj=2\r\n[T]\r\n");
    ini.DeleteKey();
    EXPECT_EQ(get(ini.Path), "[S]\r\nj=2\r\n[T]\r\n");
    ini.DeleteSection();
    EXPECT_EQ(get(ini.Path), "[T]\r\n");
}

TEST_F(IniFileTest, RepeatedReadsComeFromTheCacheUntilTheFileChanges) {
    const std::string path = file("cache.ini");
    put(path, "[S]\r\nk=1\r\n");
    age(path);
    cInifile ini = at("cache.ini", "S", "k");
    EXPECT_EQ(ini.Value(), "1");
    const auto reads = ini::fileReadCount();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(ini.Value(), "1");
    EXPECT_EQ(ini::fileReadCount(), reads);

    put(path, "[S]\r\nk=22\r\n"); // another program: new size, new time
    EXPECT_EQ(ini.Value(), "22");

    // Same size and a time too recent to trust: the bytes are compared.
    put(path, "[S]\r\nk=33\r\n");
    EXPECT_EQ(ini.Value(), "33");
    const auto stamp = std::filesystem::last_write_time(path);
    put(path, "[S]\r\nk=44\r\n");
    std::filesystem::last_write_time(path, stamp);
    EXPECT_EQ(ini.Value(), "44");

    // Our own write is seen by the next read.
    ini.Value("5");
    EXPECT_EQ(ini.Value(), "5");

    std::filesystem::remove(path);
    ini.Default = "gone";
    EXPECT_EQ(ini.Value(), "gone");
}

TEST_F(IniFileTest, WritesStartFromTheFileAsItIsNow) {
    const std::string path = file("shared.ini");
    put(path, "[S]\r\na=1\r\nb=2\r\n");
    age(path);
    const auto stamp = std::filesystem::last_write_time(path);
    cInifile ini = at("shared.ini", "S", "a");
    EXPECT_EQ(ini.Value(), "1");
    // Another program changes a value; size and time look as before, so only the disk tells.
    put(path, "[S]\r\na=1\r\nb=9\r\n");
    std::filesystem::last_write_time(path, stamp);
    ini.Key = "c";
    ini.Value("3");
    EXPECT_EQ(get(path), "[S]\r\na=1\r\nb=9\r\nc=3\r\n");
}

// A batch answers and edits exactly as the single writes do, but writes the file once, at its end.
TEST_F(IniFileTest, ABatchGivesTheBytesOfTheSingleWritesInOneWrite) {
    const auto script = [&](const std::string& name, std::string* seenInside) {
        cInifile ini = at(name, "S", "a");
        ini.Value("1");
        ini.Key = "b";
        ini.Value("two\r\nlines");
        ini.Section = "T";
        ini.Key = "k";
        ini.Value("");
        ini.Section = "S";
        ini.Key = "a";
        ini.DeleteKey();
        ini.Key = "b";
        if (seenInside) *seenInside = ini.Value() + "|" + ini.Sections();
        ini.Section = "U";
        ini.DeleteSection();
    };
    put(file("single.ini"), "; kept\r\n[U]\r\nx=1\r\n");
    put(file("batched.ini"), "; kept\r\n[U]\r\nx=1\r\n");
    script("single.ini", nullptr);

    const auto writes = ini::fileWriteCount();
    std::string inside;
    {
        ini::FileBatch batch(file("batched.ini"));
        ini::FileBatch nested(file("batched.ini"));
        script("batched.ini", &inside);
        EXPECT_EQ(nested.commit(), 1);
        EXPECT_EQ(get(file("batched.ini")), "; kept\r\n[U]\r\nx=1\r\n"); // nothing written yet
    }
    EXPECT_EQ(ini::fileWriteCount() - writes, 1u);
    EXPECT_EQ(inside, "two\r\nlines|U"s + '\0' + "S" + '\0' + "T" + '\0');
    EXPECT_EQ(get(file("batched.ini")), get(file("single.ini")));

    // A batch of deletes on a missing file creates nothing; one that changes nothing writes nothing.
    {
        ini::FileBatch batch(file("absent.ini"));
        at("absent.ini", "S", "k").DeleteSection();
    }
    EXPECT_FALSE(std::filesystem::exists(file("absent.ini")));
    {
        ini::FileBatch batch(file("batched.ini"));
        at("batched.ini", "T", "k").Value("");
    }
    EXPECT_EQ(ini::fileWriteCount() - writes, 1u);
    // A batch in a folder that does not exist fails as the single write does.
    ini::FileBatch lost(file("no_such_folder/x.ini"));
    cInifile ini = at("no_such_folder/x.ini", "S", "k");
    ini.Value("v");
    EXPECT_EQ(lost.commit(), 0);
    EXPECT_FALSE(std::filesystem::exists(ini.Path));
}

// A raw log: text part, then binary bytes that happen to hold line breaks, "=" and a header.
TEST_F(IniFileTest, TextLimitedReadEqualsTheReadOfTheTextAlone) {
    const std::string text =
        "[INFO]\r\nSite=Here\r\nNotes=\"q\"\r\n[DATA]\r\nRE=1,2\r\nDATA=Binary Appended\r\n";
    const std::string tail = "\x01\r\nJUNK=1\r\n[INFO2]\0\xff\r\nk=\x80"s;
    put(file("text.ini"), text);
    put(file("raw.bin"), text + tail);

    cInifile plain = at("text.ini", "");
    cInifile limited = at("raw.bin", "");
    limited.TextLimit = text.size();
    cInifile whole = at("raw.bin", "");

    EXPECT_EQ(limited.Sections(), plain.Sections());
    EXPECT_EQ(whole.Sections(), "INFO\0DATA\0INFO2\0"s);
    for (const std::string& s : plain.EnumerateAllSections()) {
        plain.Section = limited.Section = s;
        EXPECT_EQ(limited.INISection(), plain.INISection()) << s;
        for (const std::string& k : plain.EnumerateCurrentSection()) {
            plain.Key = limited.Key = k;
            EXPECT_EQ(limited.Value(), plain.Value()) << k;
        }
    }
    whole.Section = limited.Section = "DATA";
    whole.Key = limited.Key = "JUNK";
    EXPECT_EQ(whole.Value(), "1");
    EXPECT_EQ(limited.Value(), "");

    // A limit past the end is the whole file.
    limited.TextLimit = 1u << 30;
    EXPECT_EQ(limited.Value(), "1");
}

TEST(CLngDefault, LongRangeOrTheDefault) {
    EXPECT_EQ(cInifile::CLngDefault("16711680", -1), 16711680);
    EXPECT_EQ(cInifile::CLngDefault(" -2147483648 ", -1), INT32_MIN);
    EXPECT_EQ(cInifile::CLngDefault("2147483648", -1), -1);
    EXPECT_EQ(cInifile::CLngDefault("12abc", -1), -1);
}

TEST_F(IniFileTest, FormPositionIsRestoredOnlyWhenEveryKeyIsThere) {
    MemoryForm form("frmMain");
    form.move({10, 20, 300, 400});
    form.maximise();
    cInifile ini = at("pos.ini", "Main");
    ini.SaveFormPosition(form);
    EXPECT_EQ(get(ini.Path), "[Main]\r\nMaximised=True\r\nLeft=10\r\nTop=20\r\nWidth=300\r\nHeight=400\r\n");

    struct {
        const char* what;
        std::string file;
        bool moved;
        bool maximised;
    } cases[] = {
        {"all keys", "[Main]\r\nMaximised=False\r\nLeft=1\r\nTop=2\r\nWidth=3\r\nHeight=4\r\n", true, false},
        {"maximised", "[Main]\r\nMaximised=True\r\nLeft=1\r\nTop=2\r\nWidth=3\r\nHeight=4\r\n", true, true},
        {"one key missing", "[Main]\r\nMaximised=True\r\nLeft=1\r\nTop=2\r\nWidth=3\r\n", false, false},
        {"FAIL stored", "[Main]\r\nMaximised=False\r\nLeft=FAIL\r\nTop=2\r\nWidth=3\r\nHeight=4\r\n", false,
         false},
        {"not a number", "[Main]\r\nMaximised=False\r\nLeft=x\r\nTop=2\r\nWidth=3\r\nHeight=4\r\n", false,
         false},
    };
    for (const auto& c : cases) {
        put(ini.Path, c.file);
        MemoryForm f("frmMain");
        f.move({7, 7, 7, 7});
        ini.LoadFormPosition(f);
        EXPECT_EQ(f.rect() == (FormRect{1, 2, 3, 4}), c.moved) << c.what;
        EXPECT_EQ(f.maximised(), c.maximised) << c.what;
    }
}

} // namespace
} // namespace zel
