// The tools' side of the tag setup file on any bytes: a file they take comes back byte for byte
// through its image and through its text description. Inputs as for fuzz_setupfile.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "SetupFileInput.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // The blank files that complete short inputs are what the tools write for blank tables.
    for (auto [n, m, k] : {std::array{0, 0, 0}, {15, 39, 63}, {3, 20, 1}, {0, 39, 0}, {1, 37, 30}}) {
        SetupFileImage blank;
        blank.Data.TariffCount = static_cast<int16_t>(n);
        blank.Data.TariffEntryCount = static_cast<int16_t>(m);
        blank.Data.CenterCount = static_cast<int16_t>(k);
        SizeSetupImage(blank);
        std::string file = EncodeSetupFile(blank).Value;
        std::string assembled = file.substr(0, SetupHeaderSize);
        CompleteWithBlankFile(assembled, n, m, k);
        Check(assembled == file);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static std::string bytes;
    SetupFileFromInput(data, size, bytes);
    const VbResult<SetupFileImage> image = DecodeSetupFile(bytes);
    if (!image.Ok())
        return 0;
    const VbResult<std::string> again = EncodeSetupFile(image.Value);
    Check(again.Ok() && again.Value == bytes);
    const SetupDescriptionResult text = ReadSetupDescription(WriteSetupDescription(image.Value));
    Check(text.Error.empty());
    const VbResult<std::string> rebuilt = EncodeSetupFile(text.Image);
    Check(rebuilt.Ok() && rebuilt.Value == bytes);
    return 0;
}
