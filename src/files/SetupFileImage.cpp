#include "files/SetupFileImage.h"

#include <algorithm>

#include "files/ByteFields.h"
#include "files/GetSetupData.h"
#include "files/SetupFileLayout.h"

namespace {

int NonNegative(int v) { return v > 0 ? v : 0; }

constexpr int64_t FixedEntriesEnd = FixedEntriesOffset + int64_t{FixedEntryCount} * FixedEntrySize;

} // namespace

int64_t SetupTagSectionEnd(int tariffCount, int tariffEntryCount, int centerCount)
{
    return SetupHeaderSize + NonNegative(tariffCount) * TariffRecordSize(tariffEntryCount) +
           int64_t{PairTableCount} * PairTableSize + NonNegative(centerCount) * int64_t{CenterSize} +
           int64_t{SetupTagSlots} * TagRecordSize(tariffEntryCount);
}

std::string SetupCountsProblem(int tariffCount, int tariffEntryCount, int centerCount)
{
    // The loader's own limits: a file beyond them never loads without an error report.
    const int64_t n = NonNegative(tariffCount), m = NonNegative(tariffEntryCount), k = NonNegative(centerCount);
    if ((n + 1) * (m + 1) > MaxSetupTableElements || int64_t{SetupTagSlots + 1} * (m + 1) > MaxSetupTableElements ||
        k + 1 > MaxSetupTableElements)
        return std::to_string(tariffCount) + " tariffs of " + std::to_string(tariffEntryCount) + " entries and " +
               std::to_string(centerCount) + " centers need tables larger than the monitor loads (at most " +
               std::to_string(MaxSetupTableElements) + " elements each)";
    return {};
}

void SizeSetupImage(SetupFileImage& image)
{
    SetupData& d = image.Data;
    const auto n = static_cast<std::size_t>(NonNegative(d.TariffCount));
    const auto m = static_cast<std::size_t>(NonNegative(d.TariffEntryCount));
    const auto k = static_cast<std::size_t>(NonNegative(d.CenterCount));
    d.Tariffs.resize(n);
    d.TariffEntries.resize(n);
    for (auto& row : d.TariffEntries)
        row.resize(m);
    d.Centers.resize(k + 1);
    d.TagTable.resize(SetupTagSlots + 1);
    d.TagAuxEntries.resize(SetupTagSlots + 1);
    for (auto& row : d.TagAuxEntries)
        row.resize(m, AuxEntry{});
}

VbResult<SetupFileImage> DecodeSetupFile(std::string_view bytes)
{
    VbResult<SetupFileImage> r;
    SetupFileImage& image = r.Value;
    SetupData& d = image.Data;
    ByteReader in(bytes);
    in.Int16(d.SetupVersion);
    in.Int16(d.SetupInfoWord);
    in.Int16(d.PeriodsPerDay);
    in.Int16(d.TariffCount);
    in.Int16(d.TariffEntryCount);
    in.Int16(d.CenterCount);
    if (in.Failed()) {
        r.Error = VbError(ErrInputPastEnd, "it is shorter than the 12-byte header");
        return r;
    }
    // The length first: it is what tells most other files from a tag setup file.
    if (static_cast<int64_t>(bytes.size()) < FixedEntriesEnd) {
        r.Error = VbError(ErrInputPastEnd, "it is " + std::to_string(bytes.size()) +
                                               " bytes long; a tag setup file holds at least " +
                                               std::to_string(FixedEntriesEnd) +
                                               " (its fixed entries lie at offset 112196)");
        return r;
    }
    if (std::string problem = SetupCountsProblem(d.TariffCount, d.TariffEntryCount, d.CenterCount); !problem.empty()) {
        r.Error = VbError(ErrOutOfMemory, problem);
        return r;
    }
    const int64_t tagEnd = SetupTagSectionEnd(d.TariffCount, d.TariffEntryCount, d.CenterCount);
    if (static_cast<int64_t>(bytes.size()) < tagEnd) {
        r.Error = VbError(ErrInputPastEnd, "it is " + std::to_string(bytes.size()) +
                                               " bytes long; its counts put the end of its tag records at " +
                                               std::to_string(tagEnd));
        return r;
    }
    SizeSetupImage(image);
    const int m = d.TariffEntryCount;
    for (int i = 0; i < d.TariffCount; ++i)
        ReadTariffRecord(in, d.Tariffs[static_cast<std::size_t>(i)], &d.TariffEntries[static_cast<std::size_t>(i)], m);
    for (int p = 1; p <= PairTableCount; ++p)
        ReadPairTable(in, d.PairTables[static_cast<std::size_t>(p)]);
    for (int c = 1; c <= d.CenterCount; ++c)
        ReadFields(in, d.Centers[static_cast<std::size_t>(c)], CenterFields());
    for (int t = 1; t <= SetupTagSlots; ++t) {
        int16_t first = 0;
        TagRecord& tag = d.TagTable[static_cast<std::size_t>(t)];
        ReadTagRecord(in, tag, &d.TagAuxEntries[static_cast<std::size_t>(t)], m, &first);
        if (first != tag.Setup30)
            image.Setup30FirstSlot[static_cast<std::size_t>(t)] = first;
    }
    if (tagEnd < FixedEntriesOffset) {
        const std::string_view gap = bytes.substr(static_cast<std::size_t>(tagEnd),
                                                  static_cast<std::size_t>(FixedEntriesOffset - tagEnd));
        if (gap.find_first_not_of('\0') != std::string_view::npos)
            image.Gap = std::string(gap);
    }
    // Read from their own offset, even where the records above reach over them.
    in.Seek(FixedEntriesOffset);
    for (FixedEntry& entry : d.FixedEntries)
        ReadFields(in, entry, FixedEntryFields());
    image.Trailer = std::string(bytes.substr(static_cast<std::size_t>(std::max(tagEnd, FixedEntriesEnd))));
    return r;
}

VbResult<std::string> EncodeSetupFile(const SetupFileImage& image)
{
    VbResult<std::string> r;
    const SetupData& d = image.Data;
    if (std::string problem = SetupCountsProblem(d.TariffCount, d.TariffEntryCount, d.CenterCount); !problem.empty()) {
        r.Error = VbError(ErrOutOfMemory, problem);
        return r;
    }
    const int64_t tagEnd = SetupTagSectionEnd(d.TariffCount, d.TariffEntryCount, d.CenterCount);
    ByteWriter out;
    out.Buffer().reserve(static_cast<std::size_t>(std::max(tagEnd, FixedEntriesEnd)) + image.Trailer.size());
    out.Int16(d.SetupVersion);
    out.Int16(d.SetupInfoWord);
    out.Int16(d.PeriodsPerDay);
    out.Int16(d.TariffCount);
    out.Int16(d.TariffEntryCount);
    out.Int16(d.CenterCount);
    const TariffRecord blankTariff;
    const Center blankCenter;
    const TagRecord blankTag;
    for (int i = 0; i < d.TariffCount; ++i) {
        const auto slot = static_cast<std::size_t>(i);
        WriteTariffRecord(out, slot < d.Tariffs.size() ? d.Tariffs[slot] : blankTariff,
                          slot < d.TariffEntries.size() ? &d.TariffEntries[slot] : nullptr, d.TariffEntryCount);
    }
    for (int p = 1; p <= PairTableCount; ++p)
        WritePairTable(out, d.PairTables[static_cast<std::size_t>(p)]);
    for (int c = 1; c <= d.CenterCount; ++c) {
        const auto slot = static_cast<std::size_t>(c);
        WriteFields(out, slot < d.Centers.size() ? d.Centers[slot] : blankCenter, CenterFields());
    }
    for (int t = 1; t <= SetupTagSlots; ++t) {
        const auto slot = static_cast<std::size_t>(t);
        const std::optional<int16_t>& first = image.Setup30FirstSlot[slot];
        WriteTagRecord(out, slot < d.TagTable.size() ? d.TagTable[slot] : blankTag,
                       slot < d.TagAuxEntries.size() ? &d.TagAuxEntries[slot] : nullptr, d.TariffEntryCount,
                       first ? &*first : nullptr);
    }
    if (tagEnd <= FixedEntriesOffset) {
        const auto gapLength = static_cast<std::size_t>(FixedEntriesOffset - tagEnd);
        out.Bytes(std::string_view(image.Gap).substr(0, gapLength));
        if (image.Gap.size() < gapLength)
            out.Zeros(gapLength - image.Gap.size());
    }
    // Where the records reach over the fixed entries their bytes stand; the entries fill the rest.
    ByteWriter fixed;
    for (const FixedEntry& entry : d.FixedEntries)
        WriteFields(fixed, entry, FixedEntryFields());
    const auto covered = static_cast<std::size_t>(std::max<int64_t>(0, tagEnd - FixedEntriesOffset));
    if (covered < fixed.Size())
        out.Bytes(std::string_view(fixed.Buffer()).substr(covered));
    out.Bytes(image.Trailer);
    r.Value = std::move(out.Buffer());
    return r;
}
