#include "support/IniText.h"

#include <array>
#include <cstring>

namespace {

constexpr std::array<unsigned char, 256> MakeFoldTable() {
    std::array<unsigned char, 256> t{};
    for (int c = 0; c < 256; ++c) t[c] = static_cast<unsigned char>(c);
    for (int c = 'a'; c <= 'z'; ++c) t[c] = static_cast<unsigned char>(c - 32);
    // Windows-1252: the accented small letters sit 0x20 above their capitals, except these.
    for (int c = 0xE0; c <= 0xFE; ++c)
        if (c != 0xF7) t[c] = static_cast<unsigned char>(c - 0x20);
    t[0x9A] = 0x8A;  // s caron
    t[0x9C] = 0x8C;  // oe
    t[0x9E] = 0x8E;  // z caron
    t[0xFF] = 0x9F;  // y diaeresis
    return t;
}
constexpr auto FoldTable = MakeFoldTable();

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view LineEndOf(std::string_view text) {
    std::size_t lf = text.find('\n');
    if (lf == std::string_view::npos) return "\r\n";  // what the other programs of the family write
    return (lf > 0 && text[lf - 1] == '\r') ? std::string_view("\r\n") : std::string_view("\n");
}

std::string_view CutAtLineBreak(std::string_view value) {
    return value.substr(0, value.find_first_of("\r\n"));
}

}  // namespace

bool IniNamesMatch(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (FoldTable[static_cast<unsigned char>(a[i])] != FoldTable[static_cast<unsigned char>(b[i])])
            return false;
    return true;
}

std::string_view IniTrim(std::string_view text) {
    std::size_t b = 0, e = text.size();
    while (b < e && IsBlank(text[b])) ++b;
    while (e > b && IsBlank(text[e - 1])) --e;
    return text.substr(b, e - b);
}

std::string_view IniUnquote(std::string_view value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
        return value.substr(1, value.size() - 2);
    return value;
}

IniLine IniLineAt(std::string_view text, std::size_t start) {
    IniLine line;
    line.Start = start;
    const char* base = text.data();
    const void* lf = std::memchr(base + start, '\n', text.size() - start);
    if (lf) {
        line.End = static_cast<std::size_t>(static_cast<const char*>(lf) - base) + 1;
        line.ContentEnd = line.End - 1;
        if (line.ContentEnd > start && text[line.ContentEnd - 1] == '\r') --line.ContentEnd;
    } else {
        line.End = line.ContentEnd = text.size();
    }
    std::string_view content = text.substr(start, line.ContentEnd - start);
    std::string_view trimmed = IniTrim(content);
    if (trimmed.empty()) {
        line.Kind = IniLineKind::Blank;
    } else if (trimmed.front() == '[') {
        line.Kind = IniLineKind::Section;
        std::string_view name = trimmed.substr(1);
        line.Name = IniTrim(name.substr(0, name.find(']')));
    } else if (trimmed.front() == ';') {
        line.Kind = IniLineKind::Comment;
    } else if (std::size_t eq = content.find('='); eq != std::string_view::npos) {
        line.Kind = IniLineKind::Key;
        line.Name = IniTrim(content.substr(0, eq));
        line.Value = IniTrim(content.substr(eq + 1));
        line.ValueStart = start + eq + 1;
    } else {
        line.Kind = IniLineKind::Other;
    }
    return line;
}

std::optional<std::string_view> IniFindValue(std::string_view text, std::string_view section,
                                             std::string_view key) {
    section = IniTrim(section);
    key = IniTrim(key);
    bool inSection = false;
    for (std::size_t pos = 0; pos < text.size();) {
        IniLine line = IniLineAt(text, pos);
        if (line.Kind == IniLineKind::Section) {
            if (inSection) return std::nullopt;  // later occurrences are not read
            inSection = IniNamesMatch(line.Name, section);
        } else if (inSection && line.Kind == IniLineKind::Key && IniNamesMatch(line.Name, key)) {
            return IniUnquote(line.Value);
        }
        pos = line.End;
    }
    return std::nullopt;
}

std::string IniSetValue(std::string_view text, std::string_view section, std::string_view key,
                        std::string_view value) {
    section = IniTrim(section);
    key = IniTrim(key);
    value = CutAtLineBreak(value);
    const std::string_view eol = LineEndOf(text);

    bool inSection = false, found = false;
    IniLine anchor;  // the line a new key goes after
    IniLine last;
    for (std::size_t pos = 0; pos < text.size();) {
        IniLine line = IniLineAt(text, pos);
        if (line.Kind == IniLineKind::Section) {
            if (inSection) break;
            if (!found && IniNamesMatch(line.Name, section)) {
                inSection = found = true;
                anchor = line;
            }
        } else if (inSection) {
            if (line.Kind == IniLineKind::Key && IniNamesMatch(line.Name, key)) {
                // Keep the key as the file spells it and the blanks after "=": only the value changes.
                std::size_t at = line.ValueStart;
                while (at < line.ContentEnd && (text[at] == ' ' || text[at] == '\t')) ++at;
                std::string out;
                out.reserve(text.size() + value.size());
                out.append(text.substr(0, at)).append(value).append(text.substr(line.ContentEnd));
                return out;
            }
            if (line.Kind == IniLineKind::Key || line.Kind == IniLineKind::Other) anchor = line;
        }
        last = line;
        pos = line.End;
    }

    std::string out;
    out.reserve(text.size() + section.size() + key.size() + value.size() + 16);
    if (found) {
        out.append(text.substr(0, anchor.End));
        if (anchor.ContentEnd == anchor.End) out.append(eol);  // the anchor was the unended last line
        out.append(key).append("=").append(value).append(eol);
        out.append(text.substr(anchor.End));
        return out;
    }
    out.append(text);
    if (!text.empty()) {
        if (last.ContentEnd == last.End) out.append(eol);
        if (last.Kind != IniLineKind::Blank) out.append(eol);
    }
    out.append("[").append(section).append("]").append(eol);
    out.append(key).append("=").append(value).append(eol);
    return out;
}

std::string IniDeleteKey(std::string_view text, std::string_view section, std::string_view key) {
    section = IniTrim(section);
    key = IniTrim(key);
    std::string out;
    out.reserve(text.size());
    bool inSection = false, seen = false;
    for (std::size_t pos = 0; pos < text.size();) {
        IniLine line = IniLineAt(text, pos);
        bool drop = false;
        if (line.Kind == IniLineKind::Section) {
            inSection = !seen && IniNamesMatch(line.Name, section);
            seen = seen || inSection;
        } else if (inSection && line.Kind == IniLineKind::Key && IniNamesMatch(line.Name, key)) {
            drop = true;
        }
        if (!drop) out.append(text.substr(line.Start, line.End - line.Start));
        pos = line.End;
    }
    return out;
}

std::string IniDeleteSection(std::string_view text, std::string_view section) {
    section = IniTrim(section);
    std::string out;
    out.reserve(text.size());
    bool dropping = false;
    for (std::size_t pos = 0; pos < text.size();) {
        IniLine line = IniLineAt(text, pos);
        if (line.Kind == IniLineKind::Section) dropping = IniNamesMatch(line.Name, section);
        if (!dropping) out.append(text.substr(line.Start, line.End - line.Start));
        pos = line.End;
    }
    return out;
}
