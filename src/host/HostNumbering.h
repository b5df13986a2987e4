#pragma once
// Host point numbering: recorder lines split into recorder, page and line on page, the IO
// reference texts ("[T17]", "[R2P3L4]", "[P13L4]") and their parsing.
#include <climits>
#include <cstdint>
#include <string>
#include <string_view>

struct LineSplit {
    int32_t Recorder = 0;
    int32_t Page = 0;
    int32_t LineOnPage = 0;
};

// V4: 5 recorders of 10 pages of 10 lines. V5: 100 pages of 10 lines on recorder 1.
// Inline: the scan splits a line at every reading.
inline LineSplit SplitLineV4(int32_t line) {
    if (line <= 0) return {};
    const int32_t n = line - 1;
    return {n / 100 + 1, (n / 10) % 10 + 1, n % 10 + 1};
}
inline LineSplit SplitLineV5(int32_t line) {
    if (line <= 0) return {};
    const int32_t n = line - 1;
    return {1, n / 10 + 1, n % 10 + 1};
}

std::string TagReference(int32_t tag);        // "[T17]"
std::string LineReferenceV4(int32_t line);    // "[R2P3L4]" for line 124
std::string LineReferenceV5(int32_t line);    // "[P13L4]" for line 124

// What a reference text selects: a tag number (0 = nothing) or a line number (0 = nothing).
struct IOReferenceTarget {
    bool IsLine = false;
    int32_t Number = 0;
};
// The generation is not consulted: an "R" reference always uses the V4 formula.
IOReferenceTarget ParseIOReference(std::string_view text);
// The line an "R" reference names, from its three numbers: what ParseIOReference gives for
// "R" + recorder + "P" + page + "L" + line, without building and reading the text.
IOReferenceTarget RecorderLineTarget(double recorder, double page, double line);
// The same line number from whole numbers, without the rounding a parsed reference needs; a number
// beyond a Long is no line.
inline int32_t RecorderLineNumber(int32_t recorder, int32_t page, int32_t line) {
    if (recorder <= 0 || page <= 0 || line <= 0) return 0;
    const int64_t number = (int64_t{recorder} - 1) * 100 + (int64_t{page} - 1) * 10 + line;
    return number > INT32_MAX ? 0 : static_cast<int32_t>(number);
}

// Numeric value of a text as a whole number for a selection; a value that does not fit a 32-bit
// number gives 0, so a malformed selection selects nothing.
int32_t SelectionNumber(double value);
