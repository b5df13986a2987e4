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

#include "BenchSite.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"

namespace {

using Site = ScanSite;

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
