#pragma once
// A maths tag's value from up to seven other tags. An arithmetic group chains the terms' Integrated
// values with their factors strictly left to right (no operator precedence) into the maths tag's
// Integrated and Current; a logic group combines the on/off states (Current exactly 1) of two tags
// into its Current. A fault (division by zero, overflow) is reported as
// "Input_MathsGrouping, Error n/ message" and leaves the maths tag at 0.
#include <cstdint>

#include "core/ScanContext.h"

void Input_MathsGrouping(ScanContext& scan, int16_t tag);
