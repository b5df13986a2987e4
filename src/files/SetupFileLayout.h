#pragma once
// The record layouts of the tag setup file, as tables of fields in file order. The loader, the
// .MTG writer, the store file's setup copy and the text description all go through these tables,
// so the layout is written down once.
#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "files/ByteFields.h"
#include "files/SetupData.h"

enum class FieldKind { Text, Int16, Int32, Int64, Float32 };

template <class R>
struct LayoutField {
    const char* Key;
    FieldKind Kind;
    int Length;  // bytes in the file
    std::variant<std::string R::*, int16_t R::*, int32_t R::*, int64_t R::*, float R::*> Member;
};

// Field tables, in file order.
std::span<const LayoutField<TariffRecord>> TariffFieldsBeforeEntries();
std::span<const LayoutField<TariffRecord>> TariffFieldsAfterEntries();
std::span<const LayoutField<TariffEntry>> TariffEntryFields();
std::span<const LayoutField<Center>> CenterFields();
std::span<const LayoutField<FixedEntry>> FixedEntryFields();
std::span<const LayoutField<PairTable>> PairTableNameFields();    // name and value; the pairs follow
std::span<const LayoutField<TagRecord>> TagFieldsBeforeTerms();   // TagName .. Setup23
std::span<const LayoutField<TagRecord>> TagFieldsAfterAux();      // CenterNo .. Setup29; Setup30 twice, Setup31, Setup32 follow

inline constexpr int StoredMathsTerms = 7;

template <class R>
void ReadFields(ByteReader& in, R& record, std::span<const LayoutField<R>> fields)
{
    for (const LayoutField<R>& f : fields) {
        std::visit(
            [&](auto member) {
                using T = std::remove_reference_t<decltype(record.*member)>;
                if constexpr (std::is_same_v<T, std::string>) in.Text(record.*member, static_cast<std::size_t>(f.Length));
                else if constexpr (std::is_same_v<T, int16_t>) in.Int16(record.*member);
                else if constexpr (std::is_same_v<T, int32_t>) in.Int32(record.*member);
                else if constexpr (std::is_same_v<T, int64_t>) in.Int64(record.*member);
                else in.Float32(record.*member);
            },
            f.Member);
    }
}

template <class R>
void WriteFields(ByteWriter& out, const R& record, std::span<const LayoutField<R>> fields)
{
    for (const LayoutField<R>& f : fields) {
        std::visit(
            [&](auto member) {
                using T = std::remove_cv_t<std::remove_reference_t<decltype(record.*member)>>;
                if constexpr (std::is_same_v<T, std::string>) out.Text(record.*member, static_cast<std::size_t>(f.Length));
                else if constexpr (std::is_same_v<T, int16_t>) out.Int16(record.*member);
                else if constexpr (std::is_same_v<T, int32_t>) out.Int32(record.*member);
                else if constexpr (std::is_same_v<T, int64_t>) out.Int64(record.*member);
                else out.Float32(record.*member);
            },
            f.Member);
    }
}

// Record sizes for the counts of a file (negative counts count as none).
int64_t TariffRecordSize(int entryCount);
int64_t TagRecordSize(int auxCount);

// Whole records. Entries / aux entries are read into the given table as far as it has room
// (the file position always moves over all count of them); on writing, missing ones are zeros.
// setup30FirstSlot receives / supplies the first of Setup30's two slots when given (by default
// both slots carry Setup30, and reading keeps the second).
void ReadTariffRecord(ByteReader& in, TariffRecord& record, std::vector<TariffEntry>* entries, int entryCount);
void WriteTariffRecord(ByteWriter& out, const TariffRecord& record, const std::vector<TariffEntry>* entries,
                       int entryCount);
void ReadPairTable(ByteReader& in, PairTable& table);
void WritePairTable(ByteWriter& out, const PairTable& table);
void ReadTagRecord(ByteReader& in, TagRecord& record, std::vector<AuxEntry>* aux, int auxCount,
                   int16_t* setup30FirstSlot = nullptr);
void WriteTagRecord(ByteWriter& out, const TagRecord& record, const std::vector<AuxEntry>* aux, int auxCount,
                    const int16_t* setup30FirstSlot = nullptr);
