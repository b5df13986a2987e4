#include "files/CsvLine.h"

#include <array>

#include "platform/DateSerial.h"
#include "support/VbConvert.h"

namespace {

constexpr std::size_t FieldCount = 6;

VbError ToInt16(std::string_view field, int16_t& out)
{
    const VbResult<double> number = ValChecked(field);
    if (!number.Ok())
        return number.Error;
    const VbResult<int16_t> whole = CInt(number.Value);
    if (!whole.Ok())
        return whole.Error;
    out = whole.Value;
    return {};
}

} // namespace

VbError ParseCsvLine(std::string_view text, CsvLine& line)
{
    line = CsvLine{};
    std::array<std::string_view, FieldCount> fields;
    std::size_t found = 0;
    std::size_t start = 0;
    while (found < FieldCount) {
        const std::size_t comma = text.find(',', start);
        fields[found++] = text.substr(start, comma == std::string_view::npos ? std::string_view::npos : comma - start);
        if (comma == std::string_view::npos)
            break;
        start = comma + 1;
    }
    // An empty line has no fields at all, as a split of nothing gives none.
    if (found < FieldCount || text.empty())
        return VbError(ErrSubscript);

    CsvLine read;
    int16_t* const targets[] = {&read.Year, &read.Month, &read.Day, &read.Period, &read.Tag};
    for (std::size_t i = 0; i < 5; ++i)
        if (VbError e = ToInt16(fields[i], *targets[i]))
            return e;
    const VbResult<double> value = ValChecked(fields[5]);
    if (!value.Ok())
        return value.Error;
    const VbResult<float> single = CSng(value.Value);
    if (!single.Ok())
        return single.Error;
    read.Value = single.Value;
    line = read;
    return {};
}

VbError ReadCsvLine(std::string_view text, bool ended, CsvLine& line)
{
    VbError e = ParseCsvLine(text, line);
    if (e.Number == ErrSubscript && !ended)
        e = VbError(ErrInputPastEnd);
    return e;
}

int CsvFullYear(int year)
{
    if (year >= 0 && year <= 29)
        return year + 2000;
    if (year >= 30 && year <= 99)
        return year + 1900;
    return year;
}

VbError CheckCsvMonth(const CsvLine& line)
{
    return line.Month >= 1 && line.Month <= 12 ? VbError() : VbError(ErrSubscript);
}

std::string CsvLineProblem(const CsvLine& line, int periodsPerDay, int tagCount)
{
    if (!IsCalendarDate(line.Year, line.Month, line.Day))
        return "no such date: year " + std::to_string(line.Year) + ", month " + std::to_string(line.Month) +
               ", day " + std::to_string(line.Day);
    if (line.Period < 1 || line.Period > periodsPerDay)
        return "period " + std::to_string(line.Period) + " is not 1 to " + std::to_string(periodsPerDay);
    if (line.Tag < 1 || line.Tag > tagCount)
        return "tag " + std::to_string(line.Tag) + " is not 1 to " + std::to_string(tagCount);
    return "";
}

bool CsvLineReader::Next(std::string_view& line, bool& ended)
{
    if (pos_ >= text_.size())
        return false;
    std::size_t end = pos_;
    while (end < text_.size() && text_[end] != '\r' && text_[end] != '\n')
        ++end;
    line = text_.substr(pos_, end - pos_);
    ended = end < text_.size();
    if (end < text_.size()) {
        if (text_[end] == '\r' && end + 1 < text_.size() && text_[end + 1] == '\n')
            ++end;
        ++end;
    }
    pos_ = end;
    return true;
}
