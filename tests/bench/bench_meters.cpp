// Real meters in the stand-in host, measured on the running telvane-host:
//  - Modbus: 200 points on 4 devices (the Modbus test server over TCP) polled every second: the
//    host's CPU share, against the same host running without devices in the same run.
//  - MQTT: 5,000 messages a second into 200 points through mosquitto: messages the host takes a
//    second against mosquitto_sub reading the same stream, and whether any point misses its last value.
// A plain program: it prints its own summary lines ("meters modbus: ..." and "meters mqtt: ...").
#include <mosquitto.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "e2e/meters/TestServers.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

fs::path root;

pid_t Spawn(const std::vector<std::string>& argv, const fs::path& out) {
    std::fflush(stdout);  // or the child's freopen writes our buffered lines again
    pid_t pid = ::fork();
    if (pid == 0) {
        if (!std::freopen(out.c_str(), "w", stdout) || !std::freopen((out.string() + ".err").c_str(), "w", stderr)) ::_exit(126);
        std::vector<char*> args;
        for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        ::execvp(args[0], args.data());
        ::_exit(127);
    }
    return pid;
}

std::string Capture(const std::vector<std::string>& argv) {
    fs::path out = root / "capture.out";
    pid_t pid = Spawn(argv, out);
    ::waitpid(pid, nullptr, 0);
    std::ifstream in(out);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void Stop(pid_t& pid) {
    if (pid <= 0) return;
    ::kill(pid, SIGTERM);
    for (int i = 0; i < 250 && ::waitpid(pid, nullptr, WNOHANG) != pid; ++i) std::this_thread::sleep_for(20ms);
    if (::kill(pid, 0) == 0) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    pid = 0;
}

// CPU seconds a process's threads have run so far, to the nanosecond (schedstat of every task).
double CpuSeconds(pid_t pid) {
    double total = 0;
    std::error_code ec;
    for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(pid) + "/task", ec)) {
        std::ifstream in(task.path() / "schedstat");
        unsigned long long ns = 0;
        if (in >> ns) total += static_cast<double>(ns) / 1e9;
    }
    return total;
}

pid_t StartHost(const std::string& scenario, const std::string& name) {
    fs::path file = root / (name + ".scn");
    std::ofstream(file) << scenario;
    pid_t pid = Spawn({TELVANE_HOST_PROGRAM, "run", "--scenario", file.string()}, root / (name + ".out"));
    for (int i = 0; i < 300; ++i) {
        if (Capture({TELVANE_HOST_PROGRAM, "status"}).find("job running: yes") != std::string::npos) return pid;
        std::this_thread::sleep_for(50ms);
    }
    std::fprintf(stderr, "the host did not start\n");
    Stop(pid);
    return 0;
}

// The host's CPU share of a core over span, after a warm-up.
double CpuShare(pid_t pid, std::chrono::seconds span) {
    std::this_thread::sleep_for(2s);
    double before = CpuSeconds(pid);
    auto start = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(span);
    double used = CpuSeconds(pid) - before;
    return used / std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool BenchModbus() {
    std::vector<meters::ModbusServer> servers(4);
    std::string scenario = "[host]\ngeneration = 5\njob = Bench\n";
    for (int d = 0; d < 4; ++d) {
        if (!servers[d].StartTcp()) return false;
        scenario += "\n[modbus Meter" + std::to_string(d) + "]\naddress = 127.0.0.1:" + std::to_string(servers[d].Port()) +
                    "\npoll = 1\n";
        // 25 float32 holding registers and 25 uint16 input registers: two requests a poll.
        for (int p = 0; p < 50; ++p) {
            const int tag = d * 50 + p + 1;
            scenario += p < 25 ? "map = T" + std::to_string(tag) + " holding " + std::to_string(2 * p) + " float32\n"
                               : "map = T" + std::to_string(tag) + " input " + std::to_string(p - 25) + " uint16\n";
        }
    }
    pid_t idle = StartHost("[host]\ngeneration = 5\njob = Bench\n", "idle");
    if (idle == 0) return false;
    const double idleShare = CpuShare(idle, 10s);
    Stop(idle);
    pid_t host = StartHost(scenario, "modbus");
    if (host == 0) return false;
    const double share = CpuShare(host, 10s);
    // Every point read: the last value the servers hold is what the host shows.
    servers[3].Set("input", 24, {4321});
    std::this_thread::sleep_for(1500ms);
    const std::string got = Capture({TELVANE_HOST_PROGRAM, "get", "T200"});
    Stop(host);
    for (auto& s : servers) s.Stop();
    std::printf("meters modbus: 200 points on 4 devices polled every second: host %.3f %% of a core "
                "(idle host %.3f %%), last point read %s\n",
                share * 100, idleShare * 100, std::stod(got) == 4321 ? "yes" : "no");
    return std::stod(got) == 4321;
}

bool BenchMqtt() {
    meters::Broker broker(root / "broker");
    if (!broker.Start()) return false;
    const int port = broker.Port();
    std::string scenario = "[host]\ngeneration = 5\njob = Bench\n\n[mqtt Bench]\nbroker = 127.0.0.1:" + std::to_string(port) + "\n";
    for (int p = 0; p < 200; ++p) scenario += "map = T" + std::to_string(p + 1) + " bench/p" + std::to_string(p) + "\n";
    pid_t host = StartHost(scenario, "mqtt");
    if (host == 0) return false;
    pid_t sub = Spawn({"mosquitto_sub", "-h", "127.0.0.1", "-p", std::to_string(port), "-t", "bench/#"}, root / "sub.out");
    std::this_thread::sleep_for(1s);

    mosquitto_lib_init();
    mosquitto* pub = mosquitto_new(nullptr, true, nullptr);
    if (pub == nullptr || mosquitto_connect(pub, "127.0.0.1", port, 30) != MOSQ_ERR_SUCCESS ||
        mosquitto_loop_start(pub) != MOSQ_ERR_SUCCESS) {
        return false;
    }
    // 5,000 a second for five seconds, paced in slices of a millisecond; message i carries i.
    constexpr int Rate = 5000, Seconds = 5, Total = Rate * Seconds;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < Total; ++i) {
        const auto due = start + std::chrono::microseconds(static_cast<long long>(i) * 1000000 / Rate);
        if (std::chrono::steady_clock::now() < due) std::this_thread::sleep_until(due);
        const std::string topic = "bench/p" + std::to_string(i % 200), payload = std::to_string(i);
        while (mosquitto_publish(pub, nullptr, topic.c_str(), static_cast<int>(payload.size()), payload.data(), 0, false) ==
               MOSQ_ERR_NOMEM) {
            std::this_thread::sleep_for(1ms);
        }
    }
    const double streamSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::this_thread::sleep_for(1500ms);
    mosquitto_disconnect(pub);
    mosquitto_loop_stop(pub, false);
    mosquitto_destroy(pub);

    std::vector<std::string> get{TELVANE_HOST_PROGRAM, "get"};
    for (int p = 0; p < 200; ++p) get.push_back("T" + std::to_string(p + 1));
    std::istringstream values(Capture(get));
    int lost = 0;
    for (int p = 0; p < 200; ++p) {
        double v = -1;
        values >> v;
        const int last = Total - 200 + p;  // the last i with i % 200 == p
        if (std::fabs(v - static_cast<float>(last)) > 0.5) ++lost;
    }
    Stop(host);
    Stop(sub);
    broker.Stop();
    std::ifstream hostOut(root / "mqtt.out");
    std::string line;
    long long taken = -1;
    while (std::getline(hostOut, line)) {
        size_t at = line.find(": ", line.find("mqtt Bench"));
        if (line.find("messages taken") != std::string::npos && at != std::string::npos) taken = std::stoll(line.substr(at + 2));
    }
    std::ifstream subOut(root / "sub.out");
    long long subLines = 0;
    while (std::getline(subOut, line)) ++subLines;
    const double ratio = subLines > 0 ? static_cast<double>(taken) / static_cast<double>(subLines) : 0;
    std::printf("meters mqtt: %d msg/s into 200 points: host %.0f msg/s against mosquitto_sub %.0f msg/s, "
                "ratio %.3f, last values lost %d\n",
                Rate, taken / streamSeconds, subLines / streamSeconds, ratio, lost);
    return taken >= 0;
}

}  // namespace

int main() {
    char name[] = "/tmp/vt-benchmeters-XXXXXX";
    if (::mkdtemp(name) == nullptr) return 1;
    root = name;
    fs::create_directories(root / "prefix");
    ::setenv("VOLTARIS_PREFIX", (root / "prefix").c_str(), 1);
    bool ok = BenchModbus();
    ok = BenchMqtt() && ok;
    std::error_code ec;
    fs::remove_all(root, ec);
    return ok ? 0 : 1;
}
