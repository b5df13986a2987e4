#pragma once
// The per-tag runtime values as the last scan left them, kept in a small file beside the store
// files so that a monitor restarted within the same demand period can take them back. Written
// whole through a temporary file and a rename after every scan; a file that is damaged, of another
// version or too large is not taken back.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/DateSerial.h"
#include "platform/VbError.h"

struct ResumeTag {
    int Tag = 0;
    int16_t ScanType = 0;
    float Current = 0;
    float Previous = 0;
    float Integrated = 0;
    float LastGoodDelta = 0;
    float LastGoodRate = 0;
    float Rate = 0;
    DateTime LastReadTime = 0;
    DateTime PulseTime = 0;
};

struct ResumeState {
    int PeriodsPerDay = 0;
    DateTime PeriodEnd = 0;  // end of the demand period the values belong to
    DateTime Written = 0;    // when the scan that left them ran
    std::vector<ResumeTag> Tags;
};

// The file's name in the store folder.
inline constexpr const char* ResumeFileName = "voltamon.resume";
// The state file's path text beside the store file path text.
std::string ResumeFilePath(const std::string& storeFilePath);

std::string FormatResumeState(const ResumeState& state);
// Nothing for a text that is not a whole state of this version.
std::optional<ResumeState> ParseResumeState(const std::string& text);

VbError WriteResumeState(const std::string& pathText, const ResumeState& state);
// Error 53 when there is none; error 59 for a file that is no whole state.
VbResult<ResumeState> ReadResumeState(const std::string& pathText);
