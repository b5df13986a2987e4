#include "report/figures/ReportFigures.h"

#include <cstdio>

#include "platform/DateSerial.h"
#include "platform/Files.h"
#include "support/VbDate.h"
#include "support/VbText.h"

namespace {

PeriodFigure Period(const StoreMonth& month, int day, int period, const std::vector<int>& tags)
{
    PeriodFigure f;
    f.Period = period;
    f.StartMinutes = month.PeriodStartMinutes(period);
    f.EndMinutes = period * 1440 / month.PeriodsPerDay;
    f.State = month.State(day, period);
    for (int t : tags) {
        const double q = f.State == PeriodState::NotSaved ? 0.0 : month.Quantity(day, period, t);
        f.Quantity.push_back(q);
        f.Demand.push_back(q / month.PeriodHours());
    }
    return f;
}

} // namespace

DayProfile MakeDayProfile(const StoreMonth& month, int day, const std::vector<int>& tags)
{
    DayProfile profile;
    profile.Day = day;
    profile.Tags = tags;
    for (int p = 1; p <= month.PeriodsPerDay; ++p)
        profile.Periods.push_back(Period(month, day, p, tags));
    return profile;
}

MonthTotals MakeMonthTotals(const StoreMonth& month, const std::vector<int>& tags)
{
    MonthTotals totals;
    totals.Tags = tags;
    for (int d = 1; d <= month.Days; ++d) {
        DayTotal day;
        day.Day = d;
        day.Total.assign(tags.size(), 0.0);
        for (int p = 1; p <= month.PeriodsPerDay; ++p) {
            const PeriodState state = month.State(d, p);
            if (state == PeriodState::NotSaved) {
                ++day.NotSaved;
                continue;
            }
            if (state == PeriodState::AfterStartUp)
                ++day.AfterStartUp;
            for (std::size_t i = 0; i < tags.size(); ++i)
                day.Total[i] += month.Quantity(d, p, tags[i]);
        }
        totals.Days.push_back(std::move(day));
    }
    return totals;
}

std::string PeakLabel(const StoreMonth& month, int day, int endMinutes)
{
    const DateTime end = DateSerial(month.Year, month.Month, day) + endMinutes / 1440.0;
    return FormatDate(end, "mmm dd, yy. hh:mm");
}

std::vector<PeakEntry> SettingsFilePeaks(const std::string& settingsFile)
{
    if (settingsFile.empty() || !FileExists(settingsFile))
        return {};
    return ReadPeaks(settingsFile);
}

SiteProfile MakeSiteProfile(const StoreMonth& month, int day, const std::vector<PeakEntry>& peaks)
{
    SiteProfile site;
    site.Day = day;
    for (const ReportTag& tag : month.Tags)
        if (tag.Online && tag.InTotal)
            site.Tags.push_back(tag.Number);
    const DayProfile profile = MakeDayProfile(month, day, site.Tags);
    for (const PeriodFigure& f : profile.Periods) {
        SitePeriod p;
        p.Period = f.Period;
        p.StartMinutes = f.StartMinutes;
        p.EndMinutes = f.EndMinutes;
        p.State = f.State;
        for (double q : f.Quantity)
            p.Total += q;
        p.Demand = p.Total / month.PeriodHours();
        if (p.State != PeriodState::NotSaved) {
            const std::string label = PeakLabel(month, day, p.EndMinutes);
            for (std::size_t n = 1; n < peaks.size() && n <= static_cast<std::size_t>(PeakRanks); ++n)
                if (Trim(peaks[n].Time) == label) {
                    p.PeakRank = static_cast<int>(n);
                    break;
                }
        }
        site.Periods.push_back(p);
    }
    return site;
}

std::vector<TagRow> MakeTagTable(const StoreMonth& month, const std::vector<int>& tags)
{
    std::vector<TagRow> rows;
    for (int t : tags) {
        TagRow row;
        row.Tag = t;
        row.Name = month.Tag(t).Name;
        row.Units = month.Tag(t).Units;
        for (int d = 1; d <= month.Days; ++d)
            for (int p = 1; p <= month.PeriodsPerDay; ++p) {
                const PeriodState state = month.State(d, p);
                if (state == PeriodState::NotSaved) {
                    ++row.NotSaved;
                    continue;
                }
                if (state == PeriodState::AfterStartUp)
                    ++row.AfterStartUp;
                const double q = month.Quantity(d, p, t);
                row.MonthTotal += q;
                if (!row.HasHighest || q > row.Highest) {
                    row.HasHighest = true;
                    row.Highest = q;
                    row.HighestDay = d;
                    row.HighestPeriod = p;
                    row.HighestEndMinutes = p * 1440 / month.PeriodsPerDay;
                }
            }
        row.HighestDemand = row.Highest / month.PeriodHours();
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string ClockText(int minutes)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d", minutes / 60, minutes % 60);
    return text;
}

const char* StateText(PeriodState state)
{
    switch (state) {
    case PeriodState::Measured:
        return "measured";
    case PeriodState::AfterStartUp:
        return "after start-up";
    case PeriodState::NotSaved:
        return "not saved";
    }
    return "";
}
