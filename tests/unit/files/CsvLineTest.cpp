#include <gtest/gtest.h>

#include <array>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "files/CsvLine.h"

namespace {

// "error:year,month,day,period,tag,value" of a line as the import reads it.
std::string Read(const std::string& text, bool ended = true)
{
    CsvLine l;
    l.Year = 99;  // a failed line must be left cleared
    const VbError e = ReadCsvLine(text, ended, l);
    std::ostringstream s;
    s << std::setprecision(9) << e.Number << ":" << l.Year << "," << l.Month << "," << l.Day << "," << l.Period << ","
      << l.Tag << "," << l.Value;
    return s.str();
}

TEST(CsvLineTest, FieldsFaultsAndConversions)
{
    const std::pair<const char*, const char*> cases[] = {
        {"2024,3,5,21,12,153.25", "0:2024,3,5,21,12,153.25"},
        // Halves go to the even neighbour; text without a number is 0; extra fields are ignored.
        {"2024.5,2.5,3.5,-0.5,12abc,x,ignored,more", "0:2024,2,4,0,12,0"},
        {" 24, 2 ,29,1,1,-1.5E2", "0:24,2,29,1,1,-150"},
        {"1,1,1,1,1,0.1", "0:1,1,1,1,1,0.100000001"},  // rounded once, to the float nearest 0.1
        {"2024,3,5,21,-32768,3.4E38", "0:2024,3,5,21,-32768,3.39999995e+38"},
        {"2024,3,5,21,12", "9:0,0,0,0,0,0"},
        {"", "9:0,0,0,0,0,0"},
        {"2024,3,5,21,32767.5,1", "6:0,0,0,0,0,0"},  // rounds to 32768
        {"2024,3,5,-32769,1,1", "6:0,0,0,0,0,0"},
        {"2024,3,5,21,12,1E39", "6:0,0,0,0,0,0"},
        {"2024,3,5,21,12,1E400", "6:0,0,0,0,0,0"},
    };
    for (const auto& [text, want] : cases)
        EXPECT_EQ(Read(text), want) << text;
    // Only a last line cut short (no line break after it) runs past the end of the file.
    EXPECT_EQ(Read("2024,3,5", false), "62:0,0,0,0,0,0");
    EXPECT_EQ(Read("2024,3,5,1,1,1E39", false), "6:0,0,0,0,0,0");
}

TEST(CsvLineTest, CalendarPeriodAndTagLimits)
{
    auto problem = [](int y, int m, int d, int p = 1, int t = 1) {
        const CsvLine line{static_cast<int16_t>(y), static_cast<int16_t>(m), static_cast<int16_t>(d),
                           static_cast<int16_t>(p), static_cast<int16_t>(t), 1};
        return CsvLineProblem(line, 48, 178);
    };
    // Leap years by the century rule; the two-digit window; no day 0; years the date type cannot hold.
    for (auto [y, m, d] : {std::array{1900, 2, 29}, {30, 2, 29}, {2024, 1, 0}, {-1, 1, 1}, {10000, 1, 1}})
        EXPECT_NE(problem(y, m, d), "") << y << "-" << m << "-" << d;
    EXPECT_EQ(problem(0, 2, 29), "");   // 2000
    EXPECT_EQ(problem(28, 2, 29), "");  // 2028
    EXPECT_EQ(problem(2024, 1, 1, 48, 178), "");
    EXPECT_EQ(problem(2024, 1, 1, 0), "period 0 is not 1 to 48");
    EXPECT_NE(problem(2024, 1, 1, 49), "");
    EXPECT_EQ(problem(2024, 1, 1, 1, 179), "tag 179 is not 1 to 178");
    EXPECT_NE(problem(2024, 1, 1, 1, 0), "");
    EXPECT_EQ(CheckCsvMonth(CsvLine{2024, 0, 1, 1, 1, 0}).Number, 9);
    EXPECT_FALSE(CheckCsvMonth(CsvLine{2024, 12, 1, 1, 1, 0}).Failed());
}

TEST(CsvLineTest, LineBreaksOfEveryKind)
{
    auto lines = [](std::string_view text) {
        CsvLineReader reader(text);
        std::vector<std::pair<std::string, bool>> all;
        std::string_view line;
        bool ended = false;
        while (reader.Next(line, ended))
            all.emplace_back(std::string(line), ended);
        return all;
    };
    EXPECT_EQ(lines("a\r\nb\nc\rd\r\n\r\ne"),
              (std::vector<std::pair<std::string, bool>>{
                  {"a", true}, {"b", true}, {"c", true}, {"d", true}, {"", true}, {"e", false}}));
    EXPECT_EQ(lines("x\r\n"), (std::vector<std::pair<std::string, bool>>{{"x", true}}));
}

} // namespace
