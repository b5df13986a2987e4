#pragma once
// The table of the 24 highest site totals, section "Peaks" of the settings file.
#include <string>
#include <vector>

#include "platform/VbError.h"

inline constexpr int PeakRanks = 24;

struct PeakEntry {
    std::string Value;  // as stored ("0" when missing)
    std::string Time;   // "mmm dd, yy. hh:mm"
};

// Enters total with its label; a total equal to a stored one ranks below it. A total that is no
// finite number is error 6 (Overflow) and leaves the table as it was.
VbError UpdatePeaks(float total, const std::string& label, const std::string& setupIniFile);
// Ranks 1..24 (index 0 unused).
std::vector<PeakEntry> ReadPeaks(const std::string& setupIniFile);
