#include "files/StoreFile.h"

#include <algorithm>

#include "files/ByteFields.h"
#include "files/GetSetupData.h"
#include "files/SetupFileLayout.h"

int64_t StoreSetupCopySize(int tariffCount, int tariffEntryCount, int centerCount, int maxTags)
{
    const int64_t n = tariffCount > 0 ? tariffCount : 0;
    const int64_t k = centerCount > 0 ? centerCount : 0;
    const int64_t tags = maxTags > 0 ? maxTags : 0;
    return n * TariffRecordSize(tariffEntryCount) + int64_t{PairTableCount} * PairTableSize + k * CenterSize +
           tags * (StoreTagSummarySize + StoreTagSpareSize) + int64_t{FixedEntryCount} * FixedEntrySize;
}

int64_t StoreTagBlockSize(int periodsPerDay) { return 8 + 12 * int64_t{periodsPerDay} + 48 + 96; }

int64_t StoreTagDataStart(int tariffCount, int tariffEntryCount, int centerCount, int maxTags)
{
    return StoreHeaderSize + StoreSetupCopySize(tariffCount, tariffEntryCount, centerCount, maxTags) + 1;
}

int64_t StoreDataStart(int64_t tagDataStart, int maxTags, int periodsPerDay)
{
    const int64_t afterTags = tagDataStart + int64_t{maxTags} * StoreTagBlockSize(periodsPerDay);
    const int64_t minimum = tagDataStart + int64_t{StoreTagDataMinimum} * maxTags;
    return minimum > afterTags ? minimum : afterTags;
}

VbError StoreFile::Open(const std::string& pathText)
{
    return file_.Open(pathText, RandomAccessFile::Mode::ReadWriteCreate);
}

VbError StoreFile::OpenReadOnly(const std::string& pathText)
{
    return file_.Open(pathText, RandomAccessFile::Mode::ReadOnly);
}

VbError StoreFile::ReadHeader(StoreHeader& header) const
{
    std::string bytes(StoreHeaderSize, '\0');
    if (VbError e = file_.ReadAt(0, bytes.data(), bytes.size()))
        return e;
    ByteReader in(bytes);
    in.Text(header.HeaderText, 50);
    in.Skip(10);
    in.Int16(header.MaxTags);
    in.Int16(header.SetupInfoWord);
    in.Int16(header.SetupVersion);
    in.Int16(header.PeriodsPerDay);
    in.Int16(header.TariffCount);
    in.Int16(header.TariffEntryCount);
    in.Int16(header.CurrencyChr);
    in.Int16(header.CenterCount);
    in.Seek(StoreOffsetTagDataStart);
    in.Int32(header.TagDataStart);
    in.Int32(header.DataStart);
    in.Int16(header.ShedMeter);
    in.Int16(header.UnShedMeter);
    return in.FirstError();
}

std::string StoreHeaderProblem(const StoreHeader& h)
{
    if (h.PeriodsPerDay != 24 && h.PeriodsPerDay != 48 && h.PeriodsPerDay != 96)
        return "periods per day is " + std::to_string(h.PeriodsPerDay) + " (24, 48 or 96 expected)";
    if (const std::optional<StoreHeaderFault> fault = StoreHeaderDamage(h))
        return fault->Field + " is " + std::to_string(fault->Value) + ", " + fault->Expected;
    // Positions never written: a file whose making stopped short, no file to read records from.
    if (h.TagDataStart == 0 && h.DataStart == 0)
        return "tag data start is 0, the dimensions give " +
               std::to_string(StoreTagDataStart(h.TariffCount, h.TariffEntryCount, h.CenterCount, h.MaxTags));
    return "";
}

VbResult<StoreLayout> StoreFile::ReadLayout() const
{
    VbResult<StoreLayout> r;
    StoreHeader header;
    r.Error = ReadHeader(header);
    if (r.Error.Failed())
        return r;
    if (!StoreHeaderProblem(header).empty()) {
        r.Error = VbError(ErrBadRecordLength);
        return r;
    }
    r.Value.DataStart = header.DataStart;
    r.Value.MaxTags = header.MaxTags;
    r.Value.PeriodsPerDay = header.PeriodsPerDay;
    return r;
}

VbError StoreFile::ReadTagSummaries(const StoreHeader& h, std::vector<StoreTagSummary>& tags) const
{
    tags.assign(h.MaxTags > 0 ? static_cast<std::size_t>(h.MaxTags) + 1 : 1, StoreTagSummary{});
    if (h.MaxTags < 1)
        return {};
    const int64_t offset = StoreHeaderSize + int64_t{h.TariffCount > 0 ? h.TariffCount : 0} *
                                                 TariffRecordSize(h.TariffEntryCount) +
                           int64_t{PairTableCount} * PairTableSize +
                           int64_t{h.CenterCount > 0 ? h.CenterCount : 0} * CenterSize;
    std::string bytes(static_cast<std::size_t>(h.MaxTags) * StoreTagSummarySize, '\0');
    if (VbError e = file_.ReadAt(offset, bytes.data(), bytes.size()))
        return e;
    ByteReader in(bytes);
    for (int t = 1; t <= h.MaxTags; ++t) {
        StoreTagSummary& s = tags[static_cast<std::size_t>(t)];
        int32_t repeated = 0;
        in.Text(s.TagName, 24);
        in.Int16(s.Online);
        in.Int16(s.TagType);
        in.Int16(s.ScanType);
        in.Int32(s.Setup1);
        in.Int16(s.Setup16);
        in.Int16(s.InTotal);
        in.Int16(s.CenterNo);
        for (int i = 0; i < 4; ++i)
            in.Int32(repeated);
        in.Int16(s.Setup31);
        in.Int32(s.Setup32);
    }
    return in.FirstError();
}

VbError StoreFile::CheckRecord(const StoreLayout& layout, int32_t record, int count) const
{
    if (record < 0 || record >= layout.RecordCount())
        return VbError(ErrBadRecordNumber);
    if (count < 0 || count > layout.MaxTags || layout.DataStart < 1)
        return VbError(ErrBadRecordLength);
    return {};
}

VbError StoreFile::ReadRecord(const StoreLayout& layout, int32_t record, int16_t& flag, std::vector<float>& values,
                              int count) const
{
    if (VbError e = CheckRecord(layout, record, count))
        return e;
    std::string bytes(2 + 4 * static_cast<std::size_t>(count), '\0');
    if (VbError e = file_.ReadAt(layout.RecordOffset(record), bytes.data(), bytes.size()))
        return e;
    flag = GetInt16At(bytes, 0);
    values.resize(static_cast<std::size_t>(count));
    for (int t = 0; t < count; ++t)
        values[static_cast<std::size_t>(t)] = GetFloat32At(bytes, 2 + 4 * static_cast<std::size_t>(t));
    return {};
}

VbError StoreFile::WriteRecord(const StoreLayout& layout, int32_t record, int16_t flag,
                               std::span<const float> values)
{
    if (VbError e = CheckRecord(layout, record, static_cast<int>(values.size())))
        return e;
    std::string bytes(2 + 4 * values.size(), '\0');
    PutInt16At(bytes, 0, flag);
    for (std::size_t t = 0; t < values.size(); ++t)
        PutFloat32At(bytes, 2 + 4 * t, values[t]);
    return file_.WriteAt(layout.RecordOffset(record), bytes);
}

std::optional<StoreHeaderFault> StoreHeaderDamage(const StoreHeader& h)
{
    // Each table is sized one above its count (slot 0), and none may exceed what a setup load allows.
    const int64_t limit = MaxSetupTableElements - 1;
    const std::string within = "where 0 to " + std::to_string(limit) + " can be held";
    auto fault = [](const char* field, int offset, int64_t value, std::string expected) {
        return StoreHeaderFault{field, offset, value, std::move(expected)};
    };
    if (h.MaxTags < 1 || h.MaxTags > limit)
        return fault("MaxTags", StoreOffsetMaxTags, h.MaxTags, "where 1 to " + std::to_string(limit) + " tag slots can be held");
    if (h.TariffCount < 0 || h.TariffCount > limit)
        return fault("TariffCount", 68, h.TariffCount, within);
    const int64_t rows = std::max<int64_t>(int64_t{h.TariffCount}, int64_t{h.MaxTags}) + 1;
    const int64_t entryLimit = MaxSetupTableElements / rows - 1;
    if (h.TariffEntryCount < 0 || h.TariffEntryCount > entryLimit)
        return fault("TariffEntryCount", 70, h.TariffEntryCount,
                     "where 0 to " + std::to_string(entryLimit) + " can be held with its other dimensions");
    if (h.CenterCount < 0 || h.CenterCount > limit)
        return fault("CenterCount", 74, h.CenterCount, within);
    if (h.TagDataStart == 0 && h.DataStart == 0)
        return std::nullopt;
    const int64_t tagDataStart = StoreTagDataStart(h.TariffCount, h.TariffEntryCount, h.CenterCount, h.MaxTags);
    if (h.TagDataStart != tagDataStart)
        return fault("TagDataStart", StoreOffsetTagDataStart, h.TagDataStart,
                     "where its dimensions give " + std::to_string(tagDataStart));
    const int64_t dataStart = StoreDataStart(tagDataStart, h.MaxTags, h.PeriodsPerDay);
    if (h.DataStart != dataStart)
        return fault("DataStart", StoreOffsetDataStart, h.DataStart,
                     "where its dimensions give " + std::to_string(dataStart));
    return std::nullopt;
}
