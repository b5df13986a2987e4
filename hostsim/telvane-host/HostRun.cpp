#include "HostRun.h"

#include <signal.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "DeviceLinks.h"
#include "HostDde.h"
#include "HostInstall.h"
#include "HostLayout.h"
#include "HostState.h"
#include "MeterSim.h"
#include "platform/Clock.h"
#include "platform/Paths.h"
#include "platform/SingleInstance.h"
#include "platform/WindowRegistry.h"
#include "support/VbText.h"

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void OnStopSignal(int) { stopRequested = 1; }

constexpr int TickMilliseconds = 100;

void Say(const std::string& text) {
    std::printf("telvane-host: %s\n", text.c_str());
    std::fflush(stdout);
}

int Fail(const std::string& text) {
    std::fprintf(stderr, "telvane-host: %s\n", text.c_str());
    return 1;
}

std::vector<std::string> WindowClasses(int generation) {
    if (generation == 5) return {"TelvaneV5", "Tray32WndClass", "Korvex32printserver"};
    return {"LoaderWClass", "SYSCON", "Tray32WndClass"};
}

bool Hidden(const Scenario& scenario, const std::string& windowClass) {
    for (const std::string& hidden : scenario.HiddenWindows) {
        if (EqualsNoCase(hidden, windowClass)) return true;
    }
    return false;
}

// Everything that lives while the job runs; torn down in reverse on the way out.
class RunningHost {
public:
    RunningHost(const Scenario& scenario, const HostLayout& layout, HostState& state)
        : scenario_(scenario),
          layout_(layout),
          state_(state),
          dde_(state, layout.Generation),
          devices_(scenario, state, layout.Generation, [log = &state](const std::string& text) {
              Say(text);
              log->AppendLog("telvane-host", text);
          }) {}

    bool Start(std::string& error) {
        if (!dde_.Start(error)) return false;
        for (const DdeItemConfig& item : scenario_.DdeItems) {
            if (VbError e = dde_.SetItem(item.Topic, item.Item, item.Text)) {
                error = "cannot serve DDE item " + item.Topic + " " + item.Item + ": " + e.Description;
                return false;
            }
        }
        for (const MeterConfig& entry : scenario_.Meters) meters_.emplace_back(entry);
        Simulate();
        if (!devices_.Start(error)) return false;
        std::string title = (layout_.Generation == 5 ? "Telvane V5 - " : "Telvane - ") + layout_.JobName;
        for (const std::string& windowClass : WindowClasses(layout_.Generation)) {
            if (!RegisterWindow(windowClass, title, !Hidden(scenario_, windowClass))) {
                error = "cannot open the window " + windowClass;
                return false;
            }
        }
        // Owned by this process, so a host killed without stopping its job is not taken for a running one.
        state_.ClaimJob();
        state_.SetJobRunning(1);
        return true;
    }

    void Stop() {
        devices_.Stop();
        state_.SetJobRunning(0);
        UnregisterAllWindows();
        dde_.Stop();
    }

    // Once a tick: the close request, the stop signals, the meters.
    bool Tick() {
        if (stopRequested) {
            Say("stop requested");
            return false;
        }
        for (const std::string& message : TakeWindowMessages("Tray32WndClass")) {
            if (EqualsNoCase(message, "APPCLOSE")) {
                Say("close requested (APPCLOSE)");
                return false;
            }
        }
        Simulate();
        devices_.Follow();
        dde_.Pump();
        return true;
    }

private:
    void Simulate() {
        DateTime now = ClockNow();
        for (MeterSim& meter : meters_) {
            meter.Advance(now);
            const MeterConfig& entry = meter.Config();
            HostTable table;
            int index = 0;
            if (entry.HasPoint && PointLocation(entry.Point, layout_.Generation, table, index)) {
                if (HostPoint* point = state_.Point(table, index)) HostStore(point->Reading, static_cast<float>(meter.Value()));
            }
            if (!entry.DdeTopic.empty()) dde_.SetItem(entry.DdeTopic, entry.DdeItem, meter.Text());
        }
    }

    const Scenario& scenario_;
    const HostLayout& layout_;
    HostState& state_;
    HostDdeService dde_;
    std::vector<MeterSim> meters_;
    DeviceLinks devices_;
};

bool LoadScenario(const std::string& path, Scenario& scenario, std::string& error) {
    if (path.empty()) {
        scenario = DefaultScenario();
        return true;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot read the scenario " + path;
        return false;
    }
    std::stringstream text;
    text << in.rdbuf();
    if (!ParseScenario(text.str(), scenario, error)) {
        error = path + ", " + error;
        return false;
    }
    return true;
}

}  // namespace

int RunHost(int argc, char** argv, int generation, const std::string& scenarioPath) {
    // From the start, so a stop that comes while the host is still setting up ends it cleanly too.
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    Scenario scenario;
    std::string error;
    if (!LoadScenario(scenarioPath, scenario, error)) return Fail(error);
    if (generation == 0) generation = scenario.Generation;
    if (generation != 4 && generation != 5) return Fail("give the host generation: --generation 4 or 5");

    if (!AcquireSingleInstance("telvane-host")) {
        return Fail("a host is already running in this prefix (pid " + std::to_string(LoadHostPid()) + ")");
    }
    for (const std::string& windowClass : WindowClasses(generation)) {
        if (auto window = FindWindowByClass(windowClass)) {
            return Fail("a window " + windowClass + " is already open (pid " + std::to_string(window->OwnerPid) + ")");
        }
    }
    if (!CheckDevicePoints(scenario, generation, error)) {
        return Fail((scenarioPath.empty() ? std::string("scenario") : scenarioPath) + ", " + error);
    }
    HostLayout layout = MakeLayout(scenario, generation);
    for (const MeterConfig& meter : scenario.Meters) {
        HostTable table;
        int index = 0;
        if (meter.HasPoint && !PointLocation(meter.Point, generation, table, index)) {
            return Fail("meter " + meter.Name + ": no such point on a V" + std::to_string(generation) + " host");
        }
    }

    std::vector<std::string> warnings;
    bool installed = InstallHost(scenario, layout, warnings, error);
    for (const std::string& warning : warnings) std::fprintf(stderr, "telvane-host: warning: %s\n", warning.c_str());
    if (!installed) return Fail(error);
    // The pid goes in before the job is marked running, so a stop that sees the job finds the process.
    if (!SaveLayout(layout)) return Fail("cannot write " + HostRecordPath());
    SaveHostPid(static_cast<long>(::getpid()));

    HostState state;
    if (!state.Open(LocalPath(layout.HostFolder).string())) return Fail("cannot open the point state in " + layout.HostFolder);
    state.Reset();
    SetUpHostState(state, scenario, layout);

    QCoreApplication app(argc, argv);
    RunningHost host(scenario, layout, state);
    if (!host.Start(error)) {
        host.Stop();
        SaveHostPid(0);
        return Fail(error);
    }

    Say("V" + std::to_string(generation) + " host running in " + layout.HostFolder + ", job " + layout.JobName +
        " (pid " + std::to_string(::getpid()) + ")");
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        if (!host.Tick()) app.quit();
    });
    tick.start(TickMilliseconds);
    app.exec();

    host.Stop();
    SaveHostPid(0);
    Say("job stopped");
    return 0;
}
