#include "support/VbText.h"

namespace {

// Windows-1252: ASCII letters, the Latin-1 block 0xC0..0xDE / 0xE0..0xFE (without the
// multiplication and division signs) and the letter pairs the code page adds in 0x80..0x9F.
unsigned char UpperByte(unsigned char c) {
    if (c >= 'a' && c <= 'z') return static_cast<unsigned char>(c - 32);
    if (c < 0x80) return c;
    if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return static_cast<unsigned char>(c - 32);
    switch (c) {
    case 0x9A: return 0x8A; // s caron
    case 0x9C: return 0x8C; // oe
    case 0x9E: return 0x8E; // z caron
    case 0xFF: return 0x9F; // y diaeresis
    default: return c;
    }
}

unsigned char LowerByte(unsigned char c) {
    if (c >= 'A' && c <= 'Z') return static_cast<unsigned char>(c + 32);
    if (c < 0x80) return c;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return static_cast<unsigned char>(c + 32);
    switch (c) {
    case 0x8A: return 0x9A;
    case 0x8C: return 0x9C;
    case 0x8E: return 0x9E;
    case 0x9F: return 0xFF;
    default: return c;
    }
}

bool SameNoCase(char a, char b) {
    return UpperByte(static_cast<unsigned char>(a)) == UpperByte(static_cast<unsigned char>(b));
}

} // namespace

std::string NL(int count) {
    std::string out;
    if (count < 1) return out;
    out.reserve(static_cast<std::size_t>(count) * 2);
    for (int k = 0; k < count; ++k) out += "\r\n";
    return out;
}

std::string TrimNull(std::string_view text) {
    const std::size_t nul = text.find('\0');
    if (nul == std::string_view::npos) return {};
    return Trim(text.substr(0, nul));
}

std::string CutAtNull(std::string_view text) {
    const std::size_t nul = text.find('\0');
    return std::string(nul == std::string_view::npos ? text : text.substr(0, nul));
}

std::string LTrim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

std::string RTrim(std::string_view text) {
    const std::size_t last = text.find_last_not_of(' ');
    return last == std::string_view::npos ? std::string() : std::string(text.substr(0, last + 1));
}

std::string Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    const std::size_t last = text.find_last_not_of(' ');
    return std::string(text.substr(first, last - first + 1));
}

std::string UCase(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(UpperByte(static_cast<unsigned char>(c)));
    return out;
}

std::string LCase(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(LowerByte(static_cast<unsigned char>(c)));
    return out;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t k = 0; k < a.size(); ++k) {
        if (!SameNoCase(a[k], b[k])) return false;
    }
    return true;
}

bool ContainsNoCase(std::string_view haystack, std::string_view needle) {
    if (needle.empty()) return true; // InStr finds the empty text at position 1
    if (needle.size() > haystack.size()) return false;
    for (std::size_t start = 0; start + needle.size() <= haystack.size(); ++start) {
        std::size_t k = 0;
        while (k < needle.size() && SameNoCase(haystack[start + k], needle[k])) ++k;
        if (k == needle.size()) return true;
    }
    return false;
}

std::string Left(std::string_view text, std::size_t n) { return std::string(text.substr(0, n)); }

std::string Right(std::string_view text, std::size_t n) {
    return n >= text.size() ? std::string(text) : std::string(text.substr(text.size() - n));
}

std::string Mid(std::string_view text, std::size_t start1, std::size_t n) {
    // A start of 0, which the original refused, reads as 1 here.
    const std::size_t start = start1 == 0 ? 0 : start1 - 1;
    if (start >= text.size()) return {};
    return std::string(text.substr(start, n));
}

std::string FixedField(std::string_view text, std::size_t length) {
    std::string out(text.substr(0, length));
    out.resize(length, ' ');
    return out;
}
