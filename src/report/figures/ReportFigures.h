#pragma once
// The figures of each view, computed from a month held in memory. Quantities are as saved;
// demand is quantity per hour of the period. A period never saved counts as nothing; the first
// period after a start-up counts with what it metered, and both are marked so they can be told
// from a measured zero.
#include <string>
#include <vector>

#include "files/PeakTable.h"
#include "report/figures/StoreMonth.h"

// One period of a day, for the chosen tags.
struct PeriodFigure {
    int Period = 0;
    int StartMinutes = 0;  // minutes after midnight
    int EndMinutes = 0;
    PeriodState State = PeriodState::NotSaved;
    std::vector<double> Quantity;  // per chosen tag
    std::vector<double> Demand;
};

struct DayProfile {
    int Day = 0;
    std::vector<int> Tags;
    std::vector<PeriodFigure> Periods;  // 1..PeriodsPerDay in order
};

DayProfile MakeDayProfile(const StoreMonth& month, int day, const std::vector<int>& tags);

struct DayTotal {
    int Day = 0;
    std::vector<double> Total;  // per chosen tag
    int NotSaved = 0;           // periods of the day never saved
    int AfterStartUp = 0;       // first periods after a start-up
};

struct MonthTotals {
    std::vector<int> Tags;
    std::vector<DayTotal> Days;  // 1..Days in order
};

MonthTotals MakeMonthTotals(const StoreMonth& month, const std::vector<int>& tags);

// The site total of one day: the sum over the online tags counted in the total.
struct SitePeriod {
    int Period = 0;
    int StartMinutes = 0;
    int EndMinutes = 0;
    PeriodState State = PeriodState::NotSaved;
    double Total = 0;
    double Demand = 0;
    int PeakRank = 0;  // 1..24 when this period is in the peak table, else 0
};

struct SiteProfile {
    int Day = 0;
    std::vector<int> Tags;  // the tags counted
    std::vector<SitePeriod> Periods;
};

// The peak table of a settings file, or none when no file is given or it is not there.
std::vector<PeakEntry> SettingsFilePeaks(const std::string& settingsFile);

// peaks: ranks 1..24 as read from the settings file (index 0 unused), or empty for none.
SiteProfile MakeSiteProfile(const StoreMonth& month, int day, const std::vector<PeakEntry>& peaks);

// The peak table's label of the period that ends at minutes after midnight of day
// ("mmm dd, yy. hh:mm"; the last period of a day ends at 00:00 of the next).
std::string PeakLabel(const StoreMonth& month, int day, int endMinutes);

struct TagRow {
    int Tag = 0;
    std::string Name;
    TagUnits Units;
    double MonthTotal = 0;
    bool HasHighest = false;  // false when no period of the month was saved
    double Highest = 0;       // the highest quantity of one period
    double HighestDemand = 0;
    int HighestDay = 0;
    int HighestPeriod = 0;
    int HighestEndMinutes = 0;
    int NotSaved = 0;
    int AfterStartUp = 0;
};

// The first of equal highest periods is the one shown.
std::vector<TagRow> MakeTagTable(const StoreMonth& month, const std::vector<int>& tags);

// "hh:mm" of minutes after midnight; 1440 is "24:00".
std::string ClockText(int minutes);
const char* StateText(PeriodState state);
