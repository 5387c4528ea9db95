#include "settings/ini_text.h"

#include <array>
#include <cstring>
#include <stdexcept>

namespace zel::ini {
namespace {

constexpr std::array<bool, 256> makeTrimTable() {
    std::array<bool, 256> t{};
    for (unsigned char c : {'\t', '\n', '\v', '\f', '\r', ' ', '\x1a'})
        t[c] = true;
    return t;
}
constexpr std::array<bool, 256> kTrim = makeTrimTable();

char lowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string lowered(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = lowerAscii(c);
    return out;
}

std::size_t findByte(const char* data, std::size_t from, std::size_t size, char c) {
    if (from >= size) return size;
    const void* p = std::memchr(data + from, c, size - from);
    return p ? static_cast<std::size_t>(static_cast<const char*>(p) - data) : size;
}

// Linear search is cheaper than building a map for the few keys of an ordinary section.
constexpr std::size_t kLinearSearchLimit = 16;

} // namespace

bool isTrimmed(char c) {
    return kTrim[static_cast<unsigned char>(c)];
}

std::string_view trim(std::string_view text) {
    std::size_t b = 0, e = text.size();
    while (b < e && isTrimmed(text[b]))
        ++b;
    while (e > b && isTrimmed(text[e - 1]))
        --e;
    return text.substr(b, e - b);
}

bool sameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (lowerAscii(a[i]) != lowerAscii(b[i])) return false;
    return true;
}

std::string packList(const std::vector<std::string_view>& entries, std::size_t bufferSize) {
    std::string all;
    for (auto e : entries) {
        all += e;
        all += '\0';
    }
    if (all.size() + 1 <= bufferSize) return all;
    if (bufferSize < 2) return {};
    all.resize(bufferSize - 2);
    return all;
}

std::vector<std::string> splitList(std::string_view list) {
    std::vector<std::string> out;
    std::size_t pos = 0;
    while (pos < list.size()) {
        std::size_t end = list.find('\0', pos);
        if (end == std::string_view::npos) end = list.size();
        if (end == pos) break;
        out.emplace_back(list.substr(pos, end - pos));
        pos = end + 1;
    }
    return out;
}

IniDocument::IniDocument(std::string bytes) : bytes_(std::move(bytes)) {
    if (bytes_.size() > kMaxDocumentBytes) throw std::length_error("INI text too large");
    parseFrom(0);
}

void IniDocument::reparse() {
    sections_.clear();
    sectionIndex_.clear();
    parseFrom(0);
}

// Lines are the runs of bytes between CR and LF characters; a line's break is CR LF, a lone CR or a lone LF.
// The text before the first header belongs to no section and is never found.
void IniDocument::parseFrom(std::size_t pos) {
    const char* d = bytes_.data();
    const std::size_t n = bytes_.size();
    std::size_t nextCr = findByte(d, pos, n, '\r');
    std::size_t nextLf = findByte(d, pos, n, '\n');
    while (pos < n) {
        if (d[pos] == '\r' || d[pos] == '\n') {
            ++pos;
            continue;
        }
        if (nextCr < pos) nextCr = findByte(d, pos, n, '\r');
        if (nextLf < pos) nextLf = findByte(d, pos, n, '\n');
        const std::size_t end = nextCr < nextLf ? nextCr : nextLf;
        std::size_t next = end;
        if (end < n) next = (d[end] == '\r' && end + 1 < n && d[end + 1] == '\n') ? end + 2 : end + 1;

        std::size_t tb = pos, te = end;
        while (tb < te && kTrim[static_cast<unsigned char>(d[tb])])
            ++tb;
        while (te > tb && kTrim[static_cast<unsigned char>(d[te - 1])])
            --te;
        if (tb < te) {
            std::size_t close = te;
            if (d[tb] == '[')
                for (std::size_t i = te - 1; i > tb; --i)
                    if (d[i] == ']') {
                        close = i;
                        break;
                    }
            if (close < te) {
                std::size_t nb = tb + 1, ne = close;
                while (nb < ne && kTrim[static_cast<unsigned char>(d[nb])])
                    ++nb;
                while (ne > nb && kTrim[static_cast<unsigned char>(d[ne - 1])])
                    --ne;
                if (!sections_.empty()) sections_.back().bodyEnd = static_cast<Offset>(pos);
                Section s{};
                s.nameBegin = static_cast<Offset>(nb);
                s.nameEnd = static_cast<Offset>(ne);
                s.headerBegin = static_cast<Offset>(pos);
                s.headerEnd = s.lastEnd = static_cast<Offset>(end);
                s.headerNext = s.lastNext = static_cast<Offset>(next);
                addSection(std::move(s));
            } else if (!sections_.empty()) {
                Section& s = sections_.back();
                s.lastEnd = static_cast<Offset>(end);
                s.lastNext = static_cast<Offset>(next);
                if (d[tb] != ';') {
                    Entry e{};
                    e.lineBegin = static_cast<Offset>(pos);
                    e.lineEnd = static_cast<Offset>(end);
                    e.lineNext = static_cast<Offset>(next);
                    const std::size_t eq = findByte(d, tb, te, '=');
                    if (eq < te) {
                        std::size_t ke = eq, vb = eq + 1;
                        while (ke > tb && kTrim[static_cast<unsigned char>(d[ke - 1])])
                            --ke;
                        while (vb < te && kTrim[static_cast<unsigned char>(d[vb])])
                            ++vb;
                        e.keyBegin = static_cast<Offset>(tb);
                        e.keyEnd = static_cast<Offset>(ke);
                        e.valueBegin = static_cast<Offset>(vb);
                        e.valueEnd = static_cast<Offset>(te);
                        e.equals = static_cast<Offset>(eq);
                    } else {
                        e.keyBegin = static_cast<Offset>(tb);
                        e.keyEnd = e.valueBegin = e.valueEnd = static_cast<Offset>(te);
                        e.equals = kNone;
                    }
                    addEntry(s, e);
                }
            }
        }
        pos = next;
    }
    if (!sections_.empty()) sections_.back().bodyEnd = static_cast<Offset>(n);
}

void IniDocument::addSection(Section section) {
    sectionIndex_.emplace(lowered(view(section.nameBegin, section.nameEnd)), sections_.size());
    sections_.push_back(std::move(section));
}

void IniDocument::addEntry(Section& section, const Entry& entry) {
    if (section.keyIndexBuilt)
        section.keyIndex.emplace(lowered(view(entry.keyBegin, entry.keyEnd)), section.entries.size());
    section.entries.push_back(entry);
}

const IniDocument::Section* IniDocument::findSection(std::string_view name) const {
    auto it = sectionIndex_.find(lowered(trim(name)));
    return it == sectionIndex_.end() ? nullptr : &sections_[it->second];
}

const IniDocument::Entry* IniDocument::findKey(const Section& section, std::string_view key) const {
    key = trim(key);
    if (section.entries.size() <= kLinearSearchLimit) {
        for (const Entry& e : section.entries)
            if (sameName(view(e.keyBegin, e.keyEnd), key)) return &e;
        return nullptr;
    }
    if (!section.keyIndexBuilt) {
        section.keyIndex.reserve(section.entries.size());
        for (std::size_t i = 0; i < section.entries.size(); ++i)
            section.keyIndex.emplace(lowered(view(section.entries[i].keyBegin, section.entries[i].keyEnd)),
                                     i);
        section.keyIndexBuilt = true;
    }
    auto it = section.keyIndex.find(lowered(key));
    return it == section.keyIndex.end() ? nullptr : &section.entries[it->second];
}

std::optional<std::string_view> IniDocument::value(std::string_view section, std::string_view key) const {
    const Section* s = findSection(section);
    if (!s) return std::nullopt;
    const Entry* e = findKey(*s, key);
    if (!e || e->equals == kNone) return std::nullopt;
    std::string_view v = view(e->valueBegin, e->valueEnd);
    if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front())
        v = v.substr(1, v.size() - 2);
    return v;
}

bool IniDocument::hasSection(std::string_view section) const {
    return findSection(section) != nullptr;
}

std::vector<std::string_view> IniDocument::keyNames(std::string_view section) const {
    std::vector<std::string_view> out;
    if (const Section* s = findSection(section))
        for (const Entry& e : s->entries)
            if (e.equals != kNone && e.keyEnd > e.keyBegin) out.push_back(view(e.keyBegin, e.keyEnd));
    return out;
}

std::vector<std::string> IniDocument::sectionEntries(std::string_view section) const {
    std::vector<std::string> out;
    if (const Section* s = findSection(section))
        for (const Entry& e : s->entries) {
            std::string line(view(e.keyBegin, e.keyEnd));
            if (e.equals != kNone) {
                line += '=';
                line += view(e.valueBegin, e.valueEnd);
            }
            out.push_back(std::move(line));
        }
    return out;
}

std::vector<std::string_view> IniDocument::sectionNames() const {
    std::vector<std::string_view> out;
    for (const Section& s : sections_)
        if (s.nameEnd > s.nameBegin) out.push_back(view(s.nameBegin, s.nameEnd));
    return out;
}

bool IniDocument::endsWithLineBreak() const {
    return bytes_.empty() || bytes_.back() == '\r' || bytes_.back() == '\n';
}

void IniDocument::replace(std::size_t begin, std::size_t end, std::string_view text) {
    if (bytes_.size() - (end - begin) + text.size() > kMaxDocumentBytes)
        throw std::length_error("INI text too large");
    unchangedPrefix_ = begin;
    // An append after a complete line continues the parse where it stopped instead of starting over; this
    // keeps a writer that adds key after key to a growing file linear.
    const bool append = begin == end && begin == bytes_.size() &&
                        (bytes_.empty() || bytes_.back() == '\n' ||
                         (bytes_.back() == '\r' && (text.empty() || text.front() != '\n')));
    if (append) {
        bytes_.append(text);
        parseFrom(begin);
    } else {
        bytes_.replace(begin, end - begin, text);
        reparse();
    }
}

void IniDocument::writeString(std::string_view section, std::string_view key, std::string_view value) {
    const std::string_view s = trim(section), k = trim(key);
    std::string line;
    line.reserve(k.size() + value.size() + 3);
    line.append(k).append("=").append(value).append("\r\n");

    const Section* sec = findSection(s);
    if (!sec) {
        std::string text = endsWithLineBreak() ? "" : "\r\n";
        text.append("[").append(s).append("]\r\n").append(line);
        replace(bytes_.size(), bytes_.size(), text);
        return;
    }
    if (const Entry* e = findKey(*sec, k)) {
        if (e->equals != kNone) {
            replace(e->equals + std::size_t{1}, e->lineEnd, value);
        } else {
            replace(e->keyEnd, e->lineEnd, std::string("=").append(value));
        }
        return;
    }
    // A new key goes right after the section's last non-blank line, so keys stay in the order written and
    // blank lines before the next header stay where they are.
    const std::size_t at = sec->lastNext;
    if (sec->lastNext == sec->lastEnd)
        line.insert(0, "\r\n"); // that line is the unterminated end of the file
    replace(at, at, line);
}

void IniDocument::deleteKey(std::string_view section, std::string_view key) {
    const Section* sec = findSection(section);
    if (!sec) return;
    if (const Entry* e = findKey(*sec, key)) replace(e->lineBegin, e->lineNext, {});
}

void IniDocument::deleteSection(std::string_view section) {
    if (const Section* sec = findSection(section)) replace(sec->headerBegin, sec->bodyEnd, {});
}

void IniDocument::writeSection(std::string_view section, const std::vector<std::string_view>& entries) {
    std::string body;
    for (auto e : entries)
        body.append(e).append("\r\n");
    const std::string_view s = trim(section);
    const Section* sec = findSection(s);
    if (!sec) {
        std::string text = endsWithLineBreak() ? "" : "\r\n";
        text.append("[").append(s).append("]\r\n").append(body);
        replace(bytes_.size(), bytes_.size(), text);
        return;
    }
    if (sec->headerNext == sec->headerEnd && !body.empty()) body.insert(0, "\r\n");
    replace(sec->headerNext, sec->lastNext, body);
}

} // namespace zel::ini
