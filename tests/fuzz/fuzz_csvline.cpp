// CSV import lines on arbitrary bytes: the splitter gives back every byte, a line either reads
// completely or is left cleared with one of its two faults, what reads writes back and reads the
// same, and the checks and the month's store path never fail on what the reader gives them.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "files/CsvLine.h"
#include "files/CsvStoreSession.h"
#include "platform/DateSerial.h"

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

bool Same(const CsvLine& a, const CsvLine& b)
{
    return a.Year == b.Year && a.Month == b.Month && a.Day == b.Day && a.Period == b.Period && a.Tag == b.Tag &&
           a.Value == b.Value;
}

void CheckLine(std::string_view text, bool ended)
{
    Check(text.find_first_of("\r\n") == std::string_view::npos);
    CsvLine line;
    const VbError e = ParseCsvLine(text, line);
    CsvLine read;
    const VbError r = ReadCsvLine(text, ended, read);
    if (e.Failed()) {
        Check(e.Number == ErrSubscript || e.Number == ErrOverflow);
        Check(Same(line, CsvLine{}));
        Check(r.Number == (e.Number == ErrSubscript && !ended ? ErrInputPastEnd : e.Number));
        return;
    }
    Check(!r.Failed() && Same(line, read));
    Check(std::string_view(text).find(',') != std::string_view::npos);

    char again[160];
    std::snprintf(again, sizeof again, "%d,%d,%d,%d,%d,%.9g", line.Year, line.Month, line.Day, line.Period,
                  line.Tag, static_cast<double>(line.Value));
    CsvLine back;
    Check(!ParseCsvLine(again, back).Failed() && Same(line, back));

    const std::string problem = CsvLineProblem(line, 48, 178);
    if (problem.empty()) {
        Check(IsCalendarDate(line.Year, line.Month, line.Day));
        Check(line.Period >= 1 && line.Period <= 48 && line.Tag >= 1 && line.Tag <= 178);
        Check(!CheckCsvMonth(line).Failed());
    }
    if (!CheckCsvMonth(line).Failed()) {
        const std::string path = CsvTargetStorePath("C:\\Data\\Voltaris\\Vtrs2403.lum", CsvFullYear(line.Year),
                                                    line.Month);
        Check(path.size() == std::string("c:\\data\\voltaris\\vtrs0000.lum").size());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    CsvLineReader reader(text);
    std::string_view line;
    bool ended = false;
    std::size_t covered = 0;
    bool last = false;
    while (reader.Next(line, ended)) {
        Check(!last);  // only the last line can lack its line break
        Check(line.data() == text.data() + covered);
        covered += line.size();
        if (ended) {
            const char first = text[covered];
            covered += first == '\r' && covered + 1 < text.size() && text[covered + 1] == '\n' ? 2 : 1;
        } else {
            last = true;
        }
        CheckLine(line, ended);
    }
    Check(covered == text.size());

    // The store path of any month, from any store file path text.
    if (size >= 2) {
        const std::string path = CsvTargetStorePath(std::string(text.substr(2)), data[0] * 40, data[1] % 13);
        Check(path.size() >= 8 && path.compare(path.size() - 4, 4, ".lum") == 0);
    }
    return 0;
}
