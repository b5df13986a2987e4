// The monitor's tag setup file loader on any bytes: it must survive them and always hold every
// tag slot afterwards. (fuzz_setupimage takes the same inputs through the tools' image.)
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "SetupFileInput.h"
#include "common/QuietViews.h"
#include "files/GetSetupData.h"
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
    // Both kept from run to run, as the monitor keeps its setup when a changed file is reloaded.
    static std::string bytes;
    static SetupData setup;
    SetupFileFromInput(data, size, bytes);
    QuietSetupLoadView view;
    NoHost host;
    const SetupLoadResult loaded = LoadSetupFileBytes(bytes, VbError(), host, setup, view);
    // A loaded setup always holds every tag slot, however damaged the file.
    if (loaded == SetupLoadResult::Loaded && setup.TagTable.size() != SetupTagSlots + 1)
        std::abort();
    return 0;
}
