#pragma once
// Host point numbering: recorder lines split into recorder, page and line on page, the IO
// reference texts ("[T17]", "[R2P3L4]", "[P13L4]") and their parsing.
#include <cstdint>
#include <string>
#include <string_view>

struct LineSplit {
    int32_t Recorder = 0;
    int32_t Page = 0;
    int32_t LineOnPage = 0;
};

// V4: 5 recorders of 10 pages of 10 lines. V5: 100 pages of 10 lines on recorder 1.
LineSplit SplitLineV4(int32_t line);
LineSplit SplitLineV5(int32_t line);

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
// The same line number from whole numbers, without the rounding a parsed reference needs.
int32_t RecorderLineNumber(int32_t recorder, int32_t page, int32_t line);

// Numeric value of a text as a whole number for a selection; a value that does not fit a 32-bit
// number gives 0, so a malformed selection selects nothing.
int32_t SelectionNumber(double value);
