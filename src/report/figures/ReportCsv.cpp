#include "report/figures/ReportCsv.h"

#include <cmath>
#include <cstdio>

#include "support/VbConvert.h"
#include "support/CsvField.h"

namespace {

std::string WithUnit(const std::string& heading, const std::string& unit)
{
    return unit.empty() ? heading : heading + " (" + unit + ")";
}

void PeriodColumns(std::string& line, const StoreMonth& month, int day, int period, int start, int end,
                   PeriodState state)
{
    line += DateText(month.Year, month.Month, day) + ',' + std::to_string(period) + ',' + ClockText(start) + ',' +
            ClockText(end) + ',' + StateText(state);
}

} // namespace

std::string FigureText(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", value);
    std::string out = text;
    out.erase(out.find_last_not_of('0') + 1);
    if (out.back() == '.')
        out.pop_back();
    return out == "-0" ? "0" : out;
}

std::string DateText(int year, int month, int day)
{
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", year, month, day);
    return text;
}

std::string TagHeading(const ReportTag& tag)
{
    return tag.Name.empty() ? "Tag " + std::to_string(tag.Number) : tag.Name;
}

std::string DayProfileCsv(const StoreMonth& month, const DayProfile& profile)
{
    std::string out = "date,period,start,end,state";
    for (int t : profile.Tags) {
        const ReportTag& tag = month.Tag(t);
        out += ',' + CsvField(WithUnit(TagHeading(tag) + " quantity", tag.Units.Quantity));
        out += ',' + CsvField(WithUnit(TagHeading(tag) + " demand", tag.Units.Demand));
    }
    out += '\n';
    for (const PeriodFigure& f : profile.Periods) {
        PeriodColumns(out, month, profile.Day, f.Period, f.StartMinutes, f.EndMinutes, f.State);
        for (std::size_t i = 0; i < profile.Tags.size(); ++i) {
            if (f.State == PeriodState::NotSaved) {
                out += ",,";
                continue;
            }
            out += ',' + FormatSingle(static_cast<float>(f.Quantity[i])) + ',' + FigureText(f.Demand[i]);
        }
        out += '\n';
    }
    return out;
}

std::string MonthTotalsCsv(const StoreMonth& month, const MonthTotals& totals)
{
    std::string out = "date,periods not saved,periods after start-up";
    for (int t : totals.Tags)
        out += ',' + CsvField(WithUnit(TagHeading(month.Tag(t)), month.Tag(t).Units.Quantity));
    out += '\n';
    for (const DayTotal& day : totals.Days) {
        out += DateText(month.Year, month.Month, day.Day) + ',' + std::to_string(day.NotSaved) + ',' +
               std::to_string(day.AfterStartUp);
        const bool nothing = day.NotSaved == month.PeriodsPerDay;
        for (double total : day.Total)
            out += ',' + (nothing ? std::string() : FigureText(total));
        out += '\n';
    }
    return out;
}

std::string SiteProfileCsv(const StoreMonth& month, const SiteProfile& site)
{
    std::string out = "date,period,start,end,state,site total,site demand,peak rank\n";
    for (const SitePeriod& p : site.Periods) {
        PeriodColumns(out, month, site.Day, p.Period, p.StartMinutes, p.EndMinutes, p.State);
        if (p.State == PeriodState::NotSaved)
            out += ",,";
        else
            out += ',' + FigureText(p.Total) + ',' + FigureText(p.Demand);
        out += ',' + (p.PeakRank > 0 ? std::to_string(p.PeakRank) : std::string()) + '\n';
    }
    return out;
}

std::string TagTableCsv(const StoreMonth& month, const std::vector<TagRow>& rows)
{
    std::string out = "tag,name,unit,month total,highest period,highest demand,highest period date,"
                      "highest period end,periods not saved,periods after start-up\n";
    for (const TagRow& row : rows) {
        out += std::to_string(row.Tag) + ',' + CsvField(row.Name) + ',' + CsvField(row.Units.Quantity) + ',';
        if (row.HasHighest)
            out += FigureText(row.MonthTotal) + ',' + FormatSingle(static_cast<float>(row.Highest)) + ',' +
                   FigureText(row.HighestDemand) + ',' + DateText(month.Year, month.Month, row.HighestDay) + ',' +
                   ClockText(row.HighestEndMinutes);
        else
            out += ",,,,";
        out += ',' + std::to_string(row.NotSaved) + ',' + std::to_string(row.AfterStartUp) + '\n';
    }
    return out;
}

std::string ViewCsv(const StoreMonth& month, ReportView view, int day, const std::vector<int>& tags,
                    const std::vector<PeakEntry>& peaks)
{
    switch (view) {
    case ReportView::Day:
        return DayProfileCsv(month, MakeDayProfile(month, day, tags));
    case ReportView::Month:
        return MonthTotalsCsv(month, MakeMonthTotals(month, tags));
    case ReportView::Site:
        return SiteProfileCsv(month, MakeSiteProfile(month, day, peaks));
    case ReportView::Tags:
        return TagTableCsv(month, MakeTagTable(month, tags));
    }
    return {};
}
