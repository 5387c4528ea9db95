#pragma once
// The one place where the program's 8-bit text (Windows-1252, as every file holds it; see
// common/windows1252.h) meets Qt's Unicode strings. Every text the windows and painters show from a log,
// an options file or the program's own tables comes in through toQt, and every text typed into a window
// goes out through fromQt. File paths are not such text: they stay in the system's own encoding
// (QString::fromStdString / toStdString).

#include "common/windows1252.h"

#include <QList>
#include <QString>

#include <string>
#include <string_view>

namespace zel {

inline QString toQt(std::string_view text) {
    QString out;
    out.reserve(static_cast<qsizetype>(text.size()));
    for (char ch : text) {
        const char32_t c = windows1252ToUnicode(static_cast<unsigned char>(ch));
        out += QChar(static_cast<char16_t>(c)); // the code page's characters all lie in the BMP
    }
    return out;
}

// A character the code page lacks becomes "?".
inline std::string fromQt(const QString& text) {
    std::string out;
    out.reserve(static_cast<std::size_t>(text.size()));
    for (const auto c : text.toUcs4())
        out += static_cast<char>(unicodeToWindows1252(static_cast<char32_t>(c)).value_or('?'));
    return out;
}

} // namespace zel
