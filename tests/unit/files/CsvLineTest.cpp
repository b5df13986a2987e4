#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/CsvLine.h"

namespace {

CsvLine Parsed(const std::string& text)
{
    CsvLine line;
    const VbError e = ParseCsvLine(text, line);
    EXPECT_FALSE(e.Failed()) << text << ": " << e.Number;
    return line;
}

int Fault(const std::string& text)
{
    CsvLine line;
    line.Year = 99;
    const VbError e = ParseCsvLine(text, line);
    EXPECT_EQ(line.Year, 0) << "a failed line is left cleared: " << text;
    return e.Number;
}

TEST(CsvLineTest, FieldsAreReadAsLeadingNumbers)
{
    const CsvLine a = Parsed("2024,3,5,21,12,153.25");
    EXPECT_EQ(a.Year, 2024);
    EXPECT_EQ(a.Month, 3);
    EXPECT_EQ(a.Day, 5);
    EXPECT_EQ(a.Period, 21);
    EXPECT_EQ(a.Tag, 12);
    EXPECT_EQ(a.Value, 153.25F);

    // Halves go to the even neighbour; text without a number is 0; extra fields are ignored.
    const CsvLine b = Parsed("2024.5,2.5,3.5,-0.5,12abc,x,ignored,more");
    EXPECT_EQ(b.Year, 2024);
    EXPECT_EQ(b.Month, 2);
    EXPECT_EQ(b.Day, 4);
    EXPECT_EQ(b.Period, 0);
    EXPECT_EQ(b.Tag, 12);
    EXPECT_EQ(b.Value, 0.0F);

    const CsvLine c = Parsed(" 24, 2 ,29,1,1,-1.5E2");
    EXPECT_EQ(c.Year, 24);
    EXPECT_EQ(c.Value, -150.0F);
    EXPECT_EQ(Parsed("1,1,1,1,1,0.1").Value, 0.1F);  // rounded once, to the float nearest 0.1
}

TEST(CsvLineTest, FaultsOfShortLinesAndLargeNumbers)
{
    EXPECT_EQ(Fault("2024,3,5,21,12"), 9);
    EXPECT_EQ(Fault(""), 9);
    EXPECT_EQ(Fault("2024,3,5,21,32767.5,1"), 6);  // rounds to 32768
    EXPECT_EQ(Fault("2024,3,5,-32769,1,1"), 6);
    EXPECT_EQ(Fault("2024,3,5,21,12,1E39"), 6);
    EXPECT_EQ(Fault("2024,3,5,21,12,1E400"), 6);
    EXPECT_EQ(Parsed("2024,3,5,21,-32768,3.4E38").Tag, -32768);

    CsvLine line;
    EXPECT_EQ(ReadCsvLine("2024,3,5", false, line).Number, 62);
    EXPECT_EQ(ReadCsvLine("2024,3,5", true, line).Number, 9);
    EXPECT_EQ(ReadCsvLine("2024,3,5,1,1,1E39", false, line).Number, 6);
}

TEST(CsvLineTest, CalendarPeriodAndTagLimits)
{
    auto problem = [](int y, int m, int d, int p = 1, int t = 1) {
        CsvLine line{static_cast<int16_t>(y), static_cast<int16_t>(m), static_cast<int16_t>(d),
                     static_cast<int16_t>(p), static_cast<int16_t>(t), 1};
        return CsvLineProblem(line, 48, 178);
    };
    // Leap years by the century rule; the two-digit window; no day 0; years the date type cannot hold.
    EXPECT_NE(problem(1900, 2, 29), "");
    EXPECT_EQ(problem(0, 2, 29), "");   // 2000
    EXPECT_EQ(problem(28, 2, 29), "");  // 2028
    EXPECT_NE(problem(30, 2, 29), "");  // 1930
    EXPECT_NE(problem(2024, 1, 0), "");
    EXPECT_NE(problem(-1, 1, 1), "");
    EXPECT_NE(problem(10000, 1, 1), "");
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
    CsvLineReader reader("a\r\nb\nc\rd\r\n\r\ne");
    std::vector<std::pair<std::string, bool>> lines;
    std::string_view line;
    bool ended = false;
    while (reader.Next(line, ended))
        lines.emplace_back(std::string(line), ended);
    const std::vector<std::pair<std::string, bool>> expected{
        {"a", true}, {"b", true}, {"c", true}, {"d", true}, {"", true}, {"e", false}};
    EXPECT_EQ(lines, expected);

    CsvLineReader ends("x\r\n");
    ASSERT_TRUE(ends.Next(line, ended));
    EXPECT_FALSE(ends.Next(line, ended));
}

} // namespace
