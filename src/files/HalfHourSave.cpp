#include "files/HalfHourSave.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "files/BackupStoreFile.h"
#include "files/DemandPeriods.h"
#include "files/PeakTable.h"
#include "files/ScanTypes.h"
#include "files/StartUpFileInfo.h"
#include "files/StoreFile.h"
#include "files/StoreFileName.h"
#include "files/UpdateSetupData.h"
#include "support/Log.h"
#include "support/SingleArithmetic.h"
#include "support/VbDate.h"
#include "support/VbText.h"

namespace {

constexpr double MinutesPerDay = 1440.0;
constexpr double SecondsPerDay = 86400.0;
constexpr double HalfSecond = 0.5 / SecondsPerDay;

enum class SaveOutcome { Saved, Failed, ProgramEnds };

// The quantity each tag 1..count contributes to a record. "From Log File" tags keep what the CSV
// import stored; tags not in use, or not measured, get 0. A period that runs a second time (the
// clock went back over it) adds its quantities to those of its first run; a running total is the
// later reading.
std::vector<float> RecordValues(const StoreContext& c, int count, const std::vector<float>& stored, bool repeated)
{
    std::vector<float> values(static_cast<std::size_t>(count), 0.0F);
    for (int t = 1; t <= count; ++t) {
        const auto slot = static_cast<std::size_t>(t);
        if (slot >= c.Setup.TagTable.size())
            break;
        const TagRecord& tag = c.Setup.TagTable[slot];
        const float before = slot - 1 < stored.size() ? stored[slot - 1] : 0.0F;
        if (repeated && !(tag.Online == 1 && ScanKindOf(tag.ScanType).Calc == ScanCalculation::Total))
            values[slot - 1] = before;
        if (tag.Online != 1 || tag.TagType != TagTypeMeasured)
            continue;
        if (tag.ScanType == ScanTypeFromLogFile)
            values[slot - 1] = before;
        else if (slot < c.Values.size())
            values[slot - 1] += c.Values[slot].Integrated;
    }
    return values;
}

// Writes the record of the period containing t into the store file at path. The current month's
// file is started when it is new; another month's file that is missing is made with the
// dimensions in use.
SaveOutcome SavePeriodRecord(StoreContext& c, const std::string& path, DateTime t, bool currentMonth, bool repeated,
                             DateTime now, VbError& error)
{
    StoreFile file;
    if ((error = file.Open(path)))
        return SaveOutcome::Failed;
    VbResult<int64_t> length = file.Length();
    if ((error = length.Error))
        return SaveOutcome::Failed;
    if (length.Value < StoreNewFileLength) {
        if (currentMonth) {
            file.Close();
            const SetupLoadResult started = StartUpFileInfo(c, now);
            c.View.CloseWait();
            if (started == SetupLoadResult::ProgramEnds)
                return SaveOutcome::ProgramEnds;
            if ((error = file.Open(path)))
                return SaveOutcome::Failed;
        }
        UpdateSetupData(c, file);
    }

    // The record goes where this file's own header puts it.
    StoreHeader header;
    if ((error = file.ReadHeader(header)))
        return SaveOutcome::Failed;
    if (header.PeriodsPerDay != c.Setup.PeriodsPerDay || !StoreHeaderProblem(header).empty()) {
        error = VbError(ErrBadRecordLength);
        return SaveOutcome::Failed;
    }
    const StoreLayout layout{header.DataStart, header.MaxTags, header.PeriodsPerDay};
    const int fileTagCount = std::max(0, header.MaxTags - 2 - header.CenterCount);
    const int count = std::min<int>(c.Setup.TagCount, std::min<int>(fileTagCount, header.MaxTags));
    const int32_t record = PeriodRecordIndex(t, c.Setup.PeriodsPerDay);

    int16_t oldFlag = 0;
    std::vector<float> stored;
    const VbError readError = file.ReadRecord(layout, record, oldFlag, stored, count);
    if (readError.Failed() && readError.Number != ErrInputPastEnd) {
        error = readError;  // the import's values cannot be kept if they cannot be read
        return SaveOutcome::Failed;
    }
    const std::vector<float> values = RecordValues(c, count, stored, repeated);
    // A repeated period is whole only if both its runs were.
    const int16_t flag = repeated && oldFlag != 1 ? oldFlag : c.State.DataOkFlag;
    if ((error = file.WriteRecord(layout, record, flag, values)))
        return SaveOutcome::Failed;
    if ((error = file.Flush()))
        return SaveOutcome::Failed;
    return SaveOutcome::Saved;
}

} // namespace

void HalfHourSave(StoreContext& c, DateTime now)
{
    SetupData& s = c.Setup;
    const int16_t p = PeriodNumber(now, s.PeriodsPerDay);
    // A clock step ends the period that ran before it, even when the clock now shows the same
    // period number; what was gathered up to the step belongs to that period.
    // Whole seconds: the time parts round to the nearest second, and 00:59:59.6 is still before 01:00.
    const DateTime stepFrom = std::floor(c.State.ClockStepFrom * SecondsPerDay) / SecondsPerDay;
    c.State.ClockStepFrom = 0;
    const bool stepped = stepFrom != 0 && PeriodEndDateTime(stepFrom, s.PeriodsPerDay) != PeriodEndDateTime(now, s.PeriodsPerDay);
    if (p == c.State.LastSavedPeriod && !stepped)
        return;
    // Without a step, the period just ended is the one a period length ago.
    const DateTime t = stepped ? stepFrom : now - PeriodMinutes(s.PeriodsPerDay) / MinutesPerDay;
    const DateTime periodEnd = stepped ? PeriodEndDateTime(stepFrom, s.PeriodsPerDay) : PeriodLastEndDateTime(now, s.PeriodsPerDay);
    // Saved already in this run: the clock went back over it.
    const bool repeated = c.State.LastSavedEnd != 0 && PeriodEndDateTime(t, s.PeriodsPerDay) <= c.State.LastSavedEnd + HalfSecond;

    VbError firstError;
    auto note = [&firstError](const VbError& e) {
        if (e.Failed() && !firstError.Failed())
            firstError = e;
    };

    if (c.Settings.Demo == 0) {
        const VbResult<std::string> current = GetStoreFileName(c.Host.JobDataFolder(), c.Settings.StoreFilePrefix, now);
        note(current.Error);
        c.Settings.StoreFilePath = current.Value;
        c.View.SetStatusText("Saving Data" + NL(1) + LCase(Trim(c.Settings.StoreFilePath)));

        // A period belongs to the month in which it ran: the save just after midnight on the 1st
        // goes into last month's file.
        const bool currentMonth = FormatDate(t, "yymm") == FormatDate(now, "yymm");
        std::string target = c.Settings.StoreFilePath;
        if (!currentMonth) {
            const VbResult<std::string> previous = GetStoreFileName(c.Host.JobDataFolder(), c.Settings.StoreFilePrefix, t);
            note(previous.Error);
            target = previous.Value;
        }

        VbError saveError;
        const SaveOutcome outcome = SavePeriodRecord(c, target, t, currentMonth, repeated, now, saveError);
        if (outcome == SaveOutcome::ProgramEnds) {
            if (firstError.Failed())
                ReportError("HalfHourSave", firstError);
            return;
        }
        note(saveError);
        if (outcome == SaveOutcome::Saved) {
            if (VbError e = BackupStoreFile(target, c.Settings.BackupDir))
                ReportError("BackupStoreFile", e);
        }

        if (!currentMonth) {
            // The new month's file is started now, as at any first save of a month.
            StoreFile file;
            const VbError e = file.Open(c.Settings.StoreFilePath);
            note(e);
            const VbResult<int64_t> length = file.Length();
            file.Close();
            if (!e.Failed() && length.Ok() && length.Value < StoreNewFileLength) {
                const SetupLoadResult started = StartUpFileInfo(c, now);
                c.View.CloseWait();
                if (started == SetupLoadResult::ProgramEnds) {
                    if (firstError.Failed())
                        ReportError("HalfHourSave", firstError);
                    return;
                }
            }
        }
    }

    // A total beyond the float range is an overflow: the peak table keeps what it had.
    SingleArithmetic ops;
    float siteTotal = 0;
    for (int t = 1; t <= s.TagCount && static_cast<std::size_t>(t) < s.TagTable.size(); ++t) {
        const TagRecord& tag = s.TagTable[static_cast<std::size_t>(t)];
        if (tag.Online == 1 && tag.InTotal == 1 && static_cast<std::size_t>(t) < c.Values.size())
            siteTotal = ops.Add(siteTotal, c.Values[static_cast<std::size_t>(t)].Integrated);
    }
    if (ops.Failed()) {
        note(ops.Error());
    } else {
        const std::string label = FormatDate(periodEnd, "mmm dd, yy. hh:mm");
        note(UpdatePeaks(siteTotal, label, c.State.SetupIniFile));
    }

    for (int t = 1; t <= s.MaxTags && static_cast<std::size_t>(t) < c.Values.size(); ++t)
        c.Values[static_cast<std::size_t>(t)].Integrated = 0;
    c.State.DataOkFlag = c.State.StartingUp == 1 ? 0 : 1;
    c.State.LastSavedPeriod = p;
    const DateTime savedEnd = PeriodEndDateTime(t, s.PeriodsPerDay);
    if (savedEnd > c.State.LastSavedEnd)
        c.State.LastSavedEnd = savedEnd;

    if (firstError.Failed())
        ReportError("HalfHourSave", firstError);
}
