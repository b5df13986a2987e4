#pragma once
// Tag references on the wire: "[M" tag number "]".
#include <cstdint>
#include <string_view>

// The tag number of a field that starts with "[M" (upper-case M): every "[M" and every "]" removed,
// the rest read as a number (blanks, tabs and line feeds ignored) and rounded halves to even.
// 0 when the field does not start with "[M", holds no number or the number does not fit 32 bits.
int32_t ParseMeterRef(std::string_view field);
