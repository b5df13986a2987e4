#pragma once
// The text of an INI file read and edited in memory with private-profile rules; Profile.cpp
// adds the file around it. Every function works on whole lines: bytes of lines that an edit
// does not touch come out exactly as they went in.
//
// Line rules:
//  - Lines end in LF, CR LF or a lone CR; blanks are space, tab, vertical tab and CR. A UTF-8
//    byte-order mark at the start of the text belongs to no line.
//  - A line whose first non-blank is "[" opens a section; its name runs to the first "]" or,
//    without one, to the end of the line, trimmed of blanks.
//  - A line whose first non-blank is ";" is a comment.
//  - Inside a section, a line with "=" is a key: name before the first "=", value after it, both
//    trimmed. A line without "=" is no key: it never matches a lookup.
//  - Lines before the first section are ignored.
//  - Names match without regard to case (ASCII and the Windows-1252 letters).
//  - Where a section occurs more than once, only its first occurrence is read and edited;
//    within it the first of duplicate keys is the one read and replaced.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

enum class IniLineKind { Blank, Comment, Section, Key, Other };

struct IniLine {
    std::size_t Start = 0;       // first byte of the line
    std::size_t ContentStart = 0;  // Start, or the first byte after a leading byte-order mark
    std::size_t ContentEnd = 0;  // first byte of its line end, or the end of text
    std::size_t End = 0;         // first byte of the next line
    IniLineKind Kind = IniLineKind::Blank;
    std::string_view Name;       // section or key name, trimmed
    std::string_view Value;      // key value, trimmed, quotes kept
    std::size_t ValueStart = 0;  // first byte after the key's "="
};

// The line that starts at start (start < text.size()); its End is always beyond start.
IniLine IniLineAt(std::string_view text, std::size_t start);

bool IniNamesMatch(std::string_view a, std::string_view b);
// Blanks (space, tab, vertical tab, CR) removed at both ends.
std::string_view IniTrim(std::string_view text);
// A value enclosed in a pair of the same quote (double or single) without them.
std::string_view IniUnquote(std::string_view value);

// The value of key in section, trimmed and unquoted; nothing when the section or key is missing.
std::optional<std::string_view> IniFindValue(std::string_view text, std::string_view section,
                                             std::string_view key);

// Sets key in section to value. An existing key keeps its line, its spelling and the blanks
// after its "="; only the value changes. A new key goes after the section's last line that is
// neither blank nor a comment; a new section goes at the end of the text, right after its last
// line. New lines take the text's line end (CR LF when it has none). value is written verbatim,
// line breaks included; names are written trimmed.
// Every edit that changes the text leaves its last line ended.
std::string IniSetValue(std::string_view text, std::string_view section, std::string_view key,
                        std::string_view value);
// Removes every line of key in section (the text unchanged when there is none).
std::string IniDeleteKey(std::string_view text, std::string_view section, std::string_view key);
// Removes every occurrence of section: its header and all lines up to the next section except
// comments, which stay where they were.
std::string IniDeleteSection(std::string_view text, std::string_view section);
