#include "ui/QtText.h"

namespace {

// 0x80..0x9F of Windows-1252; 0 where the code page leaves a byte undefined (shown as itself).
constexpr char16_t HighControls[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

} // namespace

QString ToQString(std::string_view text) {
    QString out;
    out.reserve(static_cast<qsizetype>(text.size()));
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '\r') {
            // CR LF and a lone CR both break the line once.
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
            out += QChar(u'\n');
        } else if (c >= 0x80 && c <= 0x9F && HighControls[c - 0x80] != 0) {
            out += QChar(HighControls[c - 0x80]);
        } else {
            out += QChar(static_cast<char16_t>(c));
        }
    }
    return out;
}

QColor ToQColor(RgbColour colour) { return QColor(colour.Red, colour.Green, colour.Blue); }
