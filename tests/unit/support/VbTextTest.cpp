#include "support/VbText.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

TEST(VbText, LineBreaks) {
    EXPECT_EQ(NL(0), "");
    EXPECT_EQ(NL(-3), "");
    EXPECT_EQ(NL(1), "\r\n");
    EXPECT_EQ(NL(2), "\r\n\r\n");
}

TEST(VbText, NulTermination) {
    EXPECT_EQ(TrimNull("abc\0xyz"s), "abc");
    EXPECT_EQ(TrimNull("  abc  \0xyz"s), "abc");
    EXPECT_EQ(TrimNull("abc"), "");
    EXPECT_EQ(TrimNull("\0abc"s), "");
    EXPECT_EQ(TrimNull(""), "");
    EXPECT_EQ(TrimNull("\tab \0"s), "\tab");  // only blanks are trimmed
    EXPECT_EQ(CutAtNull("abc\0xyz"s), "abc");
    EXPECT_EQ(CutAtNull(" abc "), " abc ");
    EXPECT_EQ(CutAtNull("\0"s), "");
    std::string buffer(256, '\0');
    buffer.replace(0, 5, "value");
    EXPECT_EQ(TrimNull(buffer), "value");
}

TEST(VbText, TrimRemovesSpacesOnly) {
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
        const std::string one(1, static_cast<char>(b));
        const std::string up = UCase(one);
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
    EXPECT_TRUE(ContainsNoCase("The Host Window", "host"));
    EXPECT_TRUE(ContainsNoCase("abc", ""));
    EXPECT_TRUE(ContainsNoCase("", ""));
    EXPECT_FALSE(ContainsNoCase("", "a"));
    EXPECT_FALSE(ContainsNoCase("ab", "abc"));
    EXPECT_TRUE(ContainsNoCase("aaab", "AAB"));  // overlapping start
    EXPECT_FALSE(ContainsNoCase("abcabd", "abe"));
}

TEST(VbText, LeftRightMidClip) {
    EXPECT_EQ(Left("abcdef", 3), "abc");
    EXPECT_EQ(Left("abc", 10), "abc");
    EXPECT_EQ(Right("abcdef", 2), "ef");
    EXPECT_EQ(Right("abc", 10), "abc");
    EXPECT_EQ(Mid("abcdef", 2, 3), "bcd");
    EXPECT_EQ(Mid("abcdef", 5, 10), "ef");
    EXPECT_EQ(Mid("abcdef", 6, 1), "f");
    EXPECT_EQ(Mid("abcdef", 7, 1), "");
    EXPECT_EQ(Mid("abcdef", 1, 0), "");
    EXPECT_EQ(Mid("abcdef", 0, 2), "ab");
    EXPECT_EQ(Mid("", 1), "");
}

TEST(VbText, FixedFieldCutsOrPads) {
    EXPECT_EQ(FixedField("abc", 5), "abc  ");
    EXPECT_EQ(FixedField("abcdef", 4), "abcd");
    EXPECT_EQ(FixedField("abc", 0), "");
    EXPECT_EQ(FixedField("a\0b"s, 4), "a\0b "s);
}
