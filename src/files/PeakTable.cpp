#include "files/PeakTable.h"

#include <cmath>

#include "support/Profile.h"
#include "support/VbConvert.h"

namespace {

const char* const Peaks = "Peaks";
constexpr int PeakBuffer = 256;

std::string ValueKey(int rank) { return std::to_string(rank) + "PeakValue"; }
std::string TimeKey(int rank) { return std::to_string(rank) + "PeakTime"; }

std::string Read(const std::string& key, const std::string& file)
{
    return GetPrivateProfileString(Peaks, key, "0", PeakBuffer, file);
}

} // namespace

VbError UpdatePeaks(float total, const std::string& label, const std::string& setupIniFile)
{
    // No number to rank, and its text would spoil the table for every later reader.
    if (!std::isfinite(total))
        return VbError(ErrOverflow);
    int insertAt = 1;
    for (int n = PeakRanks; n >= 1; --n) {
        const float stored = static_cast<float>(Val(Read(ValueKey(n), setupIniFile)));
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
        writes.emplace_back(ValueKey(n + 1), Read(ValueKey(n), setupIniFile));
        writes.emplace_back(TimeKey(n + 1), Read(TimeKey(n), setupIniFile));
    }
    writes.emplace_back(ValueKey(insertAt), FormatSingle(total));
    writes.emplace_back(TimeKey(insertAt), label);
    const bool written = WritePrivateProfileStrings(Peaks, writes, setupIniFile);
    return written ? VbError() : VbError(ErrPermissionDenied);
}

std::vector<PeakEntry> ReadPeaks(const std::string& setupIniFile)
{
    std::vector<PeakEntry> peaks(PeakRanks + 1);
    for (int n = 1; n <= PeakRanks; ++n) {
        peaks[static_cast<std::size_t>(n)].Value = Read(ValueKey(n), setupIniFile);
        peaks[static_cast<std::size_t>(n)].Time = Read(TimeKey(n), setupIniFile);
    }
    return peaks;
}
