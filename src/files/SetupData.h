#pragma once
// The tag setup as held in memory: the tables loaded from the tag setup file (.MTG) and the
// program-wide counts. Owned by the caller (the main window) and passed by reference, so tests
// can hold several. Tables are indexed as the file numbers them: tags 1..MaxTags with slot 0
// unused, centers 1..K, pair tables 1..20, tariffs and fixed entries from 0.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

inline constexpr int SetupTagSlots = 200;           // tag records in every tag setup file
inline constexpr int PairTableCount = 20;
inline constexpr int FixedEntryCount = 67;
inline constexpr int64_t FixedEntriesOffset = 112196;  // fixed entries sit here whatever comes before
inline constexpr int AuxEntrySize = 8;

// Lengths of the records in the file.
inline constexpr int TariffRecordBaseSize = 206;    // plus 66 per tariff entry
inline constexpr int TariffEntrySize = 66;
inline constexpr int PairTableSize = 62;
inline constexpr int CenterSize = 38;
inline constexpr int FixedEntrySize = 30;
inline constexpr int TagRecordBaseSize = 254;       // plus 8 per aux entry
inline constexpr int SetupHeaderSize = 12;

// Scan types with a meaning of their own to the monitor.
inline constexpr int16_t ScanTypeMaths = 8;
inline constexpr int16_t ScanTypeFromLogFile = 25;
inline constexpr int16_t TagTypeMeasured = 1;
inline constexpr int16_t TagTypeDisplay = 3;

struct TariffEntry {
    std::string Name = std::string(30, ' ');
    int16_t Value1 = 0, Value2 = 0, Value3 = 0, Value4 = 0, Value5 = 0, Value6 = 0;
    int32_t Value7 = 0, Value8 = 0;
    int16_t Value9 = 0, Value10 = 0;
    int32_t Value11 = 0;
    float Percentage = 0;
    int32_t Value12 = 0;
};

// A tariff without its entries (they are the separate table SetupData::TariffEntries).
struct TariffRecord {
    std::string Text1 = std::string(20, ' '), Text2 = std::string(10, ' ');
    std::string Text3 = std::string(20, ' '), Text4 = std::string(10, ' ');
    int16_t Value1 = 0, Value2 = 0;
    // the entries lie here in the file
    std::string Text5 = std::string(20, ' '), Text6 = std::string(20, ' '), Text7 = std::string(20, ' ');
    std::string Text8 = std::string(10, ' '), Text9 = std::string(10, ' ');
    int32_t Value3 = 0;
    int16_t Value4 = 0, Value5 = 0;
    int32_t Value6 = 0;
    int16_t Value7 = 0, Value8 = 0, Value9 = 0;
    int32_t Value10 = 0;
    int16_t Value11 = 0;
    int32_t Value12 = 0;
    int16_t Value13 = 0, Value14 = 0;
    int32_t Value15 = 0;
    int16_t Value16 = 0;
    std::string Text10 = std::string(10, ' ');
    int16_t Value17 = 0;
    int32_t Value18 = 0, Value19 = 0, Value20 = 0;
};

struct PairValue {
    int16_t First = 0;
    int16_t Second = 0;
};

struct PairTable {
    std::string Name = std::string(20, ' ');
    int16_t Value = 0;
    std::array<PairValue, 10> Pairs{};
};

struct Center {
    std::string Name = std::string(20, ' ');
    int16_t Value1 = 0, Value2 = 0, Value3 = 0;
    int32_t Value4 = 0;
    int64_t Value5 = 0;
};

struct FixedEntry {
    std::string Name = std::string(12, ' ');
    int16_t Value1 = 0, Value2 = 0, Value3 = 0, Value4 = 0, Value5 = 0, Value6 = 0, Value7 = 0;
    int32_t Value8 = 0;
};

struct MathsTerm {
    int16_t TermTag = 0;
    int16_t TermOp = 0;
    float TermFactor = 0;
};

// One per-tag entry the setup editor keeps; carried as its 8 bytes.
using AuxEntry = std::array<char, AuxEntrySize>;

struct TagRecord {
    std::string TagName = std::string(24, ' ');
    int16_t Online = 0;
    std::string SourceName = std::string(24, ' ');
    int16_t TagType = 0;
    int32_t Setup1 = 0;
    int16_t Setup2 = 0;
    int32_t Setup3 = 0, Setup4 = 0, Setup5 = 0, Setup6 = 0;
    int16_t Setup7 = 0, Setup8 = 0, Setup9 = 0, Setup10 = 0, Setup11 = 0;
    int32_t Setup12 = 0;
    int16_t Setup13 = 0, Setup14 = 0;
    int32_t Setup15 = 0;
    int16_t Setup16 = 0;
    int16_t InTotal = 0;
    int16_t HostTagNumber = 0;
    int16_t Setup17 = 0;
    int16_t RecorderNo = 0;
    int16_t PageNo = 0;
    int16_t LineNo = 0;
    int16_t DisplaySourceIsTag = 0;
    int16_t DisplaySource = 0;
    int16_t ScanType = 0;
    int16_t Setup18 = 0, Setup19 = 0;
    float UnitsPerPulse = 0;
    float MaxRate = 0;
    float RolloverValue = 0;
    int16_t Setup20 = 0, Setup21 = 0, Setup22 = 0;
    std::string SourceItem = std::string(24, ' ');
    std::string Setup23 = std::string(12, ' ');
    // Terms 0..6 are stored; slot 7 lives only in memory.
    std::array<MathsTerm, 8> MathsTerms{};
    // the aux entries lie here in the file (SetupData::TagAuxEntries)
    int16_t CenterNo = 0;
    int16_t Setup24 = 0, Setup25 = 0, Setup26 = 0, Setup27 = 0, Setup28 = 0, Setup29 = 0;
    int16_t Setup30 = 0;
    int16_t Setup31 = 0;
    int32_t Setup32 = 0;
};

struct SetupData {
    // File header.
    int16_t SetupVersion = 0;
    int16_t SetupInfoWord = 0;
    int16_t PeriodsPerDay = 0;
    int16_t TariffCount = 0;       // N
    int16_t TariffEntryCount = 0;  // M: entries per tariff and aux entries per tag
    int16_t CenterCount = 0;       // K

    // Tag slots: 200, or the value in the current store file's header.
    int16_t MaxTags = SetupTagSlots;
    // Tag numbers scanned and saved: MaxTags - 2 - CenterCount.
    int16_t TagCount = 0;
    // 1-based file positions of the current store file's per-tag section and period record 0.
    int32_t TagDataStart = 0;
    int32_t DataStart = 0;

    std::vector<TariffRecord> Tariffs;                     // 0..N (0..N-1 loaded)
    std::vector<std::vector<TariffEntry>> TariffEntries;   // (0..N, 0..M)
    std::array<PairTable, PairTableCount + 1> PairTables{};  // 1..20
    std::vector<Center> Centers;                           // 1..K
    std::vector<TagRecord> TagTable;                       // 0..MaxTags
    std::vector<std::vector<AuxEntry>> TagAuxEntries;      // (0..MaxTags, 0..M)
    std::array<FixedEntry, FixedEntryCount> FixedEntries{};  // 0..66
};
