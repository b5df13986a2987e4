#include "files/PeakTable.h"

#include <cmath>

#include "support/Profile.h"
#include "support/VbConvert.h"

namespace {

const char* const Peaks = "Peaks";
constexpr int PeakBuffer = 256;

std::string ValueKey(int rank) { return std::to_string(rank) + "PeakValue"; }
std::string TimeKey(int rank) { return std::to_string(rank) + "PeakTime"; }

// A key of the table in the settings file's text, read once for all of them.
std::string Read(const std::string& key, const std::string& text)
{
    return GetPrivateProfileStringFromText(text, Peaks, key, "0", PeakBuffer);
}

} // namespace

VbError UpdatePeaks(float total, const std::string& label, const std::string& setupIniFile)
{
    // No number to rank, and its text would spoil the table for every later reader.
    if (!std::isfinite(total))
        return VbError(ErrOverflow);
    const std::string text = ReadPrivateProfileText(setupIniFile);
    int insertAt = 1;
    for (int n = PeakRanks; n >= 1; --n) {
        const float stored = static_cast<float>(Val(Read(ValueKey(n), text)));
        if (total <= stored) {
            insertAt = n + 1;
            break;
        }
        insertAt = n;
    }
    if (insertAt > PeakRanks)
        return {};

    // Each entry below the new one moves down a rank, then the new one goes in: one write of the file.
    std::vector<std::pair<std::string, std::string>> writes;
    for (int n = PeakRanks - 1; n >= insertAt; --n) {
        writes.emplace_back(ValueKey(n + 1), Read(ValueKey(n), text));
        writes.emplace_back(TimeKey(n + 1), Read(TimeKey(n), text));
    }
    writes.emplace_back(ValueKey(insertAt), FormatSingle(total));
    writes.emplace_back(TimeKey(insertAt), label);
    const bool written = WritePrivateProfileStrings(Peaks, writes, setupIniFile);
    return written ? VbError() : VbError(ErrPermissionDenied);
}

std::vector<PeakEntry> ReadPeaks(const std::string& setupIniFile)
{
    const std::string text = ReadPrivateProfileText(setupIniFile);
    std::vector<PeakEntry> peaks(PeakRanks + 1);
    for (int n = 1; n <= PeakRanks; ++n) {
        peaks[static_cast<std::size_t>(n)].Value = Read(ValueKey(n), text);
        peaks[static_cast<std::size_t>(n)].Time = Read(TimeKey(n), text);
    }
    return peaks;
}
