#include "support/VbText.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

using namespace std::string_literals;

TEST(VbText, LineBreaksNulTerminationAndTrim) {
    for (auto [count, text] : {std::pair{0, ""}, {-3, ""}, {1, "\r\n"}, {2, "\r\n\r\n"}}) EXPECT_EQ(NL(count), text) << count;
    // TrimNull cuts at the first NUL (none: nothing) and trims blanks only; CutAtNull only cuts.
    for (auto [in, out] : {std::pair{"abc\0xyz"s, "abc"s}, {"  abc  \0xyz"s, "abc"s}, {"abc"s, ""s}, {"\0abc"s, ""s},
                           {""s, ""s}, {"\tab \0"s, "\tab"s}})
        EXPECT_EQ(TrimNull(in), out) << in;
    EXPECT_EQ(CutAtNull("abc\0xyz"s), "abc");
    EXPECT_EQ(CutAtNull(" abc "), " abc ");
    EXPECT_EQ(CutAtNull("\0"s), "");
    std::string buffer(256, '\0');
    buffer.replace(0, 5, "value");
    EXPECT_EQ(TrimNull(buffer), "value");

    EXPECT_EQ(Trim("  a b  "), "a b");
    EXPECT_EQ(LTrim("  a b  "), "a b  ");
    EXPECT_EQ(RTrim("  a b  "), "  a b");
    EXPECT_EQ(Trim("    "), "");
    EXPECT_EQ(Trim("\ta\t"), "\ta\t");
    EXPECT_EQ(Trim(" \r\n"), "\r\n");
}

TEST(VbText, CaseOfWindows1252Letters) {
    EXPECT_EQ(UCase("abc XYZ 123 _-"), "ABC XYZ 123 _-");
    EXPECT_EQ(LCase("ABC xyz 123"), "abc xyz 123");
    // a-grave, e-acute, o-diaeresis, s-caron, oe, z-caron, y-diaeresis.
    EXPECT_EQ(UCase("\xE0\xE9\xF6\x9A\x9C\x9E\xFF"), "\xC0\xC9\xD6\x8A\x8C\x8E\x9F");
    EXPECT_EQ(LCase("\xC0\xC9\xD6\x8A\x8C\x8E\x9F"), "\xE0\xE9\xF6\x9A\x9C\x9E\xFF");
    // Multiplication/division signs, sharp s and micro have no partner.
    EXPECT_EQ(UCase("\xF7\xDF\xB5"), "\xF7\xDF\xB5");
    EXPECT_EQ(LCase("\xD7\xDF"), "\xD7\xDF");
    // Every byte maps back through the other case where it has a partner.
    for (int b = 0; b < 256; ++b) {
        const std::string one(1, static_cast<char>(b)), up = UCase(one);
        if (up != one) {
            EXPECT_EQ(LCase(up), one) << b;
        }
        EXPECT_TRUE(EqualsNoCase(one, up)) << b;
    }
}

TEST(VbText, CaseInsensitiveComparisons) {
    EXPECT_TRUE(EqualsNoCase("Telvane", "TELVANE"));
    EXPECT_FALSE(EqualsNoCase("abc", "abd"));
    EXPECT_FALSE(EqualsNoCase("abc", "abcd"));
    EXPECT_TRUE(EqualsNoCase("\xE9t\xE9", "\xC9T\xC9"));
    // "aaab" has an overlapping start.
    for (auto [text, part] : {std::pair{"The Host Window", "host"}, {"abc", ""}, {"", ""}, {"aaab", "AAB"}})
        EXPECT_TRUE(ContainsNoCase(text, part)) << text << " / " << part;
    for (auto [text, part] : {std::pair{"", "a"}, {"ab", "abc"}, {"abcabd", "abe"}})
        EXPECT_FALSE(ContainsNoCase(text, part)) << text << " / " << part;
}

TEST(VbText, LeftRightMidFixedField) {
    EXPECT_EQ(Left("abcdef", 3), "abc");
    EXPECT_EQ(Left("abc", 10), "abc");
    EXPECT_EQ(Right("abcdef", 2), "ef");
    EXPECT_EQ(Right("abc", 10), "abc");
    for (auto [start, length, part] : {std::tuple{2, 3, "bcd"}, {5, 10, "ef"}, {6, 1, "f"}, {7, 1, ""}, {1, 0, ""}, {0, 2, "ab"}})
        EXPECT_EQ(Mid("abcdef", start, length), part) << start << "," << length;
    EXPECT_EQ(Mid("", 1), "");
    EXPECT_EQ(FixedField("abc", 5), "abc  ");
    EXPECT_EQ(FixedField("abcdef", 4), "abcd");
    EXPECT_EQ(FixedField("abc", 0), "");
    EXPECT_EQ(FixedField("a\0b"s, 4), "a\0b "s);
}
