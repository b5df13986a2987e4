#include "files/UpdateSetupData.h"

#include "files/ByteFields.h"
#include "files/SetupFileLayout.h"
#include "support/Log.h"

namespace {

// Tables must hold what the counts promise before their copy is written.
bool TablesMatchCounts(const SetupData& s)
{
    if (s.TariffCount < 0 || s.TariffEntryCount < 0 || s.CenterCount < 0 || s.MaxTags < 1)
        return false;
    return s.Centers.size() >= static_cast<std::size_t>(s.CenterCount) + 1 &&
           s.Tariffs.size() >= static_cast<std::size_t>(s.TariffCount) &&
           s.TagTable.size() >= static_cast<std::size_t>(s.MaxTags) + 1;
}

std::string HeaderBytes(const StoreContext& c)
{
    const SetupData& s = c.Setup;
    ByteWriter out;
    out.Bytes(c.Settings.headertext.substr(0, 50));
    out.Zeros(50 - std::min<std::size_t>(c.Settings.headertext.size(), 50));
    out.Zeros(8);
    out.Int16(0);
    out.Int16(s.MaxTags);
    out.Int16(s.SetupInfoWord);
    out.Int16(s.SetupVersion);
    out.Int16(s.PeriodsPerDay);
    out.Int16(s.TariffCount);
    out.Int16(s.TariffEntryCount);
    out.Int16(c.Settings.currencychr);
    out.Int16(s.CenterCount);
    return out.Buffer();
}

// Setup copy followed by the per-tag section: everything from offset 199 up to the records.
std::string SetupCopyAndTagBytes(const StoreContext& c)
{
    const SetupData& s = c.Setup;
    ByteWriter out;
    for (int i = 0; i < s.TariffCount; ++i) {
        const auto slot = static_cast<std::size_t>(i);
        const std::vector<TariffEntry>* entries = slot < s.TariffEntries.size() ? &s.TariffEntries[slot] : nullptr;
        WriteTariffRecord(out, s.Tariffs[slot], entries, s.TariffEntryCount);
    }
    for (int p = 1; p <= PairTableCount; ++p)
        WritePairTable(out, s.PairTables[static_cast<std::size_t>(p)]);
    for (int k = 1; k <= s.CenterCount; ++k)
        WriteFields(out, s.Centers[static_cast<std::size_t>(k)], CenterFields());
    for (int t = 1; t <= s.MaxTags; ++t) {
        const TagRecord& tag = s.TagTable[static_cast<std::size_t>(t)];
        out.Text(tag.TagName, 24);
        out.Int16(tag.Online);
        out.Int16(tag.TagType);
        out.Int16(tag.ScanType);
        out.Int32(tag.Setup1);
        out.Int16(tag.Setup16);
        out.Int16(tag.InTotal);
        out.Int16(tag.CenterNo);
        for (int i = 0; i < 4; ++i)
            out.Int32(tag.Setup32);
        out.Int16(tag.Setup31);
        out.Int32(tag.Setup32);
    }
    out.Zeros(static_cast<std::size_t>(s.MaxTags) * StoreTagSpareSize);
    for (const FixedEntry& entry : s.FixedEntries)
        WriteFields(out, entry, FixedEntryFields());

    const std::size_t zerosAfterTime = static_cast<std::size_t>(StoreTagBlockSize(s.PeriodsPerDay)) - 8;
    for (int t = 1; t <= s.MaxTags; ++t) {
        const auto slot = static_cast<std::size_t>(t);
        out.Float64(slot < c.Values.size() ? c.Values[slot].LastReadTime : 0.0);
        out.Zeros(zerosAfterTime);
    }
    return out.Buffer();
}

} // namespace

void UpdateSetupData(StoreContext& c, StoreFile& file)
{
    SetupData& s = c.Setup;
    c.View.ShowWait("Update Store File");
    c.View.DoEvents();

    const VbResult<int64_t> length = file.Length();
    if (!length.Ok()) {
        ReportError("UpdateSetupData", length.Error);
        return;
    }
    const bool isNew = length.Value < StoreNewFileLength;
    if (!isNew) {
        StoreHeader stored;
        if (VbError e = file.ReadHeader(stored)) {
            ReportError("UpdateSetupData", e);
            return;
        }
        if (stored.MaxTags != s.MaxTags || stored.CenterCount != s.CenterCount ||
            stored.TariffEntryCount != s.TariffEntryCount || stored.TariffCount != s.TariffCount)
            return;
    }
    if (!TablesMatchCounts(s) || (s.PeriodsPerDay != 24 && s.PeriodsPerDay != 48 && s.PeriodsPerDay != 96)) {
        ReportError("UpdateSetupData", VbError(ErrSubscript));
        return;
    }

    const int64_t tagDataStart = StoreTagDataStart(s.TariffCount, s.TariffEntryCount, s.CenterCount, s.MaxTags);
    const int64_t dataStart = StoreDataStart(tagDataStart, s.MaxTags, s.PeriodsPerDay);
    s.TagDataStart = static_cast<int32_t>(tagDataStart);
    s.DataStart = static_cast<int32_t>(dataStart);

    ByteWriter positions;  // offsets 99 to 116
    positions.Zeros(6);
    positions.Int32(s.TagDataStart);
    positions.Int32(s.DataStart);
    positions.Int16(c.Settings.ShedMeter);
    positions.Int16(c.Settings.UnShedMeter);

    // The header goes first, so a new file reaches the length of an existing one only once its
    // header is complete.
    RandomAccessFile& raw = file.Raw();
    VbError e = raw.WriteAt(0, HeaderBytes(c));
    if (!e) e = raw.WriteAt(StoreOffsetReserved, positions.Buffer());
    if (!e) e = raw.WriteAt(StoreHeaderSize, SetupCopyAndTagBytes(c));
    if (!e && isNew) {
        const StoreLayout layout{s.DataStart, s.MaxTags, s.PeriodsPerDay};
        e = raw.WriteZerosAt(layout.RecordOffset(0), layout.FileLength() - layout.RecordOffset(0));
    }
    if (!e) e = file.Flush();
    if (e)
        ReportError("UpdateSetupData", e);
}
