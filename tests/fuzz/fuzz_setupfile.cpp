// Fuzz target for the tag setup file: the loader must survive any bytes, and a file the tools can
// read must come back byte for byte through its image and through its text description.
//
// Input: the file's first bytes, header counts included, so the fuzzer chooses the counts and
// the records it works on. An input of even length is padded with zeros to the length its counts
// need (the records and the fixed entries at offset 112196), so that a short input is a whole
// file; an input of odd length is the whole file as it is, so cut files stay reachable.
#include <algorithm>
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
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (size % 2 == 0 && size >= SetupHeaderSize) {
        auto count = [&](std::size_t at) { return static_cast<int16_t>(data[at] | (data[at + 1] << 8)); };
        // Only counts the tools take are padded: others fail on their header alone.
        if (SetupCountsProblem(count(6), count(8), count(10)).empty()) {
            const int64_t need = std::max<int64_t>(SetupTagSectionEnd(count(6), count(8), count(10)),
                                                   FixedEntriesOffset + int64_t{FixedEntryCount} * FixedEntrySize);
            if (static_cast<int64_t>(bytes.size()) < need)
                bytes.resize(static_cast<std::size_t>(need), '\0');
        }
    }

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
