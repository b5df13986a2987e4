// One acquisition pass of 200 online tags against the stand-in host, in CPU time, against the bare
// host library reads and writes that pass makes. Prints the ratio; the goal is at most 3.
// The pass runs on the headless monitor's own view inside a Qt application, as `voltamon --headless`
// runs it. A second figure shows the pass with every grid and status text made, as a window makes them.
#include <benchmark/benchmark.h>
#include <time.h>
#include <unistd.h>

#include <QCoreApplication>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "BenchSite.h"
#include "core/HeadlessView.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"

namespace {

// A view that makes and keeps every cell and status text, as the window's grid and panels do, and
// lets no events in.
class TextView : public QuietView {
public:
    void SetupGrid(int rows) override { cells_.assign(static_cast<size_t>(rows + 1) * 6, std::string()); }
    void SetGridCell(int row, int column, const std::string& text) override {
        const size_t at = static_cast<size_t>(row) * 6 + static_cast<size_t>(column);
        if (at < cells_.size()) cells_[at] = text;
    }
    void SetPanelText(StatusPanel, const std::string& text) override { status_ = text; }

private:
    std::vector<std::string> cells_;
    std::string status_;
};

HeadlessView headless;
TextView texts;

ScanSite& TheSite() {
    static ScanSite site;
    return site;
}

double CpuSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// CPU time per iteration over a whole run: one clock reading at each end, since reading the process
// CPU clock costs a system call, a good part of a microsecond.
template <class Step>
double CpuPerIteration(benchmark::State& state, Step step) {
    const double start = CpuSeconds();
    for (auto _ : state) step();
    return (CpuSeconds() - start) / static_cast<double>(state.iterations());
}

// Each is the least over the repetitions: whatever else the machine does only ever adds.
double advanceCpu = 0;
double scanCpu = 0;      // including the advance of the meters
double textScanCpu = 0;  // likewise
double bareCpu = 0;

void KeepLeast(double& least, double value) {
    if (least == 0 || value < least) least = value;
}

// The meters move on before every scan, as the host's own scan would move them; the cost of that
// is measured alone and taken off.
void BM_AdvanceMeters(benchmark::State& state) {
    ScanSite& site = TheSite();
    if (!site.ready) return state.SkipWithError("host libraries not built beside the benchmark");
    KeepLeast(advanceCpu, CpuPerIteration(state, [&] { site.Advance(); }));
}

void RunScans(benchmark::State& state, MonitorView& screen, double& perScan) {
    ScanSite& site = TheSite();
    if (!site.ready) return state.SkipWithError("host libraries not built beside the benchmark");
    const std::unique_ptr<ScanContext> scan = site.ScanOn(screen);
    KeepLeast(perScan, CpuPerIteration(state, [&] {
                  site.Advance();
                  Input_General(*scan);
              }));
}

void BM_InputGeneral(benchmark::State& state) { RunScans(state, headless, scanCpu); }

void BM_InputGeneralAllTexts(benchmark::State& state) {
    texts.SetupGrid(Tags);
    RunScans(state, texts, textScanCpu);
}

void BM_BareHostCalls(benchmark::State& state) {
    ScanSite& site = TheSite();
    if (!site.ready) return state.SkipWithError("host libraries not built beside the benchmark");
    KeepLeast(bareCpu, CpuPerIteration(state, [&] { site.BareHostCalls(); }));
}

BENCHMARK(BM_AdvanceMeters)->Unit(benchmark::kMicrosecond)->MinTime(0.2)->Repetitions(5);
BENCHMARK(BM_InputGeneral)->Unit(benchmark::kMicrosecond)->MinTime(0.3)->Repetitions(5);
BENCHMARK(BM_InputGeneralAllTexts)->Unit(benchmark::kMicrosecond)->MinTime(0.3)->Repetitions(5);
BENCHMARK(BM_BareHostCalls)->Unit(benchmark::kMicrosecond)->MinTime(0.3)->Repetitions(5);

}  // namespace

int main(int argc, char** argv) {
    // The stand-in libraries sit beside the benchmark unless told otherwise.
    if (!std::getenv("VT_BIN_DIR")) {
        char self[PATH_MAX] = {};
        const ssize_t n = ::readlink("/proc/self/exe", self, sizeof self - 1);
        if (n > 0) ::setenv("VT_BIN_DIR", std::filesystem::path(self).parent_path().c_str(), 1);
    }
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    const double scan = scanCpu - advanceCpu;
    const double textScan = textScanCpu - advanceCpu;
    if (scanCpu > 0 && bareCpu > 0)
        std::printf("Input_General / bare host calls = %.2f (goal at most 3): %.1f us against %.1f us CPU\n",
                    scan / bareCpu, scan * 1e6, bareCpu * 1e6);
    if (textScanCpu > 0 && bareCpu > 0)
        std::printf("  with every grid text made, as the window does = %.2f: %.1f us CPU\n", textScan / bareCpu,
                    textScan * 1e6);
    return 0;
}
