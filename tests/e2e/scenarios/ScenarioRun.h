#pragma once
// The monitor as users run it, one scenario a test: a fresh prefix and program folder, the
// stand-in host started with a scenario of simulated meters, a tag setup built with vt-mtg,
// voltamon --headless under the prefix's simulated clock, and the files read back with vt-store.
#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Spawn.h"

namespace scenario {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using e2e::ReadAll;
using e2e::WaitFor;

struct Result {
    int ExitCode = -1;  // -1: still running at the deadline (then killed)
    std::string Out;
    std::string Err;
};

// Simulated local date-times as whole seconds of a civil calendar (1970-01-01T00:00:00 is 0).
using Seconds = long long;
Seconds At(int year, int month, int day, int hour, int minute, int second = 0);
std::string Iso(Seconds value);  // "2026-11-19T10:00:00"
std::string DateText(Seconds value);  // "2026-11-19"
Seconds MonthOf(Seconds value);  // its month's first midnight
// "19/11/26 10:00:00", the stamp of the monitor's logs.
bool ParseLogStamp(const std::string& text, Seconds& value);

void WriteAll(const fs::path& path, const std::string& text);
// Written under another name and renamed, so a scanning monitor never sees half a file.
void DropFile(const fs::path& path, const std::string& text);
std::vector<std::string> Lines(const std::string& text);  // without CR, nor an empty last line
int Count(const std::string& text, const std::string& part);

// A V5 host job whose one meter, named name on host tag T1, runs at a constant rate an hour.
std::string OneMeterSite(const std::string& job, const std::string& name, double rate);
// A vt-mtg description: the header, then tag 1 named name reading host tag 1 as a rate, then more.
std::string RateTagSetup(const std::string& name, const std::string& more = "", int periodsPerDay = 48);
// An online tag of type 1 on page n, with further fields.
std::string Tag(int n, const std::string& name, int scanType, const std::string& fields = "");

// A period record of vt-store records; an empty one (no flag shown) reads as flag 0 and zeros.
struct Record {
    int Flag = -1;
    std::vector<double> Values;
};

using Period = std::pair<std::string, int>;  // (date, period)

struct StoreRecords {
    bool Ok = false;
    std::string Error;
    std::string Heading;               // the first line as vt-store wrote it
    std::vector<std::string> Columns;  // tag names, in tag number order
    std::map<Period, Record> Rows;
    const Record* Find(const std::string& date, int period) const;
    // Every record but those of saved is empty: flag 0 and zeros.
    void ExpectEmptyBut(const std::set<Period>& saved) const;
};

class ScenarioTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    Result Run(const std::string& program, const std::vector<std::string>& args, std::chrono::milliseconds timeout = 30s);
    Result Host(const std::vector<std::string>& args) { return Run(TELVANE_HOST_PROGRAM, args); }
    pid_t Start(const std::string& program, const std::vector<std::string>& args, const std::string& name);

    // The prefix clock; SpeedUp keeps its time (on by under a second) and changes the speed.
    bool SetClock(Seconds start, double speed);
    Seconds Clock();
    bool SpeedUp(double speed);

    // The host with scenario text, waited for until its job runs; learns the job's folders.
    bool StartHost(const std::string& scenarioText);
    // The job's tag setup from a vt-mtg description; its settings (LF becomes CR LF).
    bool BuildSetup(const std::string& description);
    void WriteSettings(const std::string& text);
    fs::path SettingsFile() const { return setupLocal_ / "VoltarisSetup.ini"; }

    // voltamon --headless; WaitStarted waits until stage 2 has checked the month's store file.
    pid_t StartMonitor(const std::vector<std::string>& switches = {}, const std::string& name = "monitor");
    bool WaitStarted(const std::string& storePrefix, Seconds month, std::chrono::milliseconds timeout = 60s);
    // All of the above, the scan log on, and the monitor started.
    void Launch(Seconds start, double speed, const std::string& site, const std::string& tags, const std::string& storePrefix,
                int scanSeconds, const std::string& moreSettings = "", const std::vector<std::string>& switches = {});
    // Until the clock reaches target while the monitor runs; false if it ended or time ran out.
    bool RunUntil(Seconds target, std::chrono::milliseconds timeout);
    // Until the scan log shows the period ending at end saved. Reaching a clock time is not
    // enough: under load the saving scan can come after it, and a host stopped first leaves
    // the record empty (flag 0).
    bool WaitSaved(Seconds end, std::chrono::milliseconds timeout);
    bool Alive(pid_t& pid);
    int WaitExit(pid_t& pid, std::chrono::milliseconds timeout) { return e2e::WaitExit(pid, timeout); }
    // The host's stop, and the monitor ends with it.
    void StopHost();

    std::string StoreFile(const std::string& storePrefix, Seconds month) const;
    fs::path StoreFileLocal(const std::string& storePrefix, Seconds month) const;
    StoreRecords Records(const std::string& storeFileText);

    std::string MainLog() const;  // with its older generations, oldest first
    std::string ErrorLines() const;  // its ", Error " lines
    std::vector<Seconds> ScanStamps() const;  // of its scan lines
    // How late, at most, the scans that save the periods ending in [from, to] come after the
    // period ends. A scan's log stamp is taken just before its save, so the first scan stamped
    // no earlier than 2 s before a period end may be the one that saves it; when it was not (it
    // saved before the end), the saving scan is the next one, at most a scan interval later.
    static Seconds SaveLateness(const std::vector<Seconds>& stamps, Seconds from, Seconds to, int periodSeconds,
                                int scanSeconds);
    // The programs' output and the log's tail, for failure messages.
    std::string Diagnostics() const;

    fs::path root_;
    fs::path programDir_;
    std::string setupFolder_;  // path texts of the job
    std::string dataFolder_;
    fs::path setupLocal_;
    fs::path dataLocal_;
    pid_t host_ = 0;
    pid_t monitor_ = 0;
    std::vector<pid_t> others_;
    int runs_ = 0;
};

}  // namespace scenario
