#pragma once
// A whole tag setup file as stored, for the tools that build and print one: every field as it is
// in the file (none of the loader's corrections), plus the few bytes the loader never looks at, so
// a file read and written again comes out byte for byte the same.
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "files/SetupData.h"
#include "platform/VbError.h"

struct SetupFileImage {
    // Header counts and tables as stored: Tariffs 0..N-1, TariffEntries (N, M), Centers 1..K,
    // TagTable and TagAuxEntries (1..200, M), fixed entries 0..66.
    SetupData Data;
    // Setup30 is stored twice; the first slot when it differs from the second.
    std::array<std::optional<int16_t>, SetupTagSlots + 1> Setup30FirstSlot{};
    // The bytes between the end of the tags and the fixed entries, or empty when all are zero.
    std::string Gap;
    std::string Trailer; // bytes after the fixed entries
};

// End of the tag section for the counts (negative counts count as none).
int64_t SetupTagSectionEnd(int tariffCount, int tariffEntryCount, int centerCount);

// Why the monitor would not size its tables for these counts, or empty when it would.
std::string SetupCountsProblem(int tariffCount, int tariffEntryCount, int centerCount);

// The image of a file's bytes: every file the monitor loads without an error. Fails (with a
// description) when the counts are beyond what it loads, or the file ends before its tag records
// or its fixed entries. The records may reach over the fixed entries at offset 112196: those are
// read from their own offset all the same, so there they hold the records' bytes.
VbResult<SetupFileImage> DecodeSetupFile(std::string_view bytes);
// Sizes the image's tables for its header counts (keeping what fits).
void SizeSetupImage(SetupFileImage& image);
// The file's bytes. Fails when the counts are beyond what the monitor loads. Where the records
// reach over the fixed entries, the records' bytes are written and the entries fill the rest.
VbResult<std::string> EncodeSetupFile(const SetupFileImage& image);
