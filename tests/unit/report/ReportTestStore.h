#pragma once
// Store files made for the report tests by the monitor's own start-up routine (header, setup copy,
// zeroed records), then filled record by record: the tests know every value that went in.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/QuietViews.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"
#include "files/StartUpFileInfo.h"
#include "files/StoreFile.h"
#include "platform/DateSerial.h"

namespace reporttest {

namespace fs = std::filesystem;

struct TestTag {
    std::string Name;
    bool Online = true;
    bool InTotal = false;
};

class NoHost : public HostFolders {
public:
    std::string JobDataFolder() const override { return "/nonexistent"; }
    std::string TelvaneFolder() const override { return "/nonexistent"; }
};

inline std::string ReadFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// A temporary folder, removed at the end.
class TempFolder {
public:
    TempFolder()
    {
        char pattern[] = "/tmp/vt-report-XXXXXX";
        path_ = ::mkdtemp(pattern);
    }
    ~TempFolder()
    {
        std::error_code ec;
        fs::remove_all(path_, ec);
    }
    const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

// A store file at path (named "...yymm.lum" for its month) with periodsPerDay and the tags 1..n
// given; its records are all zero (never saved). TagCount is 198: 200 slots less 2, no centers.
inline bool MakeStoreFile(const fs::path& path, int periodsPerDay, const std::vector<TestTag>& tags)
{
    std::string text = "[Header]\nSetupVersion = 250\nPeriodsPerDay = " + std::to_string(periodsPerDay) + "\n";
    for (std::size_t i = 0; i < tags.size(); ++i)
        text += "[Tag " + std::to_string(i + 1) + "]\nTagName = \"" + tags[i].Name + "\"\nOnline = " +
                (tags[i].Online ? "1" : "0") + "\nTagType = 1\nScanType = 22\nInTotal = " +
                (tags[i].InTotal ? "1" : "0") + "\n";
    const SetupDescriptionResult description = ReadSetupDescription(text);
    const VbResult<std::string> mtg = EncodeSetupFile(description.Image);
    if (!mtg.Ok())
        return false;
    const fs::path mtgPath = path.parent_path() / (path.stem().string() + ".MTG");
    std::ofstream(mtgPath, std::ios::binary) << mtg.Value;

    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    MonitorState state;
    NoHost host;
    QuietStoreFileView view;
    state.SetupMtgFile = mtgPath.string();
    state.StartingUp = 0;
    settings.StoreFilePath = path.string();
    StoreContext context{setup, values, settings, state, host, view};
    StartUpFileInfo(context, MakeDateTime(2024, 3, 1, 0, 20, 0));
    fs::remove(mtgPath);
    return fs::file_size(path) > 200;
}

// Writes records into a store file made above.
class RecordWriter {
public:
    explicit RecordWriter(const fs::path& path)
    {
        // A file that will not open fails every Write.
        if (!file_.Open(path.string()).Failed())
            layout_ = file_.ReadLayout().Value;
    }
    // values for tags 1..values.size().
    bool Write(int day, int period, int16_t flag, const std::vector<float>& values)
    {
        const int32_t record = (day - 1) * layout_.PeriodsPerDay + period - 1;
        return !file_.WriteRecord(layout_, record, flag, values).Failed();
    }

private:
    StoreFile file_;
    StoreLayout layout_;
};

} // namespace reporttest
