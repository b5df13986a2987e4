#include "files/SetupFileLayout.h"

#include <algorithm>

namespace {

template <class R>
LayoutField<R> Text(const char* key, int length, std::string R::*m) { return {key, FieldKind::Text, length, m}; }
template <class R>
LayoutField<R> I16(const char* key, int16_t R::*m) { return {key, FieldKind::Int16, 2, m}; }
template <class R>
LayoutField<R> I32(const char* key, int32_t R::*m) { return {key, FieldKind::Int32, 4, m}; }
template <class R>
LayoutField<R> I64(const char* key, int64_t R::*m) { return {key, FieldKind::Int64, 8, m}; }
template <class R>
LayoutField<R> F32(const char* key, float R::*m) { return {key, FieldKind::Float32, 4, m}; }

using TR = TariffRecord;
const LayoutField<TR> tariffHead[] = {
    Text("Text1", 20, &TR::Text1), Text("Text2", 10, &TR::Text2), Text("Text3", 20, &TR::Text3),
    Text("Text4", 10, &TR::Text4), I16("Value1", &TR::Value1), I16("Value2", &TR::Value2),
};
const LayoutField<TR> tariffTail[] = {
    Text("Text5", 20, &TR::Text5), Text("Text6", 20, &TR::Text6), Text("Text7", 20, &TR::Text7),
    Text("Text8", 10, &TR::Text8), Text("Text9", 10, &TR::Text9),
    I32("Value3", &TR::Value3), I16("Value4", &TR::Value4), I16("Value5", &TR::Value5),
    I32("Value6", &TR::Value6), I16("Value7", &TR::Value7), I16("Value8", &TR::Value8), I16("Value9", &TR::Value9),
    I32("Value10", &TR::Value10), I16("Value11", &TR::Value11), I32("Value12", &TR::Value12),
    I16("Value13", &TR::Value13), I16("Value14", &TR::Value14), I32("Value15", &TR::Value15),
    I16("Value16", &TR::Value16), Text("Text10", 10, &TR::Text10), I16("Value17", &TR::Value17),
    I32("Value18", &TR::Value18), I32("Value19", &TR::Value19), I32("Value20", &TR::Value20),
};

using TE = TariffEntry;
const LayoutField<TE> entryFields[] = {
    Text("Name", 30, &TE::Name), I16("Value1", &TE::Value1), I16("Value2", &TE::Value2), I16("Value3", &TE::Value3),
    I16("Value4", &TE::Value4), I16("Value5", &TE::Value5), I16("Value6", &TE::Value6), I32("Value7", &TE::Value7),
    I32("Value8", &TE::Value8), I16("Value9", &TE::Value9), I16("Value10", &TE::Value10),
    I32("Value11", &TE::Value11), F32("Percentage", &TE::Percentage), I32("Value12", &TE::Value12),
};

const LayoutField<Center> centerFields[] = {
    Text("Name", 20, &Center::Name), I16("Value1", &Center::Value1), I16("Value2", &Center::Value2),
    I16("Value3", &Center::Value3), I32("Value4", &Center::Value4), I64("Value5", &Center::Value5),
};

using FE = FixedEntry;
const LayoutField<FE> fixedFields[] = {
    Text("Name", 12, &FE::Name), I16("Value1", &FE::Value1), I16("Value2", &FE::Value2), I16("Value3", &FE::Value3),
    I16("Value4", &FE::Value4), I16("Value5", &FE::Value5), I16("Value6", &FE::Value6), I16("Value7", &FE::Value7),
    I32("Value8", &FE::Value8),
};

const LayoutField<PairTable> pairHead[] = {
    Text("Name", 20, &PairTable::Name), I16("Value", &PairTable::Value),
};

using TG = TagRecord;
const LayoutField<TG> tagHead[] = {
    Text("TagName", 24, &TG::TagName), I16("Online", &TG::Online), Text("SourceName", 24, &TG::SourceName),
    I16("TagType", &TG::TagType), I32("Setup1", &TG::Setup1), I16("Setup2", &TG::Setup2),
    I32("Setup3", &TG::Setup3), I32("Setup4", &TG::Setup4), I32("Setup5", &TG::Setup5), I32("Setup6", &TG::Setup6),
    I16("Setup7", &TG::Setup7), I16("Setup8", &TG::Setup8), I16("Setup9", &TG::Setup9), I16("Setup10", &TG::Setup10),
    I16("Setup11", &TG::Setup11), I32("Setup12", &TG::Setup12), I16("Setup13", &TG::Setup13),
    I16("Setup14", &TG::Setup14), I32("Setup15", &TG::Setup15), I16("Setup16", &TG::Setup16),
    I16("InTotal", &TG::InTotal), I16("HostTagNumber", &TG::HostTagNumber), I16("Setup17", &TG::Setup17),
    I16("RecorderNo", &TG::RecorderNo), I16("PageNo", &TG::PageNo), I16("LineNo", &TG::LineNo),
    I16("DisplaySourceIsTag", &TG::DisplaySourceIsTag), I16("DisplaySource", &TG::DisplaySource),
    I16("ScanType", &TG::ScanType), I16("Setup18", &TG::Setup18), I16("Setup19", &TG::Setup19),
    F32("UnitsPerPulse", &TG::UnitsPerPulse), F32("MaxRate", &TG::MaxRate), F32("RolloverValue", &TG::RolloverValue),
    I16("Setup20", &TG::Setup20), I16("Setup21", &TG::Setup21), I16("Setup22", &TG::Setup22),
    Text("SourceItem", 24, &TG::SourceItem), Text("Setup23", 12, &TG::Setup23),
};

const LayoutField<TG> tagTail[] = {
    I16("CenterNo", &TG::CenterNo), I16("Setup24", &TG::Setup24), I16("Setup25", &TG::Setup25),
    I16("Setup26", &TG::Setup26), I16("Setup27", &TG::Setup27), I16("Setup28", &TG::Setup28),
    I16("Setup29", &TG::Setup29),
};

int NonNegative(int count) { return count > 0 ? count : 0; }

} // namespace

std::span<const LayoutField<TariffRecord>> TariffFieldsBeforeEntries() { return tariffHead; }
std::span<const LayoutField<TariffRecord>> TariffFieldsAfterEntries() { return tariffTail; }
std::span<const LayoutField<TariffEntry>> TariffEntryFields() { return entryFields; }
std::span<const LayoutField<Center>> CenterFields() { return centerFields; }
std::span<const LayoutField<FixedEntry>> FixedEntryFields() { return fixedFields; }
std::span<const LayoutField<PairTable>> PairTableNameFields() { return pairHead; }
std::span<const LayoutField<TagRecord>> TagFieldsBeforeTerms() { return tagHead; }
std::span<const LayoutField<TagRecord>> TagFieldsAfterAux() { return tagTail; }

int64_t TariffRecordSize(int entryCount) { return TariffRecordBaseSize + int64_t{TariffEntrySize} * NonNegative(entryCount); }
int64_t TagRecordSize(int auxCount) { return TagRecordBaseSize + int64_t{AuxEntrySize} * NonNegative(auxCount); }

void ReadTariffRecord(ByteReader& in, TariffRecord& record, std::vector<TariffEntry>* entries, int entryCount)
{
    ReadFields(in, record, TariffFieldsBeforeEntries());
    const int held =
        entries ? static_cast<int>(std::min<std::size_t>(entries->size(), entryCount > 0 ? entryCount : 0)) : 0;
    for (int e = 0; e < held; ++e)
        ReadFields(in, (*entries)[static_cast<std::size_t>(e)], TariffEntryFields());
    if (entryCount > held)
        in.Skip(int64_t{TariffEntrySize} * (entryCount - held));
    ReadFields(in, record, TariffFieldsAfterEntries());
}

void WriteTariffRecord(ByteWriter& out, const TariffRecord& record, const std::vector<TariffEntry>* entries,
                       int entryCount)
{
    WriteFields(out, record, TariffFieldsBeforeEntries());
    const TariffEntry blank;
    for (int e = 0; e < entryCount; ++e) {
        const bool have = entries && static_cast<std::size_t>(e) < entries->size();
        WriteFields(out, have ? (*entries)[static_cast<std::size_t>(e)] : blank, TariffEntryFields());
    }
    WriteFields(out, record, TariffFieldsAfterEntries());
}

void ReadPairTable(ByteReader& in, PairTable& table)
{
    ReadFields(in, table, PairTableNameFields());
    for (PairValue& p : table.Pairs) {
        in.Int16(p.First);
        in.Int16(p.Second);
    }
}

void WritePairTable(ByteWriter& out, const PairTable& table)
{
    WriteFields(out, table, PairTableNameFields());
    for (const PairValue& p : table.Pairs) {
        out.Int16(p.First);
        out.Int16(p.Second);
    }
}

void ReadTagRecord(ByteReader& in, TagRecord& record, std::vector<AuxEntry>* aux, int auxCount,
                   int16_t* setup30FirstSlot)
{
    ReadFields(in, record, TagFieldsBeforeTerms());
    for (int j = 0; j < StoredMathsTerms; ++j) {
        MathsTerm& term = record.MathsTerms[static_cast<std::size_t>(j)];
        in.Int16(term.TermTag);
        in.Int16(term.TermOp);
        in.Float32(term.TermFactor);
    }
    const int held = aux ? static_cast<int>(std::min<std::size_t>(aux->size(), auxCount > 0 ? auxCount : 0)) : 0;
    std::string bytes;
    for (int e = 0; e < held; ++e)
        if (in.Text(bytes, AuxEntrySize))
            std::copy(bytes.begin(), bytes.end(), (*aux)[static_cast<std::size_t>(e)].begin());
    if (auxCount > held)
        in.Skip(int64_t{AuxEntrySize} * (auxCount - held));
    ReadFields(in, record, TagFieldsAfterAux());
    in.Int16(record.Setup30);
    if (setup30FirstSlot)
        *setup30FirstSlot = record.Setup30;
    in.Int16(record.Setup30);
    in.Int16(record.Setup31);
    in.Int32(record.Setup32);
}

void WriteTagRecord(ByteWriter& out, const TagRecord& record, const std::vector<AuxEntry>* aux, int auxCount,
                    const int16_t* setup30FirstSlot)
{
    WriteFields(out, record, TagFieldsBeforeTerms());
    for (int j = 0; j < StoredMathsTerms; ++j) {
        const MathsTerm& term = record.MathsTerms[static_cast<std::size_t>(j)];
        out.Int16(term.TermTag);
        out.Int16(term.TermOp);
        out.Float32(term.TermFactor);
    }
    for (int e = 0; e < auxCount; ++e) {
        if (aux && static_cast<std::size_t>(e) < aux->size())
            out.Bytes(std::string_view((*aux)[static_cast<std::size_t>(e)].data(), AuxEntrySize));
        else
            out.Zeros(AuxEntrySize);
    }
    WriteFields(out, record, TagFieldsAfterAux());
    out.Int16(setup30FirstSlot ? *setup30FirstSlot : record.Setup30);
    out.Int16(record.Setup30);
    out.Int16(record.Setup31);
    out.Int32(record.Setup32);
}
