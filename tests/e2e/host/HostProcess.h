#pragma once
// Running telvane-host from a test in a fresh prefix of its own.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Prefix.h"
#include "support/VbConvert.h"

struct ToolResult {
    int ExitCode = -1;
    std::string Out;
    std::string Err;
};

class TestPrefix {
public:
    TestPrefix() {
        char pattern[] = "/tmp/vt-host-XXXXXX";
        root_ = ::mkdtemp(pattern);
        UsePrefix(root_);
    }
    ~TestPrefix() {
        std::error_code ec;
        std::filesystem::remove_all(root_, ec);
    }
    const std::filesystem::path& Root() const { return root_; }
    std::string WriteFile(const std::string& name, const std::string& text) const {
        std::filesystem::path path = root_ / name;
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }

private:
    std::filesystem::path root_;
};

inline std::string ReadAll(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// Starts telvane-host with args; its output goes to files so a chatty host never blocks.
inline pid_t StartTool(const std::vector<std::string>& args, const std::string& outFile, const std::string& errFile) {
    pid_t pid = ::fork();
    if (pid == 0) {
        (void)!std::freopen(outFile.c_str(), "w", stdout);
        (void)!std::freopen(errFile.c_str(), "w", stderr);
        std::string program = TELVANE_HOST_PROGRAM;
        std::vector<std::string> copy = args;
        std::vector<char*> argv{program.data()};
        for (std::string& a : copy) argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    return pid;
}

// Waits for pid up to timeout; the exit code, or -1 when it is still running (then it is killed).
inline int WaitTool(pid_t pid, std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    int status = 0;
    for (;;) {
        pid_t done = ::waitpid(pid, &status, WNOHANG);
        if (done == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

inline ToolResult RunTool(const TestPrefix& prefix, const std::vector<std::string>& args,
                          std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
    static int counter = 0;
    std::string base = (prefix.Root() / ("tool" + std::to_string(++counter))).string();
    pid_t pid = StartTool(args, base + ".out", base + ".err");
    ToolResult result;
    result.ExitCode = WaitTool(pid, timeout);
    result.Out = ReadAll(base + ".out");
    result.Err = ReadAll(base + ".err");
    return result;
}

// The "name: value" lines of status.
inline std::map<std::string, std::string> StatusLines(const std::string& text) {
    std::map<std::string, std::string> lines;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        size_t colon = line.find(": ");
        if (colon == std::string::npos) {
            if (!line.empty() && line.back() == ':') lines[line.substr(0, line.size() - 1)] = "";
            continue;
        }
        lines[line.substr(0, colon)] = line.substr(colon + 2);
    }
    return lines;
}

inline std::map<std::string, std::string> Status(const TestPrefix& prefix) {
    return StatusLines(RunTool(prefix, {"status"}).Out);
}

// A point's value as `telvane-host get` prints it.
inline double GetValue(const TestPrefix& prefix, const std::string& point) {
    ToolResult r = RunTool(prefix, {"get", point});
    EXPECT_EQ(r.ExitCode, 0) << r.Err;
    return Val(r.Out);
}

inline bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
    return condition();
}

// A host started in the background; killed at the end of the test if still running.
class BackgroundHost {
public:
    BackgroundHost(const TestPrefix& prefix, const std::vector<std::string>& runArgs) : prefix_(prefix) {
        std::vector<std::string> args{"run"};
        args.insert(args.end(), runArgs.begin(), runArgs.end());
        out_ = (prefix.Root() / "host.out").string();
        err_ = (prefix.Root() / "host.err").string();
        pid_ = StartTool(args, out_, err_);
    }
    ~BackgroundHost() {
        if (pid_ > 0) WaitTool(pid_, std::chrono::milliseconds(0));
    }
    pid_t Pid() const { return pid_; }
    // True once status reports the job running (false when the host died or took too long).
    bool WaitRunning() {
        return WaitFor([this] {
            if (pid_ > 0 && ::waitpid(pid_, &status_, WNOHANG) == pid_) {
                pid_ = 0;
                return true;
            }
            ToolResult status = RunTool(prefix_, {"status"});
            return StatusLines(status.Out)["job running"] == "yes";
        }) && pid_ > 0;
    }
    int Wait(std::chrono::milliseconds timeout) {
        int code = WaitTool(pid_, timeout);
        pid_ = 0;
        return code;
    }
    void Kill() {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = 0;
    }
    std::string Output() const { return ReadAll(out_) + ReadAll(err_); }

private:
    const TestPrefix& prefix_;
    pid_t pid_ = 0;
    int status_ = 0;
    std::string out_;
    std::string err_;
};
