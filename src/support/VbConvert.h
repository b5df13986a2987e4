#pragma once
// Conversions between numbers and texts exactly as the original platform performs them.
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/VbError.h"

// Text to number: blanks, tabs and line feeds are ignored anywhere; an optional sign, digits,
// one decimal point, an exponent with E or D (either case); "&H" hex and "&O" octal integers.
// Reading stops at the first character that cannot continue the number; no number gives 0.
// "&H"/"&O" values of up to 16 bits are 16-bit signed ("&HFFFF" is -1), up to 32 bits 32-bit signed;
// larger ones, and decimal numbers beyond the double range, count as no number (0). A decimal number
// too small for a double gives 0.
double Val(std::string_view text);
// Val that reports error 6 (Overflow) where the original raised it instead of answering 0.
VbResult<double> ValChecked(std::string_view text);
// Round to the nearest integer, halves to even (the rounding CInt, CLng and Round use).
double RoundHalfEven(double value);

// Rounding to integers with halves to even; a result outside the type's range is error 6.
VbResult<int16_t> CInt(double value);
VbResult<int32_t> CLng(double value);
// Single precision conversion; a finite value beyond float's range is error 6.
VbResult<float> CSng(double value);

// Fixed decimals with halves away from zero and a leading "-" for negatives: the formats "0", "0.00",
// "0.000000". The value is first taken to 15 significant digits (as the platform shows a double),
// so 2.675 gives "2.68". A negative value that rounds to zero keeps its "-" ("-0.00").
std::string FormatFixed(double value, int decimals);
// Format(value, pattern) for the number patterns the monitor uses: "0", "0.0", "0.00", "0.000000", "00".
std::string FormatNumber(double value, std::string_view pattern);
// The general number form: up to 15 significant digits, no trailing zeros, no thousands separator,
// "E+nn"/"E-nn" for very large or small magnitudes (as Str/CStr without the leading blank).
std::string FormatGeneral(double value);
// Str(): the general form with a leading blank for zero and positive numbers.
std::string Str(double value);
// CStr of a single-precision value: up to 7 significant digits.
std::string FormatSingle(float value);
