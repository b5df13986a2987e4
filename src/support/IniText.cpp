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

constexpr std::string_view Bom = "\xEF\xBB\xBF";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v'; }

// The line end of the text's first line: LF, CR LF or a lone CR.
std::string_view LineEndOf(std::string_view text) {
    std::size_t at = text.find_first_of("\r\n");
    if (at == std::string_view::npos) return "\r\n";  // what the other programs of the family write
    if (text[at] == '\n') return "\n";
    return (at + 1 < text.size() && text[at + 1] == '\n') ? std::string_view("\r\n") : std::string_view("\r");
}

// Text after a leading byte-order mark: the mark belongs to the file, not to its first line.
std::size_t BodyStart(std::string_view text) { return text.substr(0, Bom.size()) == Bom ? Bom.size() : 0; }

// An edited text that holds lines ends with a line break, as the platform writes every line.
void EndWithLineBreak(std::string& out, std::string_view eol) {
    if (out.size() > BodyStart(out) && out.back() != '\n' && out.back() != '\r') out.append(eol);
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
    line.ContentStart = start == 0 ? BodyStart(text) : start;
    const char* base = text.data();
    const char* from = base + line.ContentStart;
    const std::size_t rest = text.size() - line.ContentStart;
    const char* lf = static_cast<const char*>(std::memchr(from, '\n', rest));
    const char* cr = static_cast<const char*>(std::memchr(from, '\r', lf ? static_cast<std::size_t>(lf - from) : rest));
    if (cr) {  // CR LF, or a lone CR
        line.ContentEnd = static_cast<std::size_t>(cr - base);
        line.End = line.ContentEnd + (cr + 1 == lf ? 2 : 1);
    } else if (lf) {
        line.ContentEnd = static_cast<std::size_t>(lf - base);
        line.End = line.ContentEnd + 1;
    } else {
        line.End = line.ContentEnd = text.size();
    }
    std::string_view content = text.substr(line.ContentStart, line.ContentEnd - line.ContentStart);
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
        line.ValueStart = line.ContentStart + eq + 1;
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
    const std::string_view eol = LineEndOf(text);

    bool inSection = false, found = false;
    IniLine anchor;  // the line a new key goes after
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
                EndWithLineBreak(out, eol);
                return out;
            }
            if (line.Kind == IniLineKind::Key || line.Kind == IniLineKind::Other) anchor = line;
        }
        pos = line.End;
    }

    std::string out;
    out.reserve(text.size() + section.size() + key.size() + value.size() + 16);
    if (found) {
        out.append(text.substr(0, anchor.End));
        if (anchor.ContentEnd == anchor.End) out.append(eol);  // the anchor was the unended last line
        out.append(key).append("=").append(value).append(eol);
        out.append(text.substr(anchor.End));
        EndWithLineBreak(out, eol);
        return out;
    }
    // A new section follows the last line directly.
    out.append(text);
    EndWithLineBreak(out, eol);
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
    if (out.size() != text.size()) EndWithLineBreak(out, LineEndOf(text));
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
        // Comments inside a deleted section stay: the platform drops only the header and entries.
        if (!dropping || line.Kind == IniLineKind::Comment)
            out.append(text.substr(line.Start, line.End - line.Start));
        else if (line.Start == 0)
            out.append(text.substr(0, line.ContentStart));  // the byte-order mark
        pos = line.End;
    }
    if (out.size() != text.size()) EndWithLineBreak(out, LineEndOf(text));
    return out;
}
