#include "settings/startup/command_line.h"

#include "settings/startup/modes.h"

#include <algorithm>

namespace zel {
namespace {

constexpr std::string_view kSwitches[] = {
    "/T",      "/U",     "/C",     "/WTM",    "/O2",     "/H",      "/F",       "/PF",
    "/NOLOCK", "/RE",    "/S",     "/Y",      "/IPSCP",  "/MODE0",  "/MODE1",   "/MODE2",
    "/MODE21", "/MODE3", "/MODE4", "/MODE51", "/MODE52", "/MODE61", "/DOGWOOD",
};

// What a mode switch stands for, appended in this order.
struct Expansion {
    std::string_view switch1;
    std::string_view switch2; // an alternative name, or empty
    std::string_view appended;
};
constexpr Expansion kExpansions[] = {
    {"/MODE2", "/DOGWOOD", "/U/RE100/PF"},
    {"/MODE3", "", "/U/RE100/S256"},
    {"/MODE4", "", "/U/S016/Y050"},
    {"/MODE61", "", "/T/RE050/PF"},
};

constexpr std::string_view kRawLogExtensions[] = {".LIF.RAW.BIN", ".CLR.RAW.BIN", ".O2.RAW.BIN"};

std::string upper(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// True when a longer switch starts at pos with the same letters as name ("/MODE21" where "/MODE2" is
// looked for): that occurrence is the longer switch, not this one.
bool startsLongerSwitch(std::string_view text, std::size_t pos, std::string_view name) {
    const std::string_view rest = text.substr(pos);
    return std::any_of(std::begin(kSwitches), std::end(kSwitches), [&](std::string_view other) {
        return other.size() > name.size() && other.starts_with(name) && rest.starts_with(other);
    });
}

std::size_t findSwitch(std::string_view text, std::string_view name) {
    for (std::size_t pos = text.find(name); pos != std::string_view::npos; pos = text.find(name, pos + 1))
        if (!startsLongerSwitch(text, pos, name)) return pos;
    return std::string_view::npos;
}

bool has(std::string_view text, std::string_view name) {
    return findSwitch(text, name) != std::string_view::npos;
}

// "/RE", "/S" or "/Y" followed by exactly three digits that name an entry of its list. The three characters
// must all be there: a line that ends earlier, or holds "/" or a blank among them, leaves the default.
std::optional<int> listedValue(std::string_view text, std::string_view name, const std::vector<int>& list) {
    const std::size_t pos = findSwitch(text, name);
    if (pos == std::string_view::npos || text.size() - pos < name.size() + 3) return std::nullopt;
    const std::string_view digits = text.substr(pos + name.size(), 3);
    if (!std::all_of(digits.begin(), digits.end(), isDigit)) return std::nullopt;
    const int value = (digits[0] - '0') * 100 + (digits[1] - '0') * 10 + (digits[2] - '0');
    if (std::find(list.begin(), list.end(), value) == list.end()) return std::nullopt;
    return value;
}

// "/IPSCP052": the oscilloscope's last address number, kept with its zero padding as typed.
void applyScopeAddress(StartupSettings& s, std::string_view text) {
    const std::size_t pos = findSwitch(text, "/IPSCP");
    if (pos == std::string_view::npos) return;
    const std::string_view chars = text.substr(pos + 6, 3);
    int value = 0;
    std::size_t n = 0;
    while (n < chars.size() && isDigit(chars[n]))
        value = value * 10 + (chars[n++] - '0');
    if (n == 0 || value > 255) return; // no address part of the network: keep the default
    const std::string digits = std::to_string(value);
    s.scopeAddress = std::string(kInstrumentSubnet) + std::string(3 - digits.size(), '0') + digits;
    s.scopeResource = "TCPIP::" + std::string(kInstrumentSubnet) + digits + "::INSTR";
}

void selectMode(StartupSettings& s, int mode, std::optional<int> look) {
    setMode(s, mode);
    if (look) s.look = look;
}

// The start file in double quotes is cut out of the line (a blank keeps the switches on either side apart).
struct QuotedSplit {
    std::string switches;
    std::string startFile;
};
QuotedSplit splitQuoted(std::string_view line) {
    const std::size_t open = line.find('"');
    const std::size_t close = open == std::string_view::npos ? open : line.find('"', open + 1);
    if (close == std::string_view::npos) return {std::string(line), {}};
    return {std::string(line.substr(0, open)) + " " + std::string(line.substr(close + 1)),
            std::string(line.substr(open + 1, close - open - 1))};
}

StartupSettings resolve(std::string_view switchText, const std::string& startFile, const SwitchLists& lists) {
    StartupSettings s;
    std::string line = upper(switchText);

    s.singleInstance = has(line, "/IPSCP");
    applyScopeAddress(s, line);

    s.startFile = startFile;
    s.colour = has(line, "/C") || upper(startFile).find("CLR.RAW.BIN") != std::string::npos ||
               line.find("CLR.RAW.BIN") != std::string::npos;
    s.hd = !s.colour && has(line, "/H");
    s.wtm = !s.colour && has(line, "/WTM");
    s.o2 = !s.colour && has(line, "/O2");
    s.birch = has(line, "/T") || has(line, "/MODE1");
    selectMode(s, s.birch ? 1 : 0, s.birch ? 1 : 0);

    // In file mode no instrument is set up, so the instrument switches and expansions are not looked at.
    s.fileMode = has(line, "/F") || !startFile.empty();
    if (!s.fileMode) {
        const std::string typed = line;
        for (const Expansion& e : kExpansions)
            if (has(typed, e.switch1) || (!e.switch2.empty() && has(typed, e.switch2))) line += e.appended;
        s.unlock = has(line, "/NOLOCK");
        s.reScale = s.birch ? 20 : 50;
        const auto pick = [&line](std::string_view name, const std::vector<int>& list, std::int32_t& value,
                                  bool& fromSwitch) {
            if (const auto v = listedValue(line, name, list)) {
                value = *v;
                fromSwitch = true;
            }
        };
        pick("/RE", lists.reScales, s.reScale, s.reScaleFromSwitch);
        pick("/S", lists.averages, s.averaging, s.averagingFromSwitch);
        pick("/Y", lists.yScales, s.yScale, s.yScaleFromSwitch);
    }
    s.switches = line;

    // The setup form's selections once loaded; a later one overrides an earlier one.
    if (has(line, "/U") || (has(line, "/MODE0") && !has(line, "/MODE21"))) selectMode(s, 0, 0);
    s.pressureFlow = has(line, "/PF");
    if (has(line, "/MODE2") || has(line, "/DOGWOOD")) selectMode(s, 2, 2);
    if (has(line, "/MODE21")) selectMode(s, 21, 21);
    if (has(line, "/MODE61")) selectMode(s, 61, 61);
    if (has(line, "/MODE3")) selectMode(s, 3, 3);
    if (has(line, "/MODE4")) selectMode(s, 4, 0);
    if (has(line, "/MODE51")) selectMode(s, 51, 0);
    if (has(line, "/MODE52")) selectMode(s, 52, std::nullopt);
    return s;
}

} // namespace

bool isRawLogName(std::string_view name) {
    const std::string u = upper(name);
    return std::any_of(std::begin(kRawLogExtensions), std::end(kRawLogExtensions),
                       [&](std::string_view ext) { return u.ends_with(ext); });
}

StartupSettings parseCommandLine(std::string_view commandLine, const SwitchLists& lists) {
    const QuotedSplit split = splitQuoted(commandLine);
    return resolve(split.switches, split.startFile, lists);
}

StartupSettings parseArguments(std::span<const std::string> arguments, const FileTest& isExistingFile,
                               const SwitchLists& lists) {
    std::string joined;
    std::string startFile;
    for (const std::string& arg : arguments) {
        if (isRawLogName(arg) || (isExistingFile && isExistingFile(arg))) {
            if (startFile.empty()) startFile = arg;
            continue;
        }
        if (!joined.empty()) joined += ' ';
        joined += arg;
    }
    QuotedSplit split = splitQuoted(joined);
    return resolve(split.switches, startFile.empty() ? split.startFile : startFile, lists);
}

} // namespace zel
