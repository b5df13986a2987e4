#pragma once
// One line of a CSV import file: "year,month,day,period,tag,value", extra fields ignored.
// The first five fields are read as numbers (their leading number, none gives 0) and rounded to
// 16-bit integers with halves to even; the value is read the same way into a 32-bit float.
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/VbError.h"

struct CsvLine {
    int16_t Year = 0;
    int16_t Month = 0;
    int16_t Day = 0;
    int16_t Period = 0;
    int16_t Tag = 0;
    float Value = 0;
};

// Splits and converts one line (without its line break). Faults: fewer than six fields gives
// error 9, a number too large for its type error 6; the line is then left cleared.
VbError ParseCsvLine(std::string_view text, CsvLine& line);

// Why a parsed line cannot be stored, or "" when it can: the date must be a real calendar date
// (two-digit years 0-29 are 2000-2029, 30-99 are 1930-1999), the period 1 to periodsPerDay and
// the tag 1 to tagCount. A month outside 1 to 12 is not a reason but a fault (error 9), as it
// always stopped the import.
VbError CheckCsvMonth(const CsvLine& line);
std::string CsvLineProblem(const CsvLine& line, int periodsPerDay, int tagCount);

// The line as the import reads it: a last line that the file cuts short (no line break after it)
// before its sixth field runs past the end of the file, error 62, instead of error 9.
VbError ReadCsvLine(std::string_view text, bool ended, CsvLine& line);

// The calendar year of a line's year field (two-digit years widened).
int CsvFullYear(int year);

// Splits a block of text into lines ending in CR LF, LF or CR. A final line without a line break
// is still a line; nothing after the last line break is no line.
class CsvLineReader {
public:
    explicit CsvLineReader(std::string_view text) : text_(text) {}
    // The next line without its line break; false at the end. ended tells whether the line had a
    // line break after it (false only for a last line the file cuts short).
    bool Next(std::string_view& line, bool& ended);

private:
    std::string_view text_;
    std::size_t pos_ = 0;
};
