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

// The image of a file's bytes. Fails (with a description) when the tag section runs past the fixed
// entries or the file ends before them.
VbResult<SetupFileImage> DecodeSetupFile(std::string_view bytes);
// Sizes the image's tables for its header counts (keeping what fits).
void SizeSetupImage(SetupFileImage& image);
// The file's bytes. Fails when the counts put the tags past the fixed entries.
VbResult<std::string> EncodeSetupFile(const SetupFileImage& image);
