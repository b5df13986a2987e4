#pragma once
// The monthly store file: a header, a copy of the tag setup, a per-tag section and one record per
// demand period (31 days of them), all at fixed places. The file is kept open across many record
// reads and writes (a period save writes one record; an import writes thousands).
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "files/RandomAccessFile.h"
#include "files/SetupData.h"

inline constexpr int StoreHeaderSize = 199;      // the setup copy starts here
inline constexpr int StoreNewFileLength = 200;   // a shorter file counts as new
inline constexpr int StoreTagSummarySize = 62;
inline constexpr int StoreTagSpareSize = 6;      // three int16 per tag, written as 0
inline constexpr int StoreTagDataMinimum = 728;  // per-tag room of 48 periods a day
inline constexpr int StoreDaysPerMonth = 31;

// Header offsets.
inline constexpr int StoreOffsetMaxTags = 60;
inline constexpr int StoreOffsetPeriodsPerDay = 66;
inline constexpr int StoreOffsetReserved = 99;
inline constexpr int StoreOffsetTagDataStart = 105;
inline constexpr int StoreOffsetDataStart = 109;
inline constexpr int StoreOffsetShedMeter = 113;

struct StoreHeader {
    std::string HeaderText = std::string(50, '\0');
    int16_t MaxTags = 0;
    int16_t SetupInfoWord = 0;
    int16_t SetupVersion = 0;
    int16_t PeriodsPerDay = 0;
    int16_t TariffCount = 0;
    int16_t TariffEntryCount = 0;
    int16_t CurrencyChr = 0;
    int16_t CenterCount = 0;
    int32_t TagDataStart = 0;  // 1-based
    int32_t DataStart = 0;     // 1-based
    int16_t ShedMeter = 0;
    int16_t UnShedMeter = 0;
};

// The tag summary of the setup copy.
struct StoreTagSummary {
    std::string TagName;
    int16_t Online = 0;
    int16_t TagType = 0;
    int16_t ScanType = 0;
    int32_t Setup1 = 0;
    int16_t Setup16 = 0;
    int16_t InTotal = 0;
    int16_t CenterNo = 0;
    int16_t Setup31 = 0;
    int32_t Setup32 = 0;
};

// Sizes and places that follow from a file's dimensions.
int64_t StoreSetupCopySize(int tariffCount, int tariffEntryCount, int centerCount, int maxTags);
int64_t StoreTagBlockSize(int periodsPerDay);  // one tag's share of the per-tag section
// 1-based positions as the header holds them.
int64_t StoreTagDataStart(int tariffCount, int tariffEntryCount, int centerCount, int maxTags);
int64_t StoreDataStart(int64_t tagDataStart, int maxTags, int periodsPerDay);

// Where the period records of one file lie.
struct StoreLayout {
    int32_t DataStart = 0;    // 1-based position of record 0
    int16_t MaxTags = 0;
    int16_t PeriodsPerDay = 0;

    int64_t RecordSize() const { return 4 * int64_t{MaxTags} + 4; }
    int64_t RecordOffset(int32_t record) const { return int64_t{DataStart} - 1 + record * RecordSize(); }
    int32_t RecordCount() const { return StoreDaysPerMonth * PeriodsPerDay; }
    // Bytes of a record that are ever written: the flag and MaxTags values.
    int64_t RecordBytes() const { return 2 + 4 * int64_t{MaxTags}; }
    // The file's length once every record has been written.
    int64_t FileLength() const { return RecordOffset(RecordCount() - 1) + RecordBytes(); }
};

class StoreFile {
public:
    // Read-write; a missing file is created empty.
    VbError Open(const std::string& pathText);
    VbError OpenReadOnly(const std::string& pathText);
    void Close() { file_.Close(); }
    bool IsOpen() const { return file_.IsOpen(); }

    VbResult<int64_t> Length() const { return file_.Length(); }
    VbError ReadHeader(StoreHeader& header) const;
    // The layout of this file's records from its header; error 59 when the header cannot describe one.
    VbResult<StoreLayout> ReadLayout() const;
    VbError ReadTagSummaries(const StoreHeader& header, std::vector<StoreTagSummary>& tags) const;

    // Flag and the first count tag values of a record (tags 1..count).
    VbError ReadRecord(const StoreLayout& layout, int32_t record, int16_t& flag, std::vector<float>& values,
                       int count) const;
    // Flag and values for tags 1..values.size(), in one write; the slots above are left as they are.
    VbError WriteRecord(const StoreLayout& layout, int32_t record, int16_t flag, std::span<const float> values);
    VbError Flush() { return file_.Flush(); }

    RandomAccessFile& Raw() { return file_; }

private:
    VbError CheckRecord(const StoreLayout& layout, int32_t record, int count) const;

    RandomAccessFile file_;
};

// Whether a header describes a store file this program can read and write records of: its periods
// per day, no damage (below) and positions written. The text says what is wrong.
std::string StoreHeaderProblem(const StoreHeader& header);

// A header field of an existing store file that cannot be right: a dimension the monitor's tables
// cannot hold or the format cannot have, or a position its dimensions contradict.
struct StoreHeaderFault {
    std::string Field;  // the field's name, as the header table names it
    int Offset = 0;     // where it lies in the header
    int64_t Value = 0;
    std::string Expected;  // what it would have to be, in words
};
// The first such field, in header order and dimensions before positions. Positions that were never
// written (both 0) are no fault: the check of the file at start-up writes them.
std::optional<StoreHeaderFault> StoreHeaderDamage(const StoreHeader& header);
