// One acquisition pass of 200 online tags against the stand-in host, in CPU time, against the bare
// host library reads and writes that pass makes. Prints the ratio; the goal is at most 3.
#include <benchmark/benchmark.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "../unit/host/HostFixture.h"
#include "core/DdeInputLinks.h"
#include "core/InputGeneral.h"
#include "core/MonitorView.h"
#include "core/ScanContext.h"
#include "host/Telvane.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"

namespace {

class NullView : public MonitorView {
public:
    void ShowWait(const std::string&) override {}
    void SetWaitProgress(const std::string&) override {}
    void DoEvents() override {}
    void SetGridCell(int, int, const std::string&) override {}
    void ShowMessage(const std::string&, const std::string&, MessageIcon) override {}
    void EndProgram() override {}
    void StartProgram(const std::string&, const std::string&) override {}
    void CloseWait() override {}
    void SetStatusText(const std::string&) override {}
    void ShowWaitMessage(const std::string&) override {}
    void SetViewLogAvailable(bool) override {}
    void SetupGrid(int) override {}
    void SetGridRowColour(int, int, int, RgbColour) override {}
    void SetPanelText(StatusPanel, const std::string&) override {}
    void SetPanelColour(StatusPanel, RgbColour) override {}
    void SetWatchdogLabel(bool) override {}
    MessageAnswer Ask(const std::string&, const std::string&, MessageButtons, MessageIcon) override {
        return MessageAnswer::No;
    }
    void SetMenuVisible(MenuItem, bool) override {}
    void SetMenuChecked(MenuItem, bool) override {}
    bool MenuChecked(MenuItem) const override { return false; }
    void CloseLogWindow() override {}
    void CloseMainWindow() override {}
};

constexpr int Tags = 200;
constexpr int MeasuredTags = 180;  // then 10 maths tags and 10 display tags
constexpr int16_t ScanTypes[] = {17, 24, 23, 22, 21, 28};

bool ReadsLine(int16_t scanType) { return scanType == 17 || scanType == 23 || scanType == 21; }

// A V5 host whose tags and lines move a little every pass, and a tag table of 180 meters of every
// host kind with rate outputs, maths tags over them and display tags showing them.
struct Site {
    HostFixture host;
    bool ready = false;
    std::unique_ptr<Telvane> telvane;
    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    MonitorState state;
    NullView view;
    DdeInputLinks dde;
    int16_t csvOnly = 0;
    std::unique_ptr<ScanContext> scan;
    float step = 0;

    Site() {
        if (!HostFixture::LibrariesBuilt() || !host.Install(5)) return;
        ClockSimulate(MakeDateTime(2026, 11, 19, 10, 0, 0), 1);
        telvane = std::make_unique<Telvane>();
        setup.MaxTags = Tags;
        setup.TagCount = Tags;
        setup.TagTable.assign(Tags + 1, TagRecord{});
        values.assign(Tags + 1, TagValue{});
        settings.AverageScans = 5;
        state.StartingUp = 0;
        for (int n = 1; n <= Tags; ++n) {
            TagRecord& record = setup.TagTable[n];
            record.Online = 1;
            record.TagType = TagTypeMeasured;
            record.UnitsPerPulse = 1;
            record.InTotal = 1;
            if (n <= MeasuredTags) {
                record.ScanType = ScanTypes[n % 6];
                if (ReadsLine(record.ScanType)) {
                    record.RecorderNo = 1;
                    record.PageNo = static_cast<int16_t>((n - 1) / 10 + 1);
                    record.LineNo = static_cast<int16_t>((n - 1) % 10 + 1);
                } else {
                    record.PageNo = static_cast<int16_t>(n);
                }
                record.HostTagNumber = static_cast<int16_t>(1000 + n);
                record.RolloverValue = 1e6f;
            } else if (n <= MeasuredTags + 10) {
                record.ScanType = ScanTypeMaths;
                for (auto& term : record.MathsTerms) term = {static_cast<int16_t>(Tags), 0, 0};
                record.MathsTerms[0] = {static_cast<int16_t>(n - MeasuredTags), 0, 1.0f};
                record.MathsTerms[1] = {static_cast<int16_t>(n - MeasuredTags + 20), 2, 0.5f};
            } else {
                record.TagType = TagTypeDisplay;
                record.DisplaySourceIsTag = n % 2;
                record.DisplaySource = static_cast<int16_t>(n % 2 ? n - 10 : 0);
                record.RecorderNo = 1;
                record.PageNo = 50;
                record.LineNo = static_cast<int16_t>(n - MeasuredTags - 10);
            }
            values[n].LastReadTime = ClockNow();
            values[n].PulseTime = values[n].LastReadTime;
        }
        scan = std::make_unique<ScanContext>(ScanContext{setup, values, settings, state, *telvane, view, dde, csvOnly});
        ready = true;
    }

    // The meters move on between scans, as the host's own scan would move them.
    void Advance() {
        step += 1;
        HostState& points = host.State();
        for (int i = 0; i < MeasuredTags; ++i) {
            points.SetReading(HostTable::Tags, i, step * 0.5f + static_cast<float>(i));
            points.SetReading(HostTable::Lines, i, step * 0.5f + static_cast<float>(i));
        }
    }

    // What the pass asks of the host, without the pass: one read per meter, one rate write per meter,
    // one value write per display tag.
    void BareHostCalls() {
        HostLibraries& libs = telvane->Libraries();
        float sum = 0;
        for (int n = 1; n <= MeasuredTags; ++n) {
            const TagRecord& record = setup.TagTable[n];
            if (ReadsLine(record.ScanType)) sum += libs.GetLineReadingEx(record.PageNo, record.LineNo).Value;
            else sum += libs.GetTagReading(record.PageNo - 1).Value;
            libs.SetTagOutputValueEx(record.HostTagNumber - 1, sum, 0, 0);
        }
        for (int line = 491; line <= 500; ++line) libs.SetLineParamData(line - 1, 101, sum);
        benchmark::DoNotOptimize(sum);
    }
};

Site& TheSite() {
    static Site site;
    return site;
}

double CpuSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double scanCpu = 0;
double bareCpu = 0;

void BM_InputGeneral(benchmark::State& state) {
    Site& site = TheSite();
    if (!site.ready) return state.SkipWithError("host libraries not built beside the benchmark");
    double total = 0;
    for (auto _ : state) {
        state.PauseTiming();
        site.Advance();
        state.ResumeTiming();
        const double start = CpuSeconds();
        Input_General(*site.scan);
        total += CpuSeconds() - start;
    }
    scanCpu = total / static_cast<double>(state.iterations());
}

void BM_BareHostCalls(benchmark::State& state) {
    Site& site = TheSite();
    if (!site.ready) return state.SkipWithError("host libraries not built beside the benchmark");
    double total = 0;
    for (auto _ : state) {
        const double start = CpuSeconds();
        site.BareHostCalls();
        total += CpuSeconds() - start;
    }
    bareCpu = total / static_cast<double>(state.iterations());
}

BENCHMARK(BM_InputGeneral)->Unit(benchmark::kMicrosecond)->MinTime(1.0);
BENCHMARK(BM_BareHostCalls)->Unit(benchmark::kMicrosecond)->MinTime(1.0);

}  // namespace

int main(int argc, char** argv) {
    // The stand-in libraries sit beside the benchmark unless told otherwise.
    if (!std::getenv("VT_BIN_DIR")) {
        char self[PATH_MAX] = {};
        const ssize_t n = ::readlink("/proc/self/exe", self, sizeof self - 1);
        if (n > 0) ::setenv("VT_BIN_DIR", std::filesystem::path(self).parent_path().c_str(), 1);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (scanCpu > 0 && bareCpu > 0)
        std::printf("Input_General / bare host calls = %.2f (goal at most 3): %.1f us against %.1f us CPU\n",
                    scanCpu / bareCpu, scanCpu * 1e6, bareCpu * 1e6);
    return 0;
}
