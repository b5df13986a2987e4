// A month's back-fill through the CSV import: 31 days x 96 periods x 178 tags in one file (529,728
// lines), against reading and checking the same lines without storing them. The import should stay
// within a small multiple of the parse alone, with window events still served as it goes.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "files/CsvImport.h"
#include "files/CsvLine.h"
#include "files/StoreContext.h"
#include "platform/Clock.h"
#include "platform/Prefix.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int Days = 31;
constexpr int Periods = 96;
constexpr int Tags = 178;

// The screen of a running monitor: each pass of window events costs a little.
class BenchView : public StoreFileView {
public:
    void ShowWait(const std::string&) override {}
    void SetWaitProgress(const std::string&) override {}
    void DoEvents() override
    {
        ++events;
        const auto until = Clock::now() + std::chrono::microseconds(200);
        while (Clock::now() < until) {
        }
    }
    void SetGridCell(int, int, const std::string&) override {}
    void ShowMessage(const std::string&, const std::string&, MessageIcon) override {}
    void EndProgram() override {}
    void StartProgram(const std::string&, const std::string&) override {}
    void CloseWait() override {}
    void SetStatusText(const std::string& text) override
    {
        ++statusTexts;
        lastStatus = text;
    }
    long events = 0;
    long statusTexts = 0;
    std::string lastStatus;
};

class BenchHost : public HostFolders {
public:
    std::string JobDataFolder() const override { return "C:\\Telvane\\Job1\\Data"; }
    std::string TelvaneFolder() const override { return "C:\\Telvane"; }
};

struct Site {
    fs::path root;
    fs::path importFolder;
    fs::path storeFolder;
    std::string csv;
    SetupData setup;
    TagValues values = TagValues(201);
    MonitorSettings settings;
    MonitorState state;
    BenchHost host;
    BenchView view;

    Site()
    {
        char pattern[] = "/tmp/vt-bench-csv-XXXXXX";
        root = ::mkdtemp(pattern);
        fs::create_directories(root / "prefix");
        fs::create_directories(root / "program");
        UsePrefix(root / "prefix");
        ::setenv("VOLTARIS_PROGRAM_DIR", (root / "program").c_str(), 1);
        ClockSimulate(MakeDateTime(2024, 4, 2, 9, 0, 0), 1.0);
        importFolder = root / "program" / "vtcsvlog";
        storeFolder = root / "prefix" / "drives" / "c" / "Telvane" / "Job1" / "Data" / "Voltaris";
        fs::create_directories(importFolder);
        fs::create_directories(storeFolder);

        setup.SetupVersion = 250;
        setup.PeriodsPerDay = Periods;
        setup.CenterCount = 20;
        setup.MaxTags = 200;
        setup.TagCount = Tags;
        setup.Centers.resize(21);
        setup.Tariffs.resize(1);
        setup.TariffEntries.resize(1);
        setup.TagTable.resize(201);
        setup.TagAuxEntries.resize(201);
        // A dozen maths tags over the metered ones, as a site's totals and sub-meters are.
        for (int i = 0; i < 12; ++i) {
            TagRecord& t = setup.TagTable[static_cast<std::size_t>(160 + i)];
            t.Online = 1;
            t.TagType = 1;
            t.ScanType = 8;
            t.MathsTerms[0] = {static_cast<int16_t>(1 + i * 10), 0, 1.0F};
            t.MathsTerms[1] = {static_cast<int16_t>(2 + i * 10), 1, 1.0F};
            t.MathsTerms[2] = {static_cast<int16_t>(3 + i * 10), 2, 0.5F};
            for (std::size_t k = 3; k < 8; ++k)
                t.MathsTerms[k] = {201, 0, 0};
        }
        state.StartingUp = 0;
        settings.StoreFilePath = "C:\\Telvane\\Job1\\Data\\Voltaris\\Vtrs2404.lum";

        std::string text;
        text.reserve(static_cast<std::size_t>(Days) * Periods * Tags * 26);
        char line[64];
        for (int d = 1; d <= Days; ++d)
            for (int p = 1; p <= Periods; ++p)
                for (int t = 1; t <= Tags; ++t) {
                    const int n = std::snprintf(line, sizeof line, "2024,3,%d,%d,%d,%d.%02d\r\n", d, p, t,
                                                (d * 7 + p * 3 + t) % 500, (p * t) % 100);
                    text.append(line, static_cast<std::size_t>(n));
                }
        csv = std::move(text);
    }
    ~Site()
    {
        std::error_code ec;
        fs::remove_all(root, ec);
    }

    void PutFile() const { std::ofstream(importFolder / "site0324.csv", std::ios::binary) << csv; }
};

Site& TheSite()
{
    static Site site;
    return site;
}

// Reading and checking every line, as the import does before it stores anything.
long ParseOnly(const Site& site)
{
    std::ifstream in(site.importFolder / "site0324.csv", std::ios::binary);
    std::ostringstream read;
    read << in.rdbuf();
    const std::string content = read.str();
    CsvLineReader lines(content);
    std::string_view text;
    bool ended = false;
    long valid = 0;
    while (lines.Next(text, ended)) {
        CsvLine line;
        VbError e = ReadCsvLine(text, ended, line);
        if (!e.Failed())
            e = CheckCsvMonth(line);
        if (!e.Failed() && CsvLineProblem(line, site.setup.PeriodsPerDay, site.setup.TagCount).empty())
            ++valid;
    }
    return valid;
}

void BM_MonthBackfill(benchmark::State& state)
{
    Site& site = TheSite();
    const double lines = static_cast<double>(Days) * Periods * Tags;
    double parseSeconds = 0;
    double importSeconds = 0;
    long events = 0;
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove(site.storeFolder / "vtrs2403.lum");
        site.PutFile();
        state.ResumeTiming();

        const auto p0 = Clock::now();
        benchmark::DoNotOptimize(ParseOnly(site));
        const auto p1 = Clock::now();
        StoreContext c{site.setup, site.values, site.settings, site.state, site.host, site.view};
        const long eventsBefore = site.view.events;
        CSV_GetData(c);
        const auto p2 = Clock::now();
        events += site.view.events - eventsBefore;
        parseSeconds += std::chrono::duration<double>(p1 - p0).count();
        importSeconds += std::chrono::duration<double>(p2 - p1).count();
        if (fs::exists(site.importFolder / "site0324.csv"))
            state.SkipWithError("the file was not imported");
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["import_s"] = importSeconds / n;
    state.counters["parse_s"] = parseSeconds / n;
    state.counters["import_lines_per_s"] = lines * n / importSeconds;
    state.counters["parse_lines_per_s"] = lines * n / parseSeconds;
    state.counters["import_to_parse"] = importSeconds / parseSeconds;
    state.counters["event_passes"] = static_cast<double>(events) / n;
    state.SetLabel(site.view.lastStatus.substr(site.view.lastStatus.find('(')));
}

BENCHMARK(BM_MonthBackfill)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

BENCHMARK_MAIN();
