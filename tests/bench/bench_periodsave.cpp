// The period save of a 96-period, 200-tag store file (record write, flush, backup copy) against
// copying the same file with cp and sync. Prints the ratio; the goal is at most 1.5.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/QuietViews.h"
#include "files/HalfHourSave.h"
#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"
#include "files/StartUpFileInfo.h"
#include "files/StoreFileName.h"
#include "platform/DateSerial.h"
#include "platform/Paths.h"
#include "platform/Prefix.h"

namespace {

namespace fs = std::filesystem;



class Host : public HostFolders {
public:
    std::string JobDataFolder() const override { return "C:\\Job\\Data"; }
    std::string TelvaneFolder() const override { return "C:\\Telvane"; }
};

// A prefix with a tag setup of 200 measured tags at 96 periods a day and its month's store file.
struct Site {
    fs::path root;
    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    MonitorState state;
    Host host;
    QuietStoreFileView view;
    DateTime now = MakeDateTime(2024, 3, 1, 0, 20, 0);

    Site()
    {
        char pattern[] = "/tmp/vt-bench-XXXXXX";
        root = ::mkdtemp(pattern);
        UsePrefix(root / "prefix");
        ::setenv("VOLTARIS_PROGRAM_DIR", root.c_str(), 1);
        const fs::path c = root / "prefix" / "drives" / "c";
        fs::create_directories(c / "Job" / "Data");
        fs::create_directories(c / "Job" / "Setup");
        fs::create_directories(c / "Backup");

        std::string text = "[Header]\nSetupVersion = 250\nPeriodsPerDay = 96\n";
        for (int t = 1; t <= 198; ++t)
            text += "[Tag " + std::to_string(t) + "]\nTagName = \"Meter " + std::to_string(t) +
                    "\"\nOnline = 1\nTagType = 1\nScanType = 22\nInTotal = 1\n";
        const VbResult<std::string> mtg = EncodeSetupFile(ReadSetupDescription(text).Image);
        std::ofstream(c / "Job" / "Setup" / "Site.MTG", std::ios::binary) << mtg.Value;
        // Peaks already far above what the benchmark saves, so the table is read but not rewritten.
        std::string peaks = "[Peaks]\n";
        for (int n = 1; n <= 24; ++n)
            peaks += std::to_string(n) + "PeakValue=1000000\n" + std::to_string(n) + "PeakTime=x\n";
        std::ofstream(c / "Job" / "Setup" / "VoltarisSetup.ini", std::ios::binary) << peaks;

        state.SetupMtgFile = "C:\\Job\\Setup\\Site.MTG";
        state.SetupIniFile = "C:\\Job\\Setup\\VoltarisSetup.ini";
        state.StartingUp = 0;
        settings.StoreFilePrefix = "Vtrs";
        settings.BackupDir = "C:\\Backup";
        settings.StoreFilePath = GetStoreFileName(host.JobDataFolder(), "Vtrs", now).Value;
        StoreContext context{setup, values, settings, state, host, view};
        StartUpFileInfo(context, now);
    }
    ~Site()
    {
        std::error_code ec;
        fs::remove_all(root, ec);
    }

    void SaveNextPeriod()
    {
        now += 15.0 / 1440.0;
        if (now > MakeDateTime(2024, 3, 31, 23, 0, 0))
            now = MakeDateTime(2024, 3, 1, 0, 20, 0);
        for (int t = 1; t <= setup.TagCount; ++t)
            values[static_cast<std::size_t>(t)].Integrated = 0.01F * static_cast<float>(t);
        StoreContext context{setup, values, settings, state, host, view};
        HalfHourSave(context, now);
    }
};

double periodSaveSeconds = 0;
double copySeconds = 0;

void BM_PeriodSave(benchmark::State& state)
{
    Site site;
    double total = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        site.SaveNextPeriod();
        total += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    periodSaveSeconds = total / static_cast<double>(state.iterations());
}

void BM_CopyWithCpAndSync(benchmark::State& state)
{
    Site site;
    const std::string from = LocalPath(site.settings.StoreFilePath).string();
    const std::string to = (site.root / "copy.lum").string();
    const std::string command = "cp '" + from + "' '" + to + "' && sync";
    double total = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (std::system(command.c_str()) != 0)
            state.SkipWithError("cp failed");
        total += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    copySeconds = total / static_cast<double>(state.iterations());
}

BENCHMARK(BM_PeriodSave)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_CopyWithCpAndSync)->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (periodSaveSeconds > 0 && copySeconds > 0)
        std::printf("period save / (cp + sync) = %.2f (goal at most 1.5): %.2f ms against %.2f ms\n",
                    periodSaveSeconds / copySeconds, periodSaveSeconds * 1000, copySeconds * 1000);
    return 0;
}
