#include "Commands.h"

#include <signal.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <thread>

#include "HostDde.h"
#include "HostLayout.h"
#include "HostState.h"
#include "PointRef.h"
#include "platform/Clock.h"
#include "platform/Dde.h"
#include "platform/Paths.h"
#include "platform/WindowRegistry.h"
#include "support/VbConvert.h"
#include "support/VbDate.h"
#include "support/VbText.h"

namespace {

constexpr int StopWaitSeconds = 10;

int Fail(const std::string& text, int code = 1) {
    std::fprintf(stderr, "telvane-host: %s\n", text.c_str());
    return code;
}

bool ParseNumber(std::string_view text, double& value) {
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    if (text.empty()) return false;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool OpenInstalled(HostLayout& layout, HostState& state, std::string& error) {
    if (!LoadLayout(layout)) {
        error = "no host installed in this prefix (start one with: telvane-host run --generation 4|5)";
        return false;
    }
    if (!state.Open(LocalPath(layout.HostFolder).string())) {
        error = "cannot open the point state in " + layout.HostFolder;
        return false;
    }
    return true;
}

bool Locate(const std::string& text, int generation, HostTable& table, int& index, std::string& error) {
    PointRef point;
    if (!ParsePointRef(text, point)) {
        error = "not a point: " + text + " (use [T12], T12, [R1P2L3], [P3L4] or L124)";
        return false;
    }
    if (!PointLocation(point, generation, table, index)) {
        error = "no such point on a V" + std::to_string(generation) + " host: " + text;
        return false;
    }
    return true;
}

std::vector<std::string> HostWindowClasses(int generation) {
    if (generation == 5) return {"TelvaneV5", "Tray32WndClass", "Korvex32printserver"};
    return {"LoaderWClass", "SYSCON", "Tray32WndClass"};
}

std::string IsoText(DateTime value) {
    CivilTime t = ToCivil(value);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", t.Year, t.Month, t.Day, t.Hour, t.Minute, t.Second);
    return text;
}

}  // namespace

int SetPoints(const std::vector<std::string>& assignments) {
    HostLayout layout;
    HostState state;
    std::string error;
    if (!OpenInstalled(layout, state, error)) return Fail(error);
    struct Write {
        HostTable table;
        int index;
        float value;
    };
    std::vector<Write> writes;
    // Every assignment is checked before any is made.
    for (const std::string& assignment : assignments) {
        size_t equals = assignment.find('=');
        if (equals == std::string::npos) return Fail("expected POINT=VALUE: " + assignment, 2);
        Write w{};
        double value = 0;
        if (!Locate(assignment.substr(0, equals), layout.Generation, w.table, w.index, error)) return Fail(error, 2);
        if (!ParseNumber(assignment.substr(equals + 1), value)) return Fail("not a number: " + assignment, 2);
        w.value = static_cast<float>(value);
        writes.push_back(w);
    }
    for (const Write& w : writes) {
        if (HostPoint* point = state.Point(w.table, w.index)) HostStore(point->Reading, w.value);
    }
    return 0;
}

int GetPoints(const std::vector<std::string>& points) {
    HostLayout layout;
    HostState state;
    std::string error;
    if (!OpenInstalled(layout, state, error)) return Fail(error);
    std::vector<std::pair<HostTable, int>> located;
    for (const std::string& text : points) {
        HostTable table;
        int index = 0;
        if (!Locate(text, layout.Generation, table, index, error)) return Fail(error, 2);
        located.emplace_back(table, index);
    }
    for (const auto& [table, index] : located) std::printf("%s\n", FormatSingle(state.Reading(table, index)).c_str());
    return 0;
}

int StopHost() {
    HostLayout layout;
    HostState state;
    std::string error;
    if (!OpenInstalled(layout, state, error)) return Fail(error);
    long pid = LoadHostPid();
    if (!ProcessRunning(pid)) {
        // A host that was killed leaves its job marked running; a stop clears that too.
        state.SetJobRunning(0);
        std::fprintf(stderr, "telvane-host: no host running\n");
        return 0;
    }
    ::kill(static_cast<pid_t>(pid), SIGTERM);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(StopWaitSeconds);
    while (std::chrono::steady_clock::now() < deadline) {
        // The host clears its pid after closing its windows, just before it exits.
        if (!ProcessRunning(pid) || LoadHostPid() != pid) return 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return Fail("the host (pid " + std::to_string(pid) + ") did not stop within " + std::to_string(StopWaitSeconds) +
                " seconds");
}

int PrintStatus() {
    HostLayout layout;
    HostState state;
    std::string error;
    if (!OpenInstalled(layout, state, error)) return Fail(error);
    auto line = [](const std::string& name, const std::string& value) {
        std::printf("%s: %s\n", name.c_str(), value.c_str());
    };
    auto folder = [&line](const std::string& name, const std::string& text) {
        line(name, text);
        line(name + " (local)", LocalPath(text).string());
    };
    line("generation", std::to_string(layout.Generation));
    line("version", std::to_string(layout.Generation) + ".0");
    folder("host folder", layout.HostFolder);
    line("job name", layout.JobName);
    folder("job folder", layout.JobFolder);
    folder("job data folder", layout.DataFolder);
    folder("job setup folder", layout.SetupFolder);
    folder("job root folder", layout.RootFolder);
    folder("job temp folder", layout.TempFolder);
    // As the monitor decides it: V5 asks the point library, V4 looks for the loader's window.
    bool running = layout.Generation == 5 ? state.JobRunning() > 0 : FindWindowByClass("LoaderWClass").has_value();
    line("job running", running ? "yes" : "no");
    long pid = LoadHostPid();
    line("host process", ProcessRunning(pid) ? "running (pid " + std::to_string(pid) + ")" : "not running");
    std::string windows;
    for (const std::string& windowClass : HostWindowClasses(layout.Generation)) {
        if (auto window = FindWindowByClass(windowClass)) {
            if (!windows.empty()) windows += ", ";
            windows += windowClass + (window->Visible ? "" : " (hidden)");
        }
    }
    line("windows", windows);
    line("clock", IsoText(ClockNow()) + (ClockIsSimulated() ? " (simulated, speed " + FormatGeneral(ClockSpeed()) + ")" : ""));
    return 0;
}

int ClockCommand(const std::vector<std::string>& args) {
    if (args.empty()) {
        std::printf("%s\n", IsoText(ClockNow()).c_str());
        return 0;
    }
    if (args.size() == 1 && args[0] == "real") {
        if (VbError e = ClockUseReal()) return Fail("cannot return to the system clock: " + e.Description);
        return 0;
    }
    if (args.size() > 2) return Fail("usage: telvane-host clock [real | START [SPEED]]", 2);
    DateTime start = 0;
    if (!ParseIsoDateTime(args[0], start)) return Fail("not a date-time (YYYY-MM-DDTHH:MM:SS): " + args[0], 2);
    double speed = 1;
    if (args.size() == 2 && (!ParseNumber(args[1], speed) || !(speed > 0))) {
        return Fail("the speed is a number above 0: " + args[1], 2);
    }
    if (VbError e = ClockSimulate(start, speed)) return Fail("cannot set the simulated clock: " + e.Description);
    return 0;
}

int DdeSet(const std::string& topic, const std::string& item, const std::string& text) {
    if (topic.find('|') == std::string::npos || item.empty()) {
        return Fail("usage: telvane-host dde-set APPLICATION|TOPIC ITEM TEXT", 2);
    }
    DdeLink link;
    link.SetTopic(std::string(HostControlApplication) + "|" + HostControlTopic);
    link.SetItem(HostControlSetItem);
    if (VbError e = link.SetMode(DdeLinkMode::Manual)) {
        return Fail("no running host serves DDE in this prefix (" + e.Description + ")");
    }
    link.SetText(topic + "\t" + item + "\t" + text);
    if (VbError e = link.Poke()) return Fail("the host refused " + topic + " " + item + ": " + e.Description);
    return 0;
}
