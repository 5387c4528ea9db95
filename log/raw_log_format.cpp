#include "log/raw_log_format.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace zel {
namespace {

bool endsWithNoCase(std::string_view text, std::string_view suffix) {
    if (suffix.size() > text.size()) return false;
    return std::equal(suffix.begin(), suffix.end(), text.end() - static_cast<std::ptrdiff_t>(suffix.size()),
                      [](char a, char b) {
                          return std::tolower(static_cast<unsigned char>(a)) ==
                                 std::tolower(static_cast<unsigned char>(b));
                      });
}

std::string upperAscii(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

std::string envText(const char* name) {
    const char* v = std::getenv(name);
    return v ? std::string(v) : std::string();
}

} // namespace

std::string_view rawLogExtension(LogFamily family) {
    switch (family) {
    case LogFamily::O2: return ".o2.raw.bin";
    case LogFamily::Colour: return ".clr.raw.bin";
    case LogFamily::Lif: break;
    }
    return ".lif.raw.bin";
}

std::string withRawLogExtension(std::string_view path, LogFamily family) {
    const std::string_view ext = rawLogExtension(family);
    std::string out(path);
    if (!endsWithNoCase(path, ext)) out += ext;
    return out;
}

LogFamily familyOfPath(std::string_view path) {
    if (endsWithNoCase(path, rawLogExtension(LogFamily::O2))) return LogFamily::O2;
    if (endsWithNoCase(path, rawLogExtension(LogFamily::Colour))) return LogFamily::Colour;
    return LogFamily::Lif;
}

std::string hdSideFilePath(std::string_view rawLogPath) {
    std::string out(rawLogPath.substr(0, rawLogPath.size() >= 3 ? rawLogPath.size() - 3 : 0));
    return out + "hd";
}

ModeFamily modeFamilyOf(std::string_view modeText) {
    const std::string m = upperAscii(modeText);
    for (std::string_view sign : {"\xAE", "\xC2\xAE"}) {
        if (m == "ALDER" + std::string(sign)) return ModeFamily::Uv;
        if (m == "BIRCH" + std::string(sign)) return ModeFamily::Birch;
    }
    if (m == "FIR 2") return ModeFamily::Uv;
    return ModeFamily::Other;
}

std::string environmentComputerName() {
#ifdef _WIN32
    return envText("COMPUTERNAME");
#else
    std::string name = envText("HOSTNAME");
    if (name.empty()) {
        char buf[256] = {};
        if (::gethostname(buf, sizeof buf - 1) == 0) name = buf;
    }
    return name;
#endif
}

std::string environmentUserName() {
#ifdef _WIN32
    return envText("USERNAME");
#else
    std::string name = envText("USER");
    return name.empty() ? envText("LOGNAME") : name;
#endif
}

} // namespace zel
