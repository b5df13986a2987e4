#include "files/GetSetupData.h"

#include "files/ByteFields.h"
#include "files/SetupFileLayout.h"
#include "platform/Files.h"
#include "support/Log.h"
#include "support/VbConvert.h"

namespace {

constexpr int16_t OldestLoadableVersion = 250;
constexpr int16_t OldestUpdatableVersion = 220;

const char* const SetupErrorText =
    "This is not an Voltaris version 2.2a setup. Please load your .MTG tag setup file into Voltaris Setup "
    "and save the file. After this update the Voltaris Monitor program will load successfully.";

// Sizing a table indexed from..to: a negative extent is a bad subscript, a huge one runs out of memory.
VbError CheckExtent(int64_t elements)
{
    if (elements > MaxSetupTableElements)
        return VbError(ErrOutOfMemory);
    return {};
}

std::string GridTypeText(const TagRecord& tag)
{
    if (tag.Online != 1)
        return "";
    if (tag.TagType == TagTypeMeasured)
        return ScanTypeLabel(tag.ScanType);
    if (tag.TagType == TagTypeDisplay)
        return (tag.DisplaySourceIsTag == 1 ? "Display - Tag " : "Display - Center ") +
               std::to_string(tag.DisplaySource);
    return "Unknown Tag Type";
}

// A maths group uses one operator family: term 0's operator records which (1 when term 1's
// operator is above 4), and operators of the other family are dropped.
void CorrectMathsOperators(TagRecord& tag)
{
    MathsTerm& family = tag.MathsTerms[0];
    for (int j = 1; j < StoredMathsTerms; ++j) {
        MathsTerm& term = tag.MathsTerms[static_cast<std::size_t>(j)];
        if (j == 1)
            family.TermOp = term.TermOp > 4 ? 1 : 0;
        if (family.TermOp == 1 && term.TermOp >= 1 && term.TermOp <= 4)
            term.TermOp = 0;
        if (family.TermOp == 0 && term.TermOp >= 5 && term.TermOp <= 7)
            term.TermOp = 0;
    }
}

} // namespace

SetupLoadResult GetSetupData(const std::string& setupMtgFile, const HostFolders& host, SetupData& setup,
                             SetupLoadView& view)
{
    // The monitor never writes this file, so it is opened for reading only (a read-only copy loads).
    const VbResult<std::string> file = ReadWholeFile(setupMtgFile);
    return LoadSetupFileBytes(file.Value, file.Error, host, setup, view);
}

SetupLoadResult LoadSetupFileBytes(std::string_view bytes, const VbError& openError, const HostFolders& host,
                                   SetupData& setup, SetupLoadView& view)
{
    FirstErrorReport errors("GetSetupData");

    view.ShowWait("Get Setup File Data");
    setup.MaxTags = SetupTagSlots;

    errors.Note(openError);
    ByteReader in(bytes);

    in.Int16(setup.SetupVersion);
    errors.Note(in.FirstError());
    if (setup.SetupVersion < OldestUpdatableVersion) {
        errors.Report();
        view.ShowMessage(SetupErrorText, "Setup error", MessageIcon::Information);
        view.EndProgram();
        return SetupLoadResult::ProgramEnds;
    }
    if (setup.SetupVersion < OldestLoadableVersion) {
        errors.Report();
        const std::string editor = host.TelvaneFolder() + "\\vt-setup.exe";
        if (FileExists(editor) || FileExists(editor.substr(0, editor.size() - 4)))
            view.StartProgram(editor, "/UpdateOnly");
        view.EndProgram();
        return SetupLoadResult::ProgramEnds;
    }

    in.Int16(setup.SetupInfoWord);
    in.Int16(setup.PeriodsPerDay);
    in.Int16(setup.TariffCount);
    in.Int16(setup.TariffEntryCount);
    in.Int16(setup.CenterCount);
    errors.Note(in.FirstError());

    const int n = setup.TariffCount;
    const int m = setup.TariffEntryCount;
    const int k = setup.CenterCount;

    // Sizing discards earlier contents; a table whose sizing fails (a negative count, or one no
    // file could fill) is left empty.
    auto size1 = [&](auto& table, int count, int64_t elements) {
        table.clear();
        const VbError e = count < 0 ? VbError(ErrSubscript) : CheckExtent(elements);
        errors.Note(e);
        if (!e.Failed())
            table.resize(static_cast<std::size_t>(elements));
    };
    auto size2 = [&](auto& table, int rowCount, int64_t rows, int columnCount, int64_t columns) {
        table.clear();
        const VbError e = (rowCount < 0 || columnCount < 0) ? VbError(ErrSubscript) : CheckExtent(rows * columns);
        errors.Note(e);
        if (e.Failed())
            return;
        table.resize(static_cast<std::size_t>(rows));
        for (auto& row : table)
            row.resize(static_cast<std::size_t>(columns));
    };
    size1(setup.Centers, k, int64_t{k} + 1);
    size2(setup.TagAuxEntries, SetupTagSlots, SetupTagSlots + 1, m, int64_t{m} + 1);
    size2(setup.TariffEntries, n, int64_t{n} + 1, m, int64_t{m} + 1);
    size1(setup.Tariffs, n, int64_t{n} + 1);
    setup.TagTable.assign(SetupTagSlots + 1, TagRecord{});

    for (int i = 0; i < n; ++i) {
        const auto slot = static_cast<std::size_t>(i);
        if (slot >= setup.Tariffs.size()) {
            in.Skip(TariffRecordSize(m));
            continue;
        }
        std::vector<TariffEntry>* entries = slot < setup.TariffEntries.size() ? &setup.TariffEntries[slot] : nullptr;
        // Past the end of a short file every read fails and changes nothing: step over in one go.
        if (in.Failed() && in.Position() >= in.Size())
            in.Skip(TariffRecordSize(m));
        else
            ReadTariffRecord(in, setup.Tariffs[slot], entries, m);
        if (entries)
            for (int e = 0; e < m && static_cast<std::size_t>(e) < entries->size(); ++e)
                if ((*entries)[static_cast<std::size_t>(e)].Percentage == 0)
                    (*entries)[static_cast<std::size_t>(e)].Percentage = 100.0F;
    }
    for (int p = 1; p <= PairTableCount; ++p)
        ReadPairTable(in, setup.PairTables[static_cast<std::size_t>(p)]);
    for (int c = 1; c <= k; ++c) {
        if (static_cast<std::size_t>(c) < setup.Centers.size() && !(in.Failed() && in.Position() >= in.Size()))
            ReadFields(in, setup.Centers[static_cast<std::size_t>(c)], CenterFields());
        else
            in.Skip(CenterSize);
    }
    errors.Note(in.FirstError());

    for (int i = 1; i <= SetupTagSlots; ++i) {
        view.SetWaitProgress(std::to_string(CInt(i / 200.0 * 100.0).Value) + "%");
        view.DoEvents();

        TagRecord& tag = setup.TagTable[static_cast<std::size_t>(i)];
        std::vector<AuxEntry>* aux = static_cast<std::size_t>(i) < setup.TagAuxEntries.size()
                                         ? &setup.TagAuxEntries[static_cast<std::size_t>(i)]
                                         : nullptr;
        ReadTagRecord(in, tag, aux, m);

        view.SetGridCell(i, 1, tag.Online == 1 ? tag.TagName : "Off Line");
        if (tag.DisplaySourceIsTag != 1)
            tag.DisplaySourceIsTag = 0;
        if (tag.DisplaySourceIsTag == 1 && (tag.DisplaySource < 1 || tag.DisplaySource > setup.MaxTags))
            tag.DisplaySource = 1;
        if (tag.DisplaySourceIsTag == 0 && (tag.DisplaySource < 0 || tag.DisplaySource > k))
            tag.DisplaySource = 0;
        view.SetGridCell(i, 4, GridTypeText(tag));
        if (tag.UnitsPerPulse == 0)
            tag.UnitsPerPulse = 1.0F;
        if (tag.ScanType == ScanTypeMaths)
            CorrectMathsOperators(tag);
    }
    errors.Note(in.FirstError());

    ByteReader fixed(bytes);
    fixed.Seek(FixedEntriesOffset);
    for (FixedEntry& entry : setup.FixedEntries)
        ReadFields(fixed, entry, FixedEntryFields());
    errors.Note(fixed.FirstError());

    errors.Report();
    return SetupLoadResult::Loaded;
}
