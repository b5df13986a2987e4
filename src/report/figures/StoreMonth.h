#pragma once
// One month's store file read whole into memory: every period record of every saved tag, and
// what the setup copy says of each tag. Everything vtreport shows is computed from this.
#include <cstdint>
#include <string>
#include <vector>

#include "report/figures/TagUnits.h"

// What a period record says of itself.
enum class PeriodState {
    Measured,      // saved by a monitor that ran through the whole period
    AfterStartUp,  // the first period after a start-up (flag 0): only part of it was metered
    NotSaved,      // never written: still the zeros the file was made with
};

struct ReportTag {
    int Number = 0;
    std::string Name;  // without padding
    TagUnits Units;
    bool Online = false;
    bool InTotal = false;  // counted in the site total
};

class StoreMonth {
public:
    std::string Path;  // as given (a local path or a path text)
    int Year = 0;
    int Month = 0;
    int Days = 0;  // days of the calendar month
    int PeriodsPerDay = 0;
    int TagCount = 0;              // tags 1..TagCount are saved
    std::vector<ReportTag> Tags;   // tag t at index t - 1

    const ReportTag& Tag(int tag) const { return Tags[static_cast<std::size_t>(tag - 1)]; }
    // day 1..Days, period 1..PeriodsPerDay, tag 1..TagCount.
    PeriodState State(int day, int period) const { return states_[Index(day, period)]; }
    int16_t Flag(int day, int period) const { return flags_[Index(day, period)]; }
    float Quantity(int day, int period, int tag) const
    {
        const std::size_t record = Index(day, period);
        if (record >= held_)
            return 0.0f;  // beyond the end of the file: never saved
        return values_[record * static_cast<std::size_t>(TagCount) + static_cast<std::size_t>(tag - 1)];
    }
    // The length of a period in hours: demand is quantity divided by it.
    double PeriodHours() const { return 24.0 / PeriodsPerDay; }
    // Minutes after midnight at which a period starts.
    int PeriodStartMinutes(int period) const { return (period - 1) * 1440 / PeriodsPerDay; }

private:
    friend std::string LoadStoreMonth(const std::string& path, StoreMonth& month, int fallbackYear,
                                      int fallbackMonth);

    std::vector<int16_t> flags_;  // per record of the month
    std::vector<PeriodState> states_;  // per record, judged once when read: every view asks often
    std::vector<float> values_;   // per record the file holds, tags 1..TagCount
    std::size_t held_ = 0;        // records the file holds, from the first
    std::size_t Index(int day, int period) const
    {
        return static_cast<std::size_t>((day - 1) * PeriodsPerDay + period - 1);
    }
};

// Reads a whole store file. The month comes from the file name ("...yymm.lum"); a file named
// otherwise takes fallbackYear and fallbackMonth. Gives "" when read, else why it cannot be.
std::string LoadStoreMonth(const std::string& path, StoreMonth& month, int fallbackYear, int fallbackMonth);

// The tags that are online, in number order.
std::vector<int> OnlineTags(const StoreMonth& month);
// What the charts show when no tags are asked for: the first online ones, as many as a chart can
// show readably (and draw quickly).
inline constexpr int DefaultChartTags = 6;
std::vector<int> DefaultChartTagList(const StoreMonth& month);
// Why a tag list cannot be shown from this month ("" when it can).
std::string TagListProblem(const StoreMonth& month, const std::vector<int>& tags);
