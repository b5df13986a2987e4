// The store file check at start-up on an existing file of any content: the monitor either starts
// with tables that fit the dimensions it took, or ends with its message, and never fails otherwise.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "FuzzSupport.h"
#include "common/QuietViews.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"
#include "files/StartUpFileInfo.h"
#include "platform/DateSerial.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Prefix.h"

namespace {

std::string Folder;
const std::string MtgPath = "C:\\Telvane\\Job1\\Setup\\Site.MTG";
const std::string StorePath = "C:\\Telvane\\Job1\\Data\\Voltaris\\Vtrs2403.lum";

class JobHost : public HostFolders {
public:
    std::string JobDataFolder() const override { return "C:\\Telvane\\Job1\\Data"; }
    std::string TelvaneFolder() const override { return "C:\\Telvane"; }
};

// A small site: two centers, a rate, a pulse, a maths and a display tag.
const char* const Site = R"([Header]
SetupVersion = 250
PeriodsPerDay = 48
TariffCount = 1
TariffEntryCount = 2
CenterCount = 2
[Tag 1]
TagName = "Incomer"
Online = 1
TagType = 1
ScanType = 24
InTotal = 1
CenterNo = 1
[Tag 2]
TagName = "Gas"
Online = 1
TagType = 1
ScanType = 22
RolloverValue = 10000
CenterNo = 2
[Tag 3]
TagName = "Sum"
Online = 1
TagType = 1
ScanType = 8
Term0 = 1 1 1
Term1 = 2 1 1
[Tag 4]
TagName = "Center 1"
Online = 1
TagType = 3
DisplaySource = 1
)";

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Folder = MakeScratchFolder("storestart");
    UsePrefix(Folder + "/prefix");
    std::filesystem::create_directories(Folder + "/program");
    ::setenv("VOLTARIS_PROGRAM_DIR", (Folder + "/program").c_str(), 1);
    std::filesystem::create_directories(LocalPath("C:\\Telvane\\Job1\\Setup"));
    std::filesystem::create_directories(LocalPath("C:\\Telvane\\Job1\\Data\\Voltaris"));
    const SetupDescriptionResult site = ReadSetupDescription(Site);
    const VbResult<std::string> mtg = EncodeSetupFile(site.Image);
    if (!site.Error.empty() || !mtg.Ok() || WriteFileAtomically(MtgPath, mtg.Value).Failed())
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    if (WriteFileAtomically(StorePath, std::string_view(reinterpret_cast<const char*>(data), size)).Failed())
        return 0;
    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    settings.StoreFilePath = StorePath;
    MonitorState state;
    state.SetupMtgFile = MtgPath;
    state.StartingUp = 1;
    JobHost host;
    QuietStoreFileView view;
    StoreContext c{setup, values, settings, state, host, view};
    if (StartUpFileInfo(c, MakeDateTime(2024, 3, 3, 9, 40, 0)) != SetupLoadResult::Loaded)
        return 0;
    // Started: the dimensions are ones the monitor works with.
    Check(setup.PeriodsPerDay == 24 || setup.PeriodsPerDay == 48 || setup.PeriodsPerDay == 96);
    Check(setup.TagCount >= 1 && setup.TagCount <= setup.MaxTags);
    return 0;
}
