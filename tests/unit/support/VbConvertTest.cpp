#include "support/VbConvert.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <iomanip>

#include <cstring>

#include <cstdio>

#include <charconv>
#include <clocale>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace {

struct ValCase {
    const char* text;
    double expected;
};

// Integer text of k / 10^decimals built with integer arithmetic only.
std::string ScaledIntegerText(long long k, int decimals) {
    const bool negative = k < 0;
    std::string digits = std::to_string(negative ? -k : k);
    if (static_cast<int>(digits.size()) <= decimals) digits.insert(0, decimals + 1 - digits.size(), '0');
    std::string out = negative ? "-" : "";
    out += digits.substr(0, digits.size() - decimals);
    if (decimals > 0) out += "." + digits.substr(digits.size() - decimals);
    return out;
}

} // namespace

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
    EXPECT_EQ(Val("1e999"), 0.0);
    EXPECT_EQ(Val("-1e400"), 0.0);
    EXPECT_EQ(Val("1e-999"), 0.0);
    EXPECT_EQ(Val("1e99999999999999999999"), 0.0);
    EXPECT_EQ(ValChecked("1e999").Error.Number, ErrOverflow);
    EXPECT_EQ(ValChecked("&H123456789").Error.Number, ErrOverflow);
    EXPECT_TRUE(ValChecked("1e-999").Ok());
    EXPECT_TRUE(ValChecked("12").Ok());
    EXPECT_EQ(ValChecked("12").Value, 12.0);
    EXPECT_EQ(Val("1.7976931348623157e308"), std::numeric_limits<double>::max());
    EXPECT_EQ(Val("4.9406564584124654e-324"), std::numeric_limits<double>::denorm_min());

    // A long run of digits keeps its magnitude and rounds correctly.
    std::string longNumber = "1" + std::string(400, '0');
    EXPECT_EQ(ValChecked(longNumber).Error.Number, ErrOverflow);
    std::string manyDigits = "0." + std::string(1000, '3');
    EXPECT_DOUBLE_EQ(Val(manyDigits), 1.0 / 3.0);
    std::string wide = std::string(900, '1') + "e-890";
    EXPECT_NEAR(Val(wide), 1.1111111111e9, 1.0);
    // Just above a halfway point between two doubles: only the far digit decides.
    std::string halfway = "9007199254740993." + std::string(800, '0') + "1";
    EXPECT_EQ(Val(halfway), 9007199254740994.0);
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
    EXPECT_EQ(CInt(2.5).Value, 2);
    EXPECT_EQ(CInt(3.5).Value, 4);
    EXPECT_EQ(CInt(-2.5).Value, -2);
    EXPECT_EQ(CInt(2.4999999).Value, 2);
    EXPECT_EQ(CInt(32767.4).Value, 32767);
    EXPECT_EQ(CInt(32767.5).Error.Number, ErrOverflow);
    EXPECT_EQ(CInt(-32768.5).Value, -32768);
    EXPECT_TRUE(CInt(-32768.5).Ok());
    EXPECT_EQ(CInt(-32768.6).Error.Number, ErrOverflow);
    EXPECT_EQ(CInt(std::nan("")).Error.Number, ErrOverflow);
    EXPECT_EQ(CInt(INFINITY).Error.Number, ErrOverflow);
    EXPECT_EQ(CInt(32767.5).Error.Description, "Overflow");

    EXPECT_EQ(CLng(2147483647.4).Value, 2147483647);
    EXPECT_EQ(CLng(2147483647.5).Error.Number, ErrOverflow);
    EXPECT_EQ(CLng(-2147483648.5).Value, INT32_MIN);
    EXPECT_EQ(CLng(-2147483648.6).Error.Number, ErrOverflow);
    EXPECT_EQ(CLng(std::nan("")).Error.Number, ErrOverflow);
    EXPECT_EQ(CLng(1e300).Error.Number, ErrOverflow);

    // Halves of every integer in a range, checked against the parity rule directly.
    for (int k = -1000; k <= 1000; ++k) {
        const double half = k + 0.5;
        const int expected = (k % 2 == 0) ? k : k + 1;
        EXPECT_EQ(CLng(half).Value, expected) << half;
    }
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

// An independent reference: the value's 15 significant digits as printf gives them, rounded
// half away from zero at the wanted decimal on the digit string itself.
std::string ReferenceFixed(double value, int decimals) {
    char sci[64];
    std::snprintf(sci, sizeof sci, "%.14e", std::fabs(value));
    std::string digits;
    for (const char* p = sci; *p != 'e'; ++p)
        if (*p != '.') digits += *p;
    const int exponent = std::atoi(std::strchr(sci, 'e') + 1);
    // digits d0 d1 ... d14 stand for d0.d1... x 10^exponent; keep those down to 10^-decimals.
    const int keep = exponent + 1 + decimals;
    std::string kept;
    bool roundUp = false;
    if (keep < 0) {
        kept = "0";
    } else {
        kept = keep <= 15 ? digits.substr(0, keep) : digits + std::string(keep - 15, '0');
        roundUp = keep < 15 && digits[keep] >= '5';
        if (kept.empty()) kept = "0";
    }
    if (roundUp) {
        int i = static_cast<int>(kept.size()) - 1;
        while (i >= 0 && kept[i] == '9') kept[i--] = '0';
        if (i < 0) kept.insert(kept.begin(), '1');
        else ++kept[i];
    }
    while (static_cast<int>(kept.size()) <= decimals) kept.insert(kept.begin(), '0');
    std::string text = kept.substr(0, kept.size() - decimals);
    if (decimals > 0) text += "." + kept.substr(kept.size() - decimals);
    if (value < 0) text.insert(text.begin(), '-');
    return text;
}

TEST(FormatFixed, AgreesWithTheDigitStringReferenceAcrossMagnitudes) {
    std::mt19937_64 random(20261123);
    std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
    std::uniform_int_distribution<int> power(-8, 16);
    std::uniform_int_distribution<int> places(0, 6);
    for (int i = 0; i < 200000; ++i) {
        const int decimals = places(random);
        double value = mantissa(random) * std::pow(10.0, power(random));
        // Every few values sit on or next to a tie at the wanted decimal.
        if (i % 4 == 0) value = (std::floor(value * std::pow(10.0, decimals)) + 0.5) / std::pow(10.0, decimals);
        if (i % 8 == 1) value = std::nextafter(value, 0.0);
        ASSERT_EQ(FormatFixed(value, decimals), ReferenceFixed(value, decimals)) << std::setprecision(17) << value << " " << decimals;
    }
}

TEST(FormatFixed, FifteenDigitsThenHalvesAwayFromZero) {
    EXPECT_EQ(FormatFixed(0.125, 2), "0.13");
    EXPECT_EQ(FormatFixed(-0.125, 2), "-0.13");
    EXPECT_EQ(FormatFixed(2.675, 2), "2.68");
    EXPECT_EQ(FormatFixed(1.005, 2), "1.01");
    EXPECT_EQ(FormatFixed(0.005, 2), "0.01");
    EXPECT_EQ(FormatFixed(0.0049999, 2), "0.00");
    EXPECT_EQ(FormatFixed(9.995, 2), "10.00");
    EXPECT_EQ(FormatFixed(999.995, 2), "1000.00");
    EXPECT_EQ(FormatFixed(0.5, 0), "1");
    EXPECT_EQ(FormatFixed(2.5, 0), "3");
    EXPECT_EQ(FormatFixed(-2.5, 0), "-3");
    EXPECT_EQ(FormatFixed(0, 2), "0.00");
    EXPECT_EQ(FormatFixed(-0.0, 2), "0.00");
    EXPECT_EQ(FormatFixed(-0.001, 2), "-0.00");
    EXPECT_EQ(FormatFixed(1043.2, 2), "1043.20");
    EXPECT_EQ(FormatFixed(0.1 + 0.2, 2), "0.30");
    EXPECT_EQ(FormatFixed(1e20, 2), "100000000000000000000.00");
    EXPECT_EQ(FormatFixed(123456789.123456789, 6), "123456789.123457");
    EXPECT_EQ(FormatFixed(0.0000005, 6), "0.000001");
    EXPECT_EQ(FormatFixed(0.00000049, 6), "0.000000");
    EXPECT_EQ(FormatFixed(1e-300, 2), "0.00");
    EXPECT_EQ(FormatFixed(std::numeric_limits<double>::denorm_min(), 6), "0.000000");
    const std::string big = FormatFixed(std::numeric_limits<double>::max(), 2);
    EXPECT_EQ(big.size(), 309u + 3u);
    EXPECT_EQ(big.substr(0, 15), "179769313486232");
    EXPECT_EQ(big.substr(15), std::string(294, '0') + ".00");
}

TEST(FormatFixed, HalfwayValuesRoundAwayFromZero) {
    // (2k + 1) / 200 lies halfway between the hundredths k and k + 1 at 15 significant digits.
    for (long long k = -20000; k <= 20000; k += 7) {
        const double value = static_cast<double>(2 * k + 1) / 200.0;
        const long long hundredths = k >= 0 ? k + 1 : k;
        EXPECT_EQ(FormatFixed(value, 2), ScaledIntegerText(hundredths, 2)) << value;
    }
    // The same for whole numbers and for six decimals.
    for (long long k = -3000; k <= 3000; k += 11) {
        EXPECT_EQ(FormatFixed(static_cast<double>(k) + 0.5, 0), ScaledIntegerText(k >= 0 ? k + 1 : k, 0));
        const double micro = static_cast<double>(2 * k + 1) / 2e6;
        EXPECT_EQ(FormatFixed(micro, 6), ScaledIntegerText(k >= 0 ? k + 1 : k, 6)) << micro;
    }
}

TEST(FormatFixed, OutputReadsBackWithinHalfAUnit) {
    std::mt19937_64 rng(99);
    std::uniform_real_distribution<double> dist(-1e7, 1e7);
    for (int k = 0; k < 3000; ++k) {
        const double x = dist(rng);
        for (int decimals : {0, 2, 6}) {
            const double back = Val(FormatFixed(x, decimals));
            // Half a unit of the last decimal plus what taking 15 digits first may move.
            EXPECT_LE(std::fabs(back - x), 0.5 * std::pow(10.0, -decimals) * (1 + 1e-9) + std::fabs(x) * 1e-14)
                << x << " " << decimals;
        }
    }
}

TEST(FormatNumber, MonitorPatternsAndPlaceholders) {
    EXPECT_EQ(FormatNumber(12.345, "0.00"), "12.35");
    EXPECT_EQ(FormatNumber(12.5, "0"), "13");
    EXPECT_EQ(FormatNumber(0.1, "0.000000"), "0.100000");
    EXPECT_EQ(FormatNumber(5, "00"), "05");
    EXPECT_EQ(FormatNumber(123, "00"), "123");
    EXPECT_EQ(FormatNumber(-5, "00"), "-05");
    EXPECT_EQ(FormatNumber(-0.001, "0.00"), "-0.00");
    EXPECT_EQ(FormatNumber(0.5, "#.00"), ".50");
    EXPECT_EQ(FormatNumber(5, "0.#"), "5.");
    EXPECT_EQ(FormatNumber(5.25, "0.##"), "5.25");
    EXPECT_EQ(FormatNumber(1234567.891, "#,##0.00"), "1,234,567.89");
    EXPECT_EQ(FormatNumber(0.256, "0.0%"), "25.6%");
    EXPECT_EQ(FormatNumber(3.14159, "Fixed"), "3.14");
    EXPECT_EQ(FormatNumber(3.5, ""), "3.5");
    EXPECT_EQ(FormatNumber(7, "(0)"), "(7)");
}

TEST(FormatGeneral, FifteenSignificantDigitsAndExponentForm) {
    EXPECT_EQ(FormatGeneral(0), "0");
    EXPECT_EQ(FormatGeneral(1), "1");
    EXPECT_EQ(FormatGeneral(-1.5), "-1.5");
    EXPECT_EQ(FormatGeneral(0.1), "0.1");
    EXPECT_EQ(FormatGeneral(0.1 + 0.2), "0.3");
    EXPECT_EQ(FormatGeneral(123456.789), "123456.789");
    EXPECT_EQ(FormatGeneral(1.0 / 3.0), "0.333333333333333");
    EXPECT_EQ(FormatGeneral(2.0 / 3.0), "0.666666666666667");
    EXPECT_EQ(FormatGeneral(123456789012345.0), "123456789012345");
    EXPECT_EQ(FormatGeneral(999999999999999.4), "999999999999999");
    EXPECT_EQ(FormatGeneral(999999999999999.9), "1E+15");
    EXPECT_EQ(FormatGeneral(1e15), "1E+15");
    EXPECT_EQ(FormatGeneral(1e16), "1E+16");
    EXPECT_EQ(FormatGeneral(-1.5e16), "-1.5E+16");
    EXPECT_EQ(FormatGeneral(0.0001), "0.0001");
    EXPECT_EQ(FormatGeneral(0.00012345), "0.00012345");
    EXPECT_EQ(FormatGeneral(1e-5), "1E-05");
    EXPECT_EQ(FormatGeneral(-1.25e-7), "-1.25E-07");
    EXPECT_EQ(FormatGeneral(1e-300), "1E-300");
    EXPECT_EQ(FormatGeneral(-0.0), "0");
    EXPECT_EQ(Str(5), " 5");
    EXPECT_EQ(Str(-5.5), "-5.5");
}

TEST(FormatSingle, SevenSignificantDigits) {
    EXPECT_EQ(FormatSingle(153.25f), "153.25");
    EXPECT_EQ(FormatSingle(0.1f), "0.1");
    EXPECT_EQ(FormatSingle(1.0f / 3.0f), "0.3333333");
    EXPECT_EQ(FormatSingle(1234567.0f), "1234567");
    EXPECT_EQ(FormatSingle(12345678.0f), "1.234568E+07");
    EXPECT_EQ(FormatSingle(-2.5e-6f), "-2.5E-06");
    EXPECT_EQ(FormatSingle(0.0f), "0");
    EXPECT_EQ(FormatSingle(16777217.0f), "1.677722E+07");
    // The text reads back to within half a unit of the seventh digit.
    for (float f : {153.25f, 0.1f, 1.0f / 3.0f, 98765.43f, 3.4028235e38f, 1.17549435e-38f, -7.654321e-20f}) {
        EXPECT_LE(std::fabs(Val(FormatSingle(f)) - f), std::fabs(f) * 5e-7) << FormatSingle(f);
    }
}
