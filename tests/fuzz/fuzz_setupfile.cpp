// Fuzz target for the tag setup file: the loader must survive any bytes, and a file the tools can
// read must come back byte for byte through its image and through its text description.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "common/QuietViews.h"
#include "files/GetSetupData.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"
#include "platform/Prefix.h"

namespace {

class NoHost : public HostFolders {
public:
    std::string JobDataFolder() const override { return "C:\\Job\\Data"; }
    std::string TelvaneFolder() const override { return "C:\\Telvane"; }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Error reports go to a log in a throw-away program folder.
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / "vt-fuzz-setupfile";
    std::filesystem::create_directories(dir / "prefix");
    UsePrefix(dir / "prefix");
    ::setenv("VOLTARIS_PROGRAM_DIR", dir.c_str(), 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    SetupData setup;
    QuietSetupLoadView view;
    NoHost host;
    const SetupLoadResult loaded = LoadSetupFileBytes(bytes, VbError(), host, setup, view);
    // A loaded setup always holds every tag slot, however damaged the file.
    if (loaded == SetupLoadResult::Loaded && setup.TagTable.size() != SetupTagSlots + 1)
        std::abort();

    const VbResult<SetupFileImage> image = DecodeSetupFile(bytes);
    if (!image.Ok())
        return 0;
    const VbResult<std::string> again = EncodeSetupFile(image.Value);
    if (!again.Ok() || again.Value != bytes)
        std::abort();
    const SetupDescriptionResult text = ReadSetupDescription(WriteSetupDescription(image.Value));
    if (!text.Error.empty())
        std::abort();
    const VbResult<std::string> rebuilt = EncodeSetupFile(text.Image);
    if (!rebuilt.Ok() || rebuilt.Value != bytes)
        std::abort();
    return 0;
}
