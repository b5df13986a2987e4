// vt-mtg's text description from anywhere: the reader refuses what is not a description with a
// reason and never fails; a description it takes builds a file that the tools read back, and whose
// dump builds the same bytes again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const SetupDescriptionResult read = ReadSetupDescription(text);
    if (!read.Error.empty())
        return 0;
    const VbResult<std::string> built = EncodeSetupFile(read.Image);
    Check(built.Ok());
    const VbResult<SetupFileImage> image = DecodeSetupFile(built.Value);
    Check(image.Ok());
    const SetupDescriptionResult again = ReadSetupDescription(WriteSetupDescription(image.Value));
    Check(again.Error.empty());
    const VbResult<std::string> rebuilt = EncodeSetupFile(again.Image);
    Check(rebuilt.Ok() && rebuilt.Value == built.Value);
    return 0;
}
