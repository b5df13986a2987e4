#include "files/StoreFileReader.h"

#include <algorithm>

#include "platform/Paths.h"
#include "support/VbText.h"

std::string OpenStoreFileForReading(const std::string& path, OpenedStoreFile& store)
{
    const std::string local = LocalPath(path).string();
    if (VbError e = store.File.OpenReadOnly(local))
        return "cannot open " + path + ": " + e.Description;
    const VbResult<int64_t> length = store.File.Length();
    if (!length.Ok() || length.Value < StoreNewFileLength)
        return path + " is not a store file: it is " + std::to_string(length.Ok() ? length.Value : 0) +
               " bytes long, shorter than a store file header";
    store.File.ReadHeader(store.Header);
    const std::string problem = StoreHeaderProblem(store.Header);
    if (!problem.empty())
        return path + " is not a store file: " + problem;
    store.TagCount = store.Header.MaxTags - 2 - store.Header.CenterCount;
    if (store.TagCount < 1)
        return path + " holds no tags: " + std::to_string(store.Header.MaxTags) + " tag slots less 2 less " +
               std::to_string(store.Header.CenterCount) + " centers leaves none (the monitor refuses such a file)";
    if (store.TagCount > store.Header.MaxTags)
        store.TagCount = store.Header.MaxTags;
    store.Layout = StoreLayout{store.Header.DataStart, store.Header.MaxTags, store.Header.PeriodsPerDay};
    if (length.Value < store.Header.DataStart - 1)
        return path + " is not a store file: it ends (" + std::to_string(length.Value) +
               " bytes) before its first period record";
    if (VbError e = store.File.ReadTagSummaries(store.Header, store.Tags))
        return path + ": cannot read the tag summaries: " + e.Description;
    return {};
}

bool StoreFileMonth(const std::string& path, int& year, int& month)
{
    const std::string name = LCase(PathFilePart(path));
    if (name.size() < 8 || name.compare(name.size() - 4, 4, ".lum") != 0)
        return false;
    const std::string digits = name.substr(name.size() - 8, 4);
    for (char c : digits)
        if (c < '0' || c > '9')
            return false;
    year = 2000 + std::stoi(digits.substr(0, 2));
    month = std::stoi(digits.substr(2, 2));
    return month >= 1 && month <= 12;
}

bool RecordHoldsNothing(int16_t flag, std::span<const float> values)
{
    return flag == 0 && std::all_of(values.begin(), values.end(), [](float v) { return v == 0.0F; });
}

std::string StoreTagName(const StoreTagSummary& summary)
{
    return Trim(CutAtNull(summary.TagName));
}
