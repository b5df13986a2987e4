#pragma once
// Small text helpers.
#include <string>
#include <string_view>

// count carriage-return + line-feed pairs (0 gives the empty text).
std::string NL(int count);
// The part of text before its first NUL, trimmed of blanks; empty when text has no NUL or starts with one.
std::string TrimNull(std::string_view text);
// The part of text before its first NUL (the whole text when it has none), not trimmed.
std::string CutAtNull(std::string_view text);
// Blanks (spaces only) removed at both ends / left / right, as Trim$, LTrim$, RTrim$.
std::string Trim(std::string_view text);
std::string LTrim(std::string_view text);
std::string RTrim(std::string_view text);
// Upper / lower case of the 8-bit text (ASCII letters and the Windows-1252 accented letters).
std::string UCase(std::string_view text);
std::string LCase(std::string_view text);
// Case-insensitive comparison of 8-bit texts.
bool EqualsNoCase(std::string_view a, std::string_view b);
// InStr(1, haystack, needle, vbTextCompare) > 0.
bool ContainsNoCase(std::string_view haystack, std::string_view needle);
// Left$/Right$/Mid$ on bytes; out-of-range lengths are clipped as the originals clip them.
// Mid with a start of 0 (an error in the original) starts at 1.
std::string Left(std::string_view text, std::size_t n);
std::string Right(std::string_view text, std::size_t n);
std::string Mid(std::string_view text, std::size_t start1, std::size_t n = std::string_view::npos);
// Fixed-length field: text cut or padded with blanks to length (String * n).
std::string FixedField(std::string_view text, std::size_t length);
