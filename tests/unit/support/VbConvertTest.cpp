#include "support/VbConvert.h"

#include <gtest/gtest.h>

#include <charconv>
#include <clocale>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <utility>

namespace {

struct ValCase {
    const char* text;
    double expected;
};

}  // namespace

TEST(Val, ReadsTheLeadingNumberAndIgnoresBlanksTabsAndLineFeeds) {
    const ValCase cases[] = {
        {"123", 123},         {"1 2 3", 123},     {" \t\n-1 2.5", -12.5}, {"+7", 7},
        {"12abc", 12},        {"abc", 0},         {"", 0},                {"-", 0},
        {"1.2.3", 1.2},       {".5", 0.5},        {"5.", 5},              {".", 0},
        {"1e", 1},            {"1e+", 1},         {"1E-2", 0.01},         {"1D2", 100},
        {"2d-1", 0.2},        {"1 e 3", 1000},    {"--1", 0},             {"1,000", 1},
        {"1\r2", 1},          {"0.000", 0},       {"e5", 0},              {"-0.25e1", -2.5},
        {"153.25", 153.25},   {"00012", 12},      {"1e+-2", 1},           {"12 34abc", 1234},
    };
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(Val(c.text), c.expected) << '"' << c.text << '"';
}

TEST(Val, HexAndOctalAreSixteenThenThirtyTwoBitSigned) {
    const ValCase cases[] = {
        {"&HFF", 255},       {"&hff", 255},            {"&H", 0},          {"&HFFFF", -1},
        {"&H8000", -32768},  {"&H7FFF", 32767},        {"&H10000", 65536}, {"&HFFFFFFFF", -1},
        {"&H80000000", -2147483648.0},                 {"&O17", 15},       {"&o177777", -1},
        {"&O8", 0},          {"& H 1 0", 16},          {"&HFFG", 255},     {"&X12", 0},
        {"-&H10", 0},        {"&H100000000", 0},       {"&", 0},
    };
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(Val(c.text), c.expected) << '"' << c.text << '"';
}

TEST(Val, ExtremesNeverGiveInfinityAndOverflowIsReported) {
    for (const char* text : {"1e999", "-1e400", "1e-999", "1e99999999999999999999"}) EXPECT_EQ(Val(text), 0.0) << text;
    for (std::string text : {std::string("1e999"), std::string("&H123456789"), "1" + std::string(400, '0')})
        EXPECT_EQ(ValChecked(text).Error.Number, ErrOverflow) << text;
    EXPECT_TRUE(ValChecked("1e-999").Ok());
    ASSERT_TRUE(ValChecked("12").Ok());
    EXPECT_EQ(ValChecked("12").Value, 12.0);
    EXPECT_EQ(Val("1.7976931348623157e308"), std::numeric_limits<double>::max());
    EXPECT_EQ(Val("4.9406564584124654e-324"), std::numeric_limits<double>::denorm_min());
    // A long run of digits keeps its magnitude and rounds correctly.
    EXPECT_DOUBLE_EQ(Val("0." + std::string(1000, '3')), 1.0 / 3.0);
    EXPECT_NEAR(Val(std::string(900, '1') + "e-890"), 1.1111111111e9, 1.0);
    // Just above a halfway point between two doubles: only the far digit decides.
    EXPECT_EQ(Val("9007199254740993." + std::string(800, '0') + "1"), 9007199254740994.0);
}

TEST(Val, RoundTripsTheShortestTextOfRandomDoubles) {
    std::mt19937_64 rng(12345);
    std::uniform_real_distribution<double> mant(-10.0, 10.0);
    std::uniform_int_distribution<int> ex(-300, 300);
    for (int k = 0; k < 2000; ++k) {
        const double x = mant(rng) * std::pow(10.0, ex(rng));
        char buf[64];
        const auto res = std::to_chars(buf, buf + sizeof buf, x);
        EXPECT_EQ(Val(std::string_view(buf, static_cast<std::size_t>(res.ptr - buf))), x);
    }
}

TEST(Val, DoesNotDependOnTheProcessLocale) {
    const char* previous = std::setlocale(LC_ALL, nullptr);
    const std::string saved = previous ? previous : "C";
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) std::setlocale(LC_ALL, "C.UTF-8");
    EXPECT_DOUBLE_EQ(Val("1.5"), 1.5);
    EXPECT_EQ(FormatFixed(1.5, 2), "1.50");
    EXPECT_EQ(FormatGeneral(0.25), "0.25");
    std::setlocale(LC_ALL, saved.c_str());
}

TEST(CIntCLng, RoundHalvesToEvenAndCheckTheRange) {
    for (auto [value, expected] : {std::pair{2.5, 2}, {3.5, 4}, {-2.5, -2}, {2.4999999, 2}, {32767.4, 32767}, {-32768.5, -32768}}) {
        ASSERT_TRUE(CInt(value).Ok()) << value;
        EXPECT_EQ(CInt(value).Value, expected) << value;
    }
    for (double value : {32767.5, -32768.6, std::nan(""), double(INFINITY)}) EXPECT_EQ(CInt(value).Error.Number, ErrOverflow) << value;
    EXPECT_EQ(CInt(32767.5).Error.Description, "Overflow");
    EXPECT_EQ(CLng(2147483647.4).Value, 2147483647);
    EXPECT_EQ(CLng(-2147483648.5).Value, INT32_MIN);
    for (double value : {2147483647.5, -2147483648.6, std::nan(""), 1e300}) EXPECT_EQ(CLng(value).Error.Number, ErrOverflow) << value;
    // Halves of every integer in a range, checked against the parity rule directly.
    for (int k = -1000; k <= 1000; ++k) EXPECT_EQ(CLng(k + 0.5).Value, (k % 2 == 0) ? k : k + 1) << k + 0.5;
}

TEST(CSng, OverflowsOnlyBeyondTheFloatRange) {
    EXPECT_FLOAT_EQ(CSng(1.5).Value, 1.5f);
    EXPECT_EQ(CSng(std::numeric_limits<float>::max() + 5e30).Value, std::numeric_limits<float>::max());
    EXPECT_EQ(CSng(3.5e38).Error.Number, ErrOverflow);
    EXPECT_TRUE(CSng(3.4028235e38).Ok());
    EXPECT_EQ(CSng(3.41e38).Error.Number, ErrOverflow);
    EXPECT_EQ(CSng(-1e39).Error.Number, ErrOverflow);
    EXPECT_EQ(CSng(1e-50).Value, 0.0f);
    EXPECT_TRUE(std::isinf(CSng(INFINITY).Value));
}

TEST(FormatFixed, FifteenDigitsThenHalvesAwayFromZero) {
    const std::pair<std::pair<double, int>, const char*> cases[] = {
        {{0.125, 2}, "0.13"}, {{-0.125, 2}, "-0.13"}, {{2.675, 2}, "2.68"}, {{1.005, 2}, "1.01"}, {{0.005, 2}, "0.01"},
        {{0.0049999, 2}, "0.00"}, {{9.995, 2}, "10.00"}, {{999.995, 2}, "1000.00"}, {{0.5, 0}, "1"}, {{2.5, 0}, "3"},
        {{-2.5, 0}, "-3"}, {{0, 2}, "0.00"}, {{-0.0, 2}, "0.00"}, {{-0.001, 2}, "-0.00"}, {{1043.2, 2}, "1043.20"},
        {{0.1 + 0.2, 2}, "0.30"}, {{1e20, 2}, "100000000000000000000.00"}, {{123456789.123456789, 6}, "123456789.123457"},
        {{0.0000005, 6}, "0.000001"}, {{0.00000049, 6}, "0.000000"}, {{1e-300, 2}, "0.00"},
        {{std::numeric_limits<double>::denorm_min(), 6}, "0.000000"}};
    for (const auto& [in, expected] : cases) EXPECT_EQ(FormatFixed(in.first, in.second), expected) << in.first;
    const std::string big = FormatFixed(std::numeric_limits<double>::max(), 2);
    EXPECT_EQ(big, "179769313486232" + std::string(294, '0') + ".00");
}

TEST(FormatNumber, MonitorPatternsAndPlaceholders) {
    const std::pair<std::pair<double, const char*>, const char*> cases[] = {
        {{12.345, "0.00"}, "12.35"}, {{12.5, "0"}, "13"}, {{0.1, "0.000000"}, "0.100000"}, {{5, "00"}, "05"},
        {{123, "00"}, "123"}, {{-5, "00"}, "-05"}, {{-0.001, "0.00"}, "-0.00"}, {{0.5, "#.00"}, ".50"},
        {{5, "0.#"}, "5."}, {{5.25, "0.##"}, "5.25"}, {{1234567.891, "#,##0.00"}, "1,234,567.89"},
        {{0.256, "0.0%"}, "25.6%"}, {{3.14159, "Fixed"}, "3.14"}, {{3.5, ""}, "3.5"}, {{7, "(0)"}, "(7)"}};
    for (const auto& [in, expected] : cases) EXPECT_EQ(FormatNumber(in.first, in.second), expected) << in.second;
}

TEST(FormatGeneral, FifteenSignificantDigitsAndExponentForm) {
    const std::pair<double, const char*> cases[] = {
        {0, "0"}, {1, "1"}, {-1.5, "-1.5"}, {0.1, "0.1"}, {0.1 + 0.2, "0.3"}, {123456.789, "123456.789"},
        {1.0 / 3.0, "0.333333333333333"}, {2.0 / 3.0, "0.666666666666667"}, {123456789012345.0, "123456789012345"},
        {999999999999999.4, "999999999999999"}, {999999999999999.9, "1E+15"}, {1e15, "1E+15"}, {1e16, "1E+16"},
        {-1.5e16, "-1.5E+16"}, {0.0001, "0.0001"}, {0.00012345, "0.00012345"}, {1e-5, "1E-05"},
        {-1.25e-7, "-1.25E-07"}, {1e-300, "1E-300"}, {-0.0, "0"}};
    for (const auto& [value, expected] : cases) EXPECT_EQ(FormatGeneral(value), expected);
    EXPECT_EQ(Str(5), " 5");
    EXPECT_EQ(Str(-5.5), "-5.5");
}

TEST(FormatSingle, SevenSignificantDigits) {
    const std::pair<float, const char*> cases[] = {
        {153.25f, "153.25"}, {0.1f, "0.1"}, {1.0f / 3.0f, "0.3333333"}, {1234567.0f, "1234567"},
        {12345678.0f, "1.234568E+07"}, {-2.5e-6f, "-2.5E-06"}, {0.0f, "0"}, {16777217.0f, "1.677722E+07"}};
    for (const auto& [value, expected] : cases) EXPECT_EQ(FormatSingle(value), expected);
    // The text reads back to within half a unit of the seventh digit.
    for (float f : {153.25f, 0.1f, 1.0f / 3.0f, 98765.43f, 3.4028235e38f, 1.17549435e-38f, -7.654321e-20f})
        EXPECT_LE(std::fabs(Val(FormatSingle(f)) - f), std::fabs(f) * 5e-7) << FormatSingle(f);
}
