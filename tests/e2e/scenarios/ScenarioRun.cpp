#include "ScenarioRun.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace scenario {

namespace {

std::string Tail(const std::string& text, std::size_t count) {
    return text.size() <= count ? text : "..." + text.substr(text.size() - count);
}

// The fields of a line; empty ones count, a last one too ("a,," is three).
std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (std::size_t at; (at = text.find(separator, start)) != std::string::npos; start = at + 1)
        fields.push_back(text.substr(start, at - start));
    fields.push_back(text.substr(start));
    return fields;
}

}  // namespace

Seconds At(int year, int month, int day, int hour, int minute, int second) {
    const std::chrono::sys_days date{std::chrono::year{year} / month / day};
    return date.time_since_epoch().count() * 86400LL + hour * 3600 + minute * 60 + second;
}

std::string Iso(Seconds value) {
    using namespace std::chrono;
    const sys_seconds time{seconds{value}};
    const auto date = floor<days>(time);
    const year_month_day ymd{date};
    const hh_mm_ss hms{time - date};
    char text[96];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(ymd.year()),
                  static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()), static_cast<int>(hms.hours().count()),
                  static_cast<int>(hms.minutes().count()), static_cast<int>(hms.seconds().count()));
    return text;
}

std::string DateText(Seconds value) { return Iso(value).substr(0, 10); }

Seconds MonthOf(Seconds value) { return value / 86400 * 86400 - (std::stoi(DateText(value).substr(8)) - 1) * 86400LL; }

bool ParseLogStamp(const std::string& text, Seconds& value) {
    int y, mo, d, h, mi, s;
    if (text.size() < 17 || std::sscanf(text.c_str(), "%2d/%2d/%2d %2d:%2d:%2d", &d, &mo, &y, &h, &mi, &s) != 6)
        return false;
    value = At(2000 + y, mo, d, h, mi, s);
    return true;
}

void WriteAll(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

void DropFile(const fs::path& path, const std::string& text) {
    const fs::path temp = path.parent_path() / (path.filename().string() + ".part");
    WriteAll(temp, text);
    fs::rename(temp, path);
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines = Split(text, '\n');
    if (lines.back().empty()) lines.pop_back();
    for (std::string& line : lines)
        if (!line.empty() && line.back() == '\r') line.pop_back();
    return lines;
}

int Count(const std::string& text, const std::string& part) {
    int n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

const Record* StoreRecords::Find(const std::string& date, int period) const {
    const auto it = Rows.find({date, period});
    return it == Rows.end() ? nullptr : &it->second;
}

void StoreRecords::ExpectEmptyBut(const std::set<Period>& saved) const {
    for (const auto& [key, record] : Rows) {
        if (saved.count(key)) continue;
        SCOPED_TRACE(key.first + " period " + std::to_string(key.second));
        EXPECT_EQ(record.Flag, 0);
        for (double value : record.Values) EXPECT_EQ(value, 0.0);
    }
}

void ScenarioTest::SetUp() {
    // Lower-case letters only: the monitor writes some paths in lower case.
    static unsigned counter = 0;
    for (;;) {
        char name[64];
        std::snprintf(name, sizeof name, "/tmp/vt-scenario-%x-%x-%x", static_cast<unsigned>(::getpid()), ++counter,
                      static_cast<unsigned>(std::chrono::steady_clock::now().time_since_epoch().count() & 0xffff));
        root_ = name;
        if (fs::create_directory(root_)) break;
    }
    programDir_ = root_ / "program";
    fs::create_directories(root_ / "prefix");
    fs::create_directories(programDir_);
    ::setenv("VOLTARIS_PREFIX", (root_ / "prefix").c_str(), 1);
    ::setenv("VOLTARIS_PROGRAM_DIR", programDir_.c_str(), 1);
    // Headless whatever the machine running the tests has.
    ::unsetenv("DISPLAY");
    ::unsetenv("WAYLAND_DISPLAY");
}

void ScenarioTest::TearDown() {
    if (HasFailure()) std::fprintf(stderr, "%s\n", Diagnostics().c_str());
    for (pid_t& pid : others_) WaitExit(pid, 0ms);
    WaitExit(monitor_, 0ms);
    WaitExit(host_, 0ms);
    std::error_code ec;
    fs::remove_all(root_, ec);
}

pid_t ScenarioTest::Start(const std::string& program, const std::vector<std::string>& args, const std::string& name) {
    return e2e::Spawn(program, args, (root_ / (name + ".out")).string(), (root_ / (name + ".err")).string());
}

bool ScenarioTest::Alive(pid_t& pid) {
    if (pid > 0 && ::waitpid(pid, nullptr, WNOHANG) == pid) pid = 0;
    return pid > 0;
}

Result ScenarioTest::Run(const std::string& program, const std::vector<std::string>& args,
                         std::chrono::milliseconds timeout) {
    const std::string name = "run" + std::to_string(++runs_);
    pid_t pid = Start(program, args, name);
    Result r;
    r.ExitCode = WaitExit(pid, timeout);
    r.Out = ReadAll(root_ / (name + ".out"));
    r.Err = ReadAll(root_ / (name + ".err"));
    fs::remove(root_ / (name + ".out"));
    fs::remove(root_ / (name + ".err"));
    return r;
}

bool ScenarioTest::SetClock(Seconds start, double speed) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", speed);
    const Result r = Host({"clock", Iso(start), text});
    EXPECT_EQ(r.ExitCode, 0) << r.Err;
    return r.ExitCode == 0;
}

Seconds ScenarioTest::Clock() {
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    const Result r = Host({"clock"});
    EXPECT_EQ(std::sscanf(r.Out.c_str(), "%d-%d-%dT%d:%d:%d", &y, &mo, &d, &h, &mi, &s), 6) << r.Out << r.Err;
    return At(y, mo, d, h, mi, s);
}

bool ScenarioTest::SpeedUp(double speed) { return SetClock(Clock() + 1, speed); }

bool ScenarioTest::StartHost(const std::string& scenarioText) {
    WriteAll(root_ / "site.scn", scenarioText);
    host_ = Start(TELVANE_HOST_PROGRAM, {"run", "--scenario", (root_ / "site.scn").string()}, "host");
    std::map<std::string, std::string> status;
    const bool running = WaitFor(
        [&] {
            if (!Alive(host_)) return true;
            status = e2e::StatusFields(Host({"status"}).Out);
            return status["job running"] == "yes";
        },
        30s);
    if (!running || host_ == 0) {
        ADD_FAILURE() << "the host job did not start";
        return false;
    }
    setupFolder_ = status["job setup folder"];
    dataFolder_ = status["job data folder"];
    setupLocal_ = status["job setup folder (local)"];
    dataLocal_ = status["job data folder (local)"];
    return !setupFolder_.empty() && !dataFolder_.empty();
}

bool ScenarioTest::BuildSetup(const std::string& description) {
    WriteAll(root_ / "tags.txt", description);
    const Result r = Run(VT_MTG_PROGRAM, {"build", (root_ / "tags.txt").string(), setupFolder_ + "\\VoltarisMonitor.mtg"});
    EXPECT_EQ(r.ExitCode, 0) << r.Err;
    return r.ExitCode == 0;
}

void ScenarioTest::WriteSettings(const std::string& text) {
    std::string crlf;
    for (char c : text) {
        if (c == '\n') crlf += '\r';
        crlf += c;
    }
    WriteAll(SettingsFile(), crlf);
    // A request server port of its own: scenarios may run side by side (0 would mean the default).
    const int port = ::FreePort();
    EXPECT_GT(port, 0);
    WriteAll(setupLocal_ / "WinSockets.ini", "[Sockets]\r\nVoltarisMonitorPortNo=" + std::to_string(port) + "\r\n");
}

pid_t ScenarioTest::StartMonitor(const std::vector<std::string>& switches, const std::string& name) {
    std::vector<std::string> args{"--headless"};
    args.insert(args.end(), switches.begin(), switches.end());
    return Start(VOLTAMON_PROGRAM, args, name);
}

void ScenarioTest::Launch(Seconds start, double speed, const std::string& site, const std::string& tags,
                          const std::string& storePrefix, int scanSeconds, const std::string& moreSettings,
                          const std::vector<std::string>& switches) {
    ASSERT_TRUE(SetClock(start, speed));
    ASSERT_TRUE(StartHost(site));
    ASSERT_TRUE(BuildSetup(tags));
    WriteSettings("[general]\nStoreFilePrefix=" + storePrefix + "\ntimer1scan=" + std::to_string(scanSeconds) +
                  "\nLogScans=1\n" + moreSettings);
    monitor_ = StartMonitor(switches);
    ASSERT_TRUE(WaitStarted(storePrefix, MonthOf(start)));
}

void ScenarioTest::StopHost() {
    ASSERT_EQ(Host({"stop"}).ExitCode, 0);
    EXPECT_EQ(WaitExit(monitor_, 10s), 0) << "the monitor did not end with the host";
}

std::string ScenarioTest::StoreFile(const std::string& storePrefix, Seconds month) const {
    return dataFolder_ + "\\Voltaris\\" + StoreFileLocal(storePrefix, month).filename().string();
}

fs::path ScenarioTest::StoreFileLocal(const std::string& storePrefix, Seconds month) const {
    const std::string iso = Iso(month);
    return dataLocal_ / "Voltaris" / (storePrefix + iso.substr(2, 2) + iso.substr(5, 2) + ".lum");
}

bool ScenarioTest::WaitStarted(const std::string& storePrefix, Seconds month, std::chrono::milliseconds timeout) {
    // Stage 2 checks the month's store file (creating it) before its first acquisition pass.
    const fs::path store = StoreFileLocal(storePrefix, month);
    const bool started = WaitFor(
        [&] {
            std::error_code ec;
            return !Alive(monitor_) || (fs::file_size(store, ec) >= 200 && !ec);
        },
        timeout);
    if (!started || monitor_ == 0) ADD_FAILURE() << "the monitor did not start (store file " << store << ")";
    return started && monitor_ != 0;
}

bool ScenarioTest::RunUntil(Seconds target, std::chrono::milliseconds timeout) {
    bool reached = false;
    WaitFor([&] { return !Alive(monitor_) || (reached = Clock() >= target); }, timeout);
    if (monitor_ == 0) ADD_FAILURE() << "the monitor ended before " << Iso(target);
    else if (!reached) ADD_FAILURE() << "the clock did not reach " << Iso(target) << " in time";
    return reached && monitor_ != 0;
}

bool ScenarioTest::WaitSaved(Seconds end, std::chrono::milliseconds timeout) {
    // The first scan stamped after end saves the period (if none before did); the next one's
    // line shows that save is over.
    const bool saved = WaitFor(
        [&] {
            const std::vector<Seconds> stamps = ScanStamps();
            return !Alive(monitor_) || std::count_if(stamps.begin(), stamps.end(), [&](Seconds s) { return s > end; }) >= 2;
        },
        timeout);
    if (!saved || monitor_ == 0) ADD_FAILURE() << "no save of the period ending " << Iso(end) << " seen";
    return saved && monitor_ != 0;
}

StoreRecords ScenarioTest::Records(const std::string& storeFileText) {
    StoreRecords records;
    const Result r = Run(VT_STORE_PROGRAM, {"records", storeFileText});
    const std::vector<std::string> lines = Lines(r.Out);
    const std::vector<std::string> head = Split(lines.empty() ? "" : lines[0], ',');
    if (r.ExitCode != 0 || head.size() < 4 || head[0] != "date" || head[3] != "flag") {
        records.Error = "vt-store records " + storeFileText + ": " + r.Err + Tail(r.Out, 200);
        return records;
    }
    records.Heading = lines[0];
    records.Columns.assign(head.begin() + 4, head.end());
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::vector<std::string> fields = Split(lines[i], ',');
        if (fields.size() != head.size()) {
            records.Error = "line of another width: " + lines[i];
            return records;
        }
        Record& record = records.Rows[{fields[0], std::stoi(fields[1])}];
        const bool saved = !fields[3].empty();
        record.Flag = saved ? std::stoi(fields[3]) : 0;
        for (std::size_t c = 4; c < fields.size(); ++c) record.Values.push_back(saved ? std::stod(fields[c]) : 0.0);
    }
    records.Ok = true;
    return records;
}

std::string ScenarioTest::MainLog() const {
    std::string text;
    for (int generation = 4; generation >= 1; --generation)
        text += ReadAll(programDir_ / ("voltamon.@0" + std::to_string(generation)));
    return text + ReadAll(programDir_ / "voltamon.log");
}

std::string ScenarioTest::ErrorLines() const {
    std::string errors;
    for (const std::string& line : Lines(MainLog()))
        if (line.find(", Error ") != std::string::npos) errors += line + "\n";
    return errors;
}

std::vector<Seconds> ScenarioTest::ScanStamps() const {
    std::vector<Seconds> stamps;
    for (const std::string& line : Lines(MainLog())) {
        // "19/11/26 10:00:20 - M1,600.00,3.33,600.00;M2,..."
        Seconds stamp = 0;
        if (line.size() >= 22 && line.compare(17, 5, " - M1") == 0 && ParseLogStamp(line, stamp)) stamps.push_back(stamp);
    }
    return stamps;
}

Seconds ScenarioTest::SaveLateness(const std::vector<Seconds>& stamps, Seconds from, Seconds to, int periodSeconds,
                                   int scanSeconds) {
    Seconds late = 0;
    for (Seconds end = (from + periodSeconds - 1) / periodSeconds * periodSeconds; end <= to; end += periodSeconds) {
        const auto scan = std::lower_bound(stamps.begin(), stamps.end(), end - 2);
        late = std::max(late, scan == stamps.end() ? to - end : *scan - end);
    }
    return late + scanSeconds;
}

std::string ScenarioTest::Diagnostics() const {
    std::string text;
    for (const char* name : {"host.out", "host.err", "monitor.out", "monitor.err", "second.out", "second.err"}) {
        const std::string content = ReadAll(root_ / name);
        if (!content.empty()) text += std::string("== ") + name + "\n" + Tail(content, 2000) + "\n";
    }
    std::string log;
    for (const std::string& line : Lines(ReadAll(programDir_ / "voltamon.log")))
        if (line.find(" - M1,") == std::string::npos) log += line + "\n";
    if (!log.empty()) text += "== voltamon.log (without scan lines)\n" + Tail(log, 4000) + "\n";
    return text;
}

std::string OneMeterSite(const std::string& job, const std::string& name, double rate) {
    return "[host]\ngeneration = 5\njob = " + job + "\n\n[meter " + name + "]\npoint = T1\nkind = rate\nrate = " +
           std::to_string(rate) + "\n";
}

std::string RateTagSetup(const std::string& name, const std::string& more, int periodsPerDay) {
    return "[Header]\nSetupVersion = 250\nPeriodsPerDay = " + std::to_string(periodsPerDay) + "\n" + Tag(1, name, 24) + more;
}

std::string Tag(int n, const std::string& name, int scanType, const std::string& fields) {
    return "\n[Tag " + std::to_string(n) + "]\nTagName = \"" + name + "\"\nOnline = 1\nTagType = 1\nScanType = " +
           std::to_string(scanType) + "\nPageNo = " + std::to_string(n) + "\n" + fields;
}

}  // namespace scenario
