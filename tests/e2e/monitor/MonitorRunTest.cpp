// The monitor as users run it: telvane-host with two simulated meters, a tag setup made with
// vt-mtg, and voltamon --headless under a fast simulated clock across three demand periods of
// 15 minutes. The store file, the peak table and the host's points must show the monitor's work,
// and stopping the host must end the monitor.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

struct Result {
    int ExitCode = -1;
    std::string Out;
    std::string Err;
};

std::string ReadAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteAll(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

pid_t Start(const std::string& program, std::vector<std::string> args, const fs::path& out, const fs::path& err) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        if (!std::freopen(out.c_str(), "w", stdout) || !std::freopen(err.c_str(), "w", stderr)) ::_exit(126);
        std::vector<char*> argv;
        std::string name = program;
        argv.push_back(name.data());
        for (std::string& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    return pid;
}

// The exit code, or -1 when the process is still running at the deadline (it is then killed).
int Wait(pid_t pid, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    int status = 0;
    for (;;) {
        if (::waitpid(pid, &status, WNOHANG) == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(10ms);
    }
}

bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (condition()) return true;
        std::this_thread::sleep_for(100ms);
    }
    return condition();
}

// A port nobody listens on just now, so tests running side by side never share one.
int FreePort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    int port = 0;
    if (fd >= 0 && ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    if (fd >= 0) ::close(fd);
    return port;
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::string part;
    std::istringstream in(text);
    while (std::getline(in, part, separator)) parts.push_back(part);
    return parts;
}

// A fresh prefix and program folder; the programs started in it are killed if the test fails.
class MonitorRun : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/vt-monitor-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root = pattern;
        ::setenv("VOLTARIS_PREFIX", (root / "prefix").c_str(), 1);
        ::setenv("VOLTARIS_PROGRAM_DIR", (root / "program").c_str(), 1);
        fs::create_directories(root / "prefix");
        fs::create_directories(root / "program");
        // Headless whatever the machine running the tests has.
        ::unsetenv("DISPLAY");
        ::unsetenv("WAYLAND_DISPLAY");
    }
    void TearDown() override {
        for (pid_t pid : {monitor, host})
            if (pid > 0) Wait(pid, 0ms);
        std::error_code ec;
        fs::remove_all(root, ec);
    }

    Result Run(const std::string& program, const std::vector<std::string>& args) {
        const std::string base = (root / ("run" + std::to_string(++runs))).string();
        Result r;
        r.ExitCode = Wait(Start(program, args, base + ".out", base + ".err"), 30s);
        r.Out = ReadAll(base + ".out");
        r.Err = ReadAll(base + ".err");
        return r;
    }
    Result Host(const std::vector<std::string>& args) { return Run(TELVANE_HOST_PROGRAM, args); }
    // A path text of the prefix as a local path.
    fs::path Local(const std::string& driveCPath) const { return root / "prefix" / "drives" / "c" / driveCPath; }

    fs::path root;
    pid_t host = 0;
    pid_t monitor = 0;
    int runs = 0;
};

const char* const Scenario = R"(
[host]
generation = 5
job = E2E

[meter Constant]
point = T1
kind = rate
rate = 120

[meter Pulses]
point = T2
kind = pulse
rate = 60
units per pulse = 0.1
rollover = 1000000
)";

// A constant rate from host tag 1, a pulse counter on host tag 2 (both in the site total, rates
// back to host tags 101 and 102), a maths tag 2 x tag 1 + tag 2, and a display of tag 1 on line 1.
const char* const TagSetup = R"(
[Header]
SetupVersion = 250
PeriodsPerDay = 96

[Tag 1]
TagName = "Constant"
Online = 1
TagType = 1
ScanType = 24
PageNo = 1
UnitsPerPulse = 1
HostTagNumber = 101
InTotal = 1

[Tag 2]
TagName = "Pulses"
Online = 1
TagType = 1
ScanType = 22
PageNo = 2
UnitsPerPulse = 0.1
RolloverValue = 1000000
HostTagNumber = 102
InTotal = 1

[Tag 3]
TagName = "Maths"
Online = 1
TagType = 1
ScanType = 8
Term0 = 1 0 2
Term1 = 2 1 1

[Tag 4]
TagName = "Display"
Online = 1
TagType = 3
DisplaySourceIsTag = 1
DisplaySource = 1
RecorderNo = 1
PageNo = 1
LineNo = 1
)";

TEST_F(MonitorRun, StoresThreePeriodsWritesBackAndEndsWithTheHost) {
    WriteAll(root / "site.scn", Scenario);
    WriteAll(root / "tags.txt", TagSetup);

    host = Start(TELVANE_HOST_PROGRAM, {"run", "--scenario", (root / "site.scn").string()}, root / "host.out",
                 root / "host.err");
    ASSERT_TRUE(WaitFor([&] { return Host({"status"}).Out.find("job running: yes") != std::string::npos; }, 30s))
        << ReadAll(root / "host.err");

    const std::string setupFolder = "C:\\Telvane5\\Jobs\\E2E\\Setup";
    const Result built = Run(VT_MTG_PROGRAM, {"build", (root / "tags.txt").string(), setupFolder + "\\VoltarisMonitor.mtg"});
    ASSERT_EQ(built.ExitCode, 0) << built.Err;
    WriteAll(Local("Telvane5/Jobs/E2E/Setup/VoltarisSetup.ini"), "[general]\r\nStoreFilePrefix=E2E\r\ntimer1scan=10\r\n");
    WriteAll(Local("Telvane5/Jobs/E2E/Setup/WinSockets.ini"), "[Sockets]\r\nVoltarisMonitorPortNo=" + std::to_string(FreePort()) + "\r\n");

    // Two minutes before a period ends, two minutes of PC time a real second.
    ASSERT_EQ(Host({"clock", "2026-11-19T09:58:00", "120"}).ExitCode, 0);
    monitor = Start(VOLTAMON_PROGRAM, {"--headless"}, root / "monitor.out", root / "monitor.err");

    // Past 10:30 and a scan or two beyond it.
    ASSERT_TRUE(WaitFor(
        [&] {
            int status = 0;
            if (::waitpid(monitor, &status, WNOHANG) == monitor) {
                monitor = 0;
                return true;
            }
            return Host({"clock"}).Out >= "2026-11-19T10:31:00";
        },
        120s));
    ASSERT_GT(monitor, 0) << "the monitor ended early: " << ReadAll(root / "monitor.err")
                          << ReadAll(root / "program" / "voltamon.log");

    // The host's points: rates and the display value written back.
    const std::vector<std::string> points = Split(Host({"get", "T101", "T102", "L1"}).Out, '\n');
    ASSERT_EQ(points.size(), 3u);
    EXPECT_FLOAT_EQ(std::stof(points[0]), 120.0f);
    EXPECT_NEAR(std::stof(points[1]), 60.0f, 20.0f);
    EXPECT_GT(std::stof(points[2]), 0.0f);
    EXPECT_LE(std::stof(points[2]), 32.0f);

    // The store file: period 40 ends at 10:00 (the first after start-up, flagged 0), then two full periods.
    const Result records = Run(VT_STORE_PROGRAM, {"records", "C:\\Telvane5\\Jobs\\E2E\\Data\\Voltaris\\E2E2611.lum"});
    ASSERT_EQ(records.ExitCode, 0) << records.Err;
    const std::vector<std::string> lines = Split(records.Out, '\n');
    ASSERT_FALSE(lines.empty());
    ASSERT_EQ(lines[0], "date,period,end,flag,Constant,Pulses,Maths,Display");
    std::map<int, std::vector<std::string>> today;
    for (const std::string& line : lines) {
        const std::vector<std::string> fields = Split(line, ',');
        if (fields.size() == 8 && fields[0] == "2026-11-19") today[std::stoi(fields[1])] = fields;
    }
    ASSERT_EQ(today.size(), 96u);
    auto value = [&](int period, int column) { return std::stod(today[period][static_cast<std::size_t>(column)]); };
    EXPECT_EQ(today[39][3], "0");
    EXPECT_EQ(value(39, 4), 0.0);
    EXPECT_EQ(today[40][3], "0");
    EXPECT_GT(value(40, 4), 0.0);
    EXPECT_LT(value(40, 4), 6.0);
    double highest = 0;
    for (int period : {41, 42}) {
        SCOPED_TRACE("period " + std::to_string(period));
        EXPECT_EQ(today[period][3], "1");
        const double constant = value(period, 4), pulses = value(period, 5), maths = value(period, 6);
        EXPECT_NEAR(constant, 30.0, 3.0);  // 120 an hour for a quarter of an hour
        EXPECT_NEAR(pulses, 15.0, 2.0);    // 60 an hour
        EXPECT_NEAR(maths, 2 * constant + pulses, 0.05);
        highest = std::max(highest, constant + pulses);
    }
    EXPECT_EQ(today[43][3], "0");
    EXPECT_EQ(value(43, 4), 0.0);

    // The peak table: the highest site total first.
    const Result peaks = Run(VT_STORE_PROGRAM, {"peaks", setupFolder + "\\VoltarisSetup.ini"});
    ASSERT_EQ(peaks.ExitCode, 0) << peaks.Err;
    const std::vector<std::string> ranks = Split(peaks.Out, '\n');
    ASSERT_GE(ranks.size(), 4u);
    std::istringstream first(ranks[1]);
    int rank = 0;
    double total = 0;
    first >> rank >> total;
    EXPECT_EQ(rank, 1);
    EXPECT_NEAR(total, highest, 0.01);
    EXPECT_NE(ranks[3].find("Nov 19, 26. 10:00"), std::string::npos) << peaks.Out;

    // The host stops: the monitor notices within a tick and ends.
    ASSERT_EQ(Host({"stop"}).ExitCode, 0);
    EXPECT_EQ(Wait(host, 10s), 0);
    host = 0;
    EXPECT_EQ(Wait(monitor, 10s), 0) << ReadAll(root / "monitor.err");
    monitor = 0;
    EXPECT_EQ(ReadAll(root / "program" / "voltamon.log").find(", Error "), std::string::npos)
        << ReadAll(root / "program" / "voltamon.log");
}

}  // namespace
