#include "files/StartUpFileInfo.h"

#include <cmath>
#include <optional>

#include "files/DemandPeriods.h"
#include "files/StoreFile.h"
#include "files/UpdateSetupData.h"
#include "platform/Files.h"
#include "support/Log.h"
#include "support/VbText.h"

namespace {

std::string PeriodsMessage(const std::string& path, int periodsPerDay)
{
    const std::string lower = LCase(path);
    return "WARNING!!!" + NL(2) + "Store file " + lower + NL(1) +
           "has in incorrect setting for demand periods per day" + NL(1) + "The store file is set to " +
           std::to_string(periodsPerDay) + " periods per day." + NL(2) +
           "The options are either 24, 48 or 96 periods per day." + NL(2) +
           "To remedy this we recommend that you delete the store file" + NL(1) + lower + NL(1) +
           "and check the setting in the Voltaris Setup program.";
}

std::string DamagedHeaderMessage(const std::string& path, const StoreHeaderFault& fault)
{
    const std::string lower = LCase(path);
    return "WARNING!!!" + NL(2) + "Store file " + lower + NL(1) + "has a damaged header." + NL(1) + "Its " +
           fault.Field + " (byte " + std::to_string(fault.Offset) + ") is " + std::to_string(fault.Value) + ", " +
           fault.Expected + "." + NL(2) + "To remedy this we recommend that you delete the store file" + NL(1) +
           lower + NL(1) + "or put back its copy from the backup folder.";
}

std::string NoTagsMessage()
{
    return "There are no valid tags in the store file!" + NL(2) + "Recommend that you delete the existing store file" +
           NL(1) + "and then restart the Voltaris Monitor";
}

// Resizing keeps what the tables hold; a negative or absurd extent is refused and leaves the table.
template <class Table>
VbError Resize(Table& table, int64_t elements)
{
    if (elements < 0)
        return VbError(ErrSubscript);
    if (elements > MaxSetupTableElements)
        return VbError(ErrOutOfMemory);
    table.resize(static_cast<std::size_t>(elements));
    return {};
}

template <class Table>
VbError Resize2(Table& table, int64_t rows, int64_t columns, bool clear)
{
    if (rows < 0 || columns < 0)
        return VbError(ErrSubscript);
    if (rows * columns > MaxSetupTableElements)
        return VbError(ErrOutOfMemory);
    if (clear)
        table.clear();
    table.resize(static_cast<std::size_t>(rows));
    for (auto& row : table)
        row.resize(static_cast<std::size_t>(columns));
    return {};
}

} // namespace

VbResult<DateTime> ReadSetupFileStamp(const std::string& setupMtgFile)
{
    VbResult<DateTime> stamp = FileDateTime(setupMtgFile);
    if (stamp.Ok()) {
        int64_t days = 0;
        int seconds = 0;
        SplitDateTime(stamp.Value, days, seconds);
        stamp.Value = static_cast<double>(days) + seconds / 86400.0;
    }
    return stamp;
}

SetupLoadResult StartUpFileInfo(StoreContext& c, DateTime now)
{
    SetupData& s = c.Setup;
    FirstErrorReport errors("StartUpFileInfo");

    const VbResult<DateTime> stamp = ReadSetupFileStamp(c.State.SetupMtgFile);
    errors.Note(stamp.Error);
    if (stamp.Ok())
        c.State.SetupFileStamp = stamp.Value;

    if (GetSetupData(c.State.SetupMtgFile, c.Host, s, c.View) == SetupLoadResult::ProgramEnds) {
        errors.Report();
        return SetupLoadResult::ProgramEnds;
    }
    if (c.State.LastSavedPeriod == 0)
        c.State.LastSavedPeriod = PeriodNumber(now, s.PeriodsPerDay);

    c.View.ShowWait("Store File Data");
    c.View.DoEvents();

    const std::string& path = c.Settings.StoreFilePath;
    StoreFile file;
    const VbError opened = file.Open(path);
    errors.Note(opened);
    VbResult<int64_t> length = file.Length();
    std::optional<StoreHeaderFault> damage;
    if (opened.Failed() || !length.Ok() || length.Value < StoreNewFileLength) {
        s.MaxTags = SetupTagSlots;
        if (s.PeriodsPerDay == 0)
            s.PeriodsPerDay = 48;
    } else {
        StoreHeader header;
        const VbError e = file.ReadHeader(header);
        errors.Note(e);
        if (!e.Failed()) {
            // The file's dimensions hold for the rest of its month.
            s.MaxTags = header.MaxTags;
            s.PeriodsPerDay = header.PeriodsPerDay;
            s.TariffCount = header.TariffCount;
            s.TariffEntryCount = header.TariffEntryCount;
            s.CenterCount = header.CenterCount;
            damage = StoreHeaderDamage(header);
        }
    }
    file.Close();

    if (s.PeriodsPerDay != 24 && s.PeriodsPerDay != 48 && s.PeriodsPerDay != 96) {
        errors.Report();
        c.View.ShowMessage(PeriodsMessage(path, s.PeriodsPerDay), "Error in Store File", MessageIcon::Critical);
        c.View.EndProgram();
        return SetupLoadResult::ProgramEnds;
    }
    const int tagCount = s.MaxTags - 2 - s.CenterCount;
    if (tagCount < 1) {
        errors.Report();
        c.View.ShowMessage(NoTagsMessage(), "Error - Voltaris Monitor", MessageIcon::None);
        c.View.EndProgram();
        return SetupLoadResult::ProgramEnds;
    }
    // A damaged header would have every scan and save fail for the rest of the month: refused
    // like wrong periods per day, before any table is sized from it.
    if (damage) {
        errors.Report();
        c.View.ShowMessage(DamagedHeaderMessage(path, *damage), "Error in Store File", MessageIcon::Critical);
        c.View.EndProgram();
        return SetupLoadResult::ProgramEnds;
    }
    // A negative center count from the tag setup would put tags beyond the table; its sizing below reports it.
    s.TagCount = static_cast<int16_t>(tagCount < s.MaxTags ? tagCount : s.MaxTags);

    errors.Note(Resize(s.Centers, int64_t{s.CenterCount} + 1));
    errors.Note(Resize2(s.TariffEntries, int64_t{s.TariffCount} + 1, int64_t{s.TariffEntryCount} + 1, false));
    errors.Note(Resize(s.Tariffs, int64_t{s.TariffCount} + 1));
    errors.Note(Resize(s.TagTable, int64_t{s.MaxTags} + 1));
    errors.Note(Resize(c.Values, int64_t{s.MaxTags} + 1));
    errors.Note(Resize2(s.TagAuxEntries, int64_t{s.MaxTags} + 1, int64_t{s.TariffEntryCount} + 1, true));
    errors.Report();

    if (opened.Failed())
        return SetupLoadResult::Loaded;  // already reported; a second try would only say it again
    if (VbError e = file.Open(path)) {
        ReportError("StartUpFileInfo", e);
        return SetupLoadResult::Loaded;
    }
    UpdateSetupData(c, file);
    file.Close();
    return SetupLoadResult::Loaded;
}
