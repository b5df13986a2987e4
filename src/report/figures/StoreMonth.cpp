#include "report/figures/StoreMonth.h"

#include <algorithm>
#include <span>

#include "files/StoreFileReader.h"
#include "platform/DateSerial.h"

namespace {

PeriodState StateOf(int16_t flag, std::span<const float> values)
{
    if (flag == 1)
        return PeriodState::Measured;
    // No monitor writes another flag: nothing there can be trusted for the figures (vt-store still
    // shows such a record, since it dumps what is there).
    if (flag != 0)
        return PeriodState::NotSaved;
    // A first period after start-up has metered something in at least one tag.
    return RecordHoldsNothing(flag, values) ? PeriodState::NotSaved : PeriodState::AfterStartUp;
}

} // namespace

std::string LoadStoreMonth(const std::string& path, StoreMonth& month, int fallbackYear, int fallbackMonth)
{
    OpenedStoreFile store;
    if (std::string problem = OpenStoreFileForReading(path, store); !problem.empty())
        return problem;
    StoreMonth m;
    m.Path = path;
    if (!StoreFileMonth(path, m.Year, m.Month)) {
        m.Year = fallbackYear;
        m.Month = fallbackMonth;
    }
    m.Days = DaysInMonth(m.Year, m.Month);
    m.PeriodsPerDay = store.Header.PeriodsPerDay;
    m.TagCount = store.TagCount;
    m.Tags.resize(static_cast<std::size_t>(m.TagCount));
    for (int t = 1; t <= m.TagCount; ++t) {
        const StoreTagSummary& summary = store.Tags[static_cast<std::size_t>(t)];
        ReportTag& tag = m.Tags[static_cast<std::size_t>(t - 1)];
        tag.Number = t;
        tag.Name = StoreTagName(summary);
        tag.Units = UnitsFromTagName(tag.Name);
        tag.Online = summary.Online == 1;
        tag.InTotal = summary.InTotal == 1;
    }
    const int records = m.Days * m.PeriodsPerDay;
    m.flags_.assign(static_cast<std::size_t>(records), 0);
    m.states_.assign(static_cast<std::size_t>(records), PeriodState::NotSaved);
    // Only the records the file holds are kept, so a header that claims thousands of tags costs no
    // more than the file's own bytes. A file cut short reads as never saved from where it ends;
    // a record counts as held when its flag and saved tags are there.
    const VbResult<int64_t> length = store.File.Length();
    const int64_t room = length.Ok() ? length.Value - store.Layout.RecordOffset(0) - (2 + 4 * int64_t{m.TagCount}) : -1;
    const int held = room < 0 ? 0 : static_cast<int>(std::min<int64_t>(records, room / store.Layout.RecordSize() + 1));
    m.held_ = static_cast<std::size_t>(held);
    m.values_.assign(m.held_ * static_cast<std::size_t>(m.TagCount), 0.0f);
    std::vector<float> values;
    for (int r = 0; r < held; ++r) {
        int16_t flag = 0;
        if (VbError e = store.File.ReadRecord(store.Layout, r, flag, values, m.TagCount))
            return path + ": record " + std::to_string(r) + " cannot be read: " + e.Description;
        m.flags_[static_cast<std::size_t>(r)] = flag;
        m.states_[static_cast<std::size_t>(r)] = StateOf(flag, values);
        std::copy(values.begin(), values.end(),
                  m.values_.begin() + static_cast<std::ptrdiff_t>(r) * m.TagCount);
    }
    month = std::move(m);
    return {};
}

std::vector<int> OnlineTags(const StoreMonth& month)
{
    std::vector<int> tags;
    for (const ReportTag& tag : month.Tags)
        if (tag.Online)
            tags.push_back(tag.Number);
    return tags;
}

std::vector<int> DefaultChartTagList(const StoreMonth& month)
{
    std::vector<int> tags = OnlineTags(month);
    if (tags.size() > static_cast<std::size_t>(DefaultChartTags))
        tags.resize(DefaultChartTags);
    return tags;
}

std::string TagListProblem(const StoreMonth& month, const std::vector<int>& tags)
{
    if (tags.empty())
        return "no tags to show";
    for (int t : tags)
        if (t < 1 || t > month.TagCount)
            return "tag " + std::to_string(t) + " is out of range: " + month.Path + " saves tags 1 to " +
                   std::to_string(month.TagCount);
    return {};
}
