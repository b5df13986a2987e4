#pragma once
// The tag setup file a fuzz input stands for.
//
// Input: the file's first bytes, header included. An input of even length is a whole file with
// counts the fuzzer chooses among small ones (up to 15 tariffs, 39 entries, 63 centers: its header
// counts taken modulo those), completed with the bytes of a blank file of those counts (blank
// texts, zero numbers) up to the length they need: a short input is a whole file whose untouched
// records cost little, and a run takes about a millisecond. An input of odd length is the file as
// it is, so any counts and cut files stay reachable.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "files/ByteFields.h"
#include "files/SetupFileImage.h"
#include "files/SetupFileLayout.h"

// The bytes of a blank file with these counts, assembled from blank records made once.
inline std::string BlankFile(int tariffs, int entries, int centers)
{
    struct Blanks {
        std::array<std::string, 40> Tariff, Tag;  // by entry count
        std::string Pairs, Center, Fixed;
    };
    static const Blanks blanks = [] {
        Blanks b;
        for (int m = 0; m < 40; ++m) {
            ByteWriter tariff, tag;
            const std::vector<TariffEntry> entries(static_cast<std::size_t>(m));
            const std::vector<AuxEntry> aux(static_cast<std::size_t>(m), AuxEntry{});
            WriteTariffRecord(tariff, TariffRecord{}, &entries, m);
            WriteTagRecord(tag, TagRecord{}, &aux, m);
            b.Tariff[static_cast<std::size_t>(m)] = tariff.Buffer();
            b.Tag[static_cast<std::size_t>(m)] = tag.Buffer();
        }
        ByteWriter pairs, center, fixed;
        for (int p = 0; p < PairTableCount; ++p)
            WritePairTable(pairs, PairTable{});
        WriteFields(center, Center{}, CenterFields());
        for (int f = 0; f < FixedEntryCount; ++f)
            WriteFields(fixed, FixedEntry{}, FixedEntryFields());
        b.Pairs = pairs.Buffer();
        b.Center = center.Buffer();
        b.Fixed = fixed.Buffer();
        return b;
    }();
    std::string file(SetupHeaderSize, '\0');
    for (int i = 0; i < tariffs; ++i)
        file += blanks.Tariff[static_cast<std::size_t>(entries)];
    file += blanks.Pairs;
    for (int c = 0; c < centers; ++c)
        file += blanks.Center;
    for (int t = 0; t < SetupTagSlots; ++t)
        file += blanks.Tag[static_cast<std::size_t>(entries)];
    // As the file is written: the records' bytes stand where they reach over the fixed entries.
    if (file.size() < static_cast<std::size_t>(FixedEntriesOffset))
        file.resize(static_cast<std::size_t>(FixedEntriesOffset), '\0');
    const std::size_t covered = file.size() - static_cast<std::size_t>(FixedEntriesOffset);
    if (covered < blanks.Fixed.size())
        file.append(blanks.Fixed, covered);
    return file;
}

// Fills bytes (kept by the caller from run to run, so its room is reused) with the file of an input.
inline void SetupFileFromInput(const uint8_t* data, std::size_t size, std::string& bytes)
{
    bytes.assign(reinterpret_cast<const char*>(data), size);
    if (size % 2 != 0 || size < SetupHeaderSize)
        return;
    int counts[3];
    const std::size_t places[3] = {6, 8, 10};
    const int limits[3] = {16, 40, 64};
    for (int i = 0; i < 3; ++i) {
        counts[i] = static_cast<uint16_t>(GetInt16At(bytes, places[i])) % limits[i];
        PutInt16At(bytes, places[i], static_cast<int16_t>(counts[i]));
    }
    const std::string blank = BlankFile(counts[0], counts[1], counts[2]);
    if (blank.size() > bytes.size())
        bytes.append(blank, bytes.size());
}
