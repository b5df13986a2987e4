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

// Appends to file, from its current length on, the bytes of a blank file with these counts,
// assembled from blank records made once.
inline void CompleteWithBlankFile(std::string& file, int tariffs, int entries, int centers)
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
    // Each part goes in from where the file's own bytes end, so nothing is built twice.
    std::size_t at = SetupHeaderSize;
    auto add = [&](const std::string& part) {
        const std::size_t end = at + part.size();
        if (end > file.size())
            file.append(part, file.size() > at ? file.size() - at : 0);
        at = end;
    };
    for (int i = 0; i < tariffs; ++i)
        add(blanks.Tariff[static_cast<std::size_t>(entries)]);
    add(blanks.Pairs);
    for (int c = 0; c < centers; ++c)
        add(blanks.Center);
    for (int t = 0; t < SetupTagSlots; ++t)
        add(blanks.Tag[static_cast<std::size_t>(entries)]);
    // As the file is written: the records' bytes stand where they reach over the fixed entries.
    const auto fixedAt = static_cast<std::size_t>(FixedEntriesOffset);
    if (at < fixedAt) {
        if (file.size() < fixedAt)
            file.resize(fixedAt, '\0');
        at = fixedAt;
    }
    const std::size_t covered = at - fixedAt;
    if (covered < blanks.Fixed.size()) {
        at = fixedAt;
        add(blanks.Fixed);
    }
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
    CompleteWithBlankFile(bytes, counts[0], counts[1], counts[2]);
}
