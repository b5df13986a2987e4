#pragma once
// Running telvane-host from a test in a fresh prefix of its own.
#include <gtest/gtest.h>


#include "e2e/scenarios/Spawn.h"
#include "platform/Prefix.h"
#include "support/VbConvert.h"

using e2e::ReadAll;
using e2e::WaitFor;
using namespace std::chrono_literals;

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

inline ToolResult RunTool(const TestPrefix& prefix, const std::vector<std::string>& args,
                          std::chrono::milliseconds timeout = 20s) {
    static int counter = 0;
    std::string base = (prefix.Root() / ("tool" + std::to_string(++counter))).string();
    pid_t pid = e2e::Spawn(TELVANE_HOST_PROGRAM, args, base + ".out", base + ".err");
    ToolResult result;
    result.ExitCode = e2e::WaitExit(pid, timeout);
    result.Out = ReadAll(base + ".out");
    result.Err = ReadAll(base + ".err");
    return result;
}

inline std::map<std::string, std::string> Status(const TestPrefix& prefix) {
    return e2e::StatusFields(RunTool(prefix, {"status"}).Out);
}

// A point's value as `telvane-host get` prints it.
inline double GetValue(const TestPrefix& prefix, const std::string& point) {
    ToolResult r = RunTool(prefix, {"get", point});
    EXPECT_EQ(r.ExitCode, 0) << r.Err;
    return Val(r.Out);
}

// A host started in the background; killed at the end of the test if still running.
class BackgroundHost {
public:
    BackgroundHost(const TestPrefix& prefix, const std::vector<std::string>& runArgs) : prefix_(prefix) {
        std::vector<std::string> args{"run"};
        args.insert(args.end(), runArgs.begin(), runArgs.end());
        out_ = (prefix.Root() / "host.out").string();
        err_ = (prefix.Root() / "host.err").string();
        pid_ = e2e::Spawn(TELVANE_HOST_PROGRAM, args, out_, err_);
    }
    ~BackgroundHost() { e2e::WaitExit(pid_, 0ms); }
    // True once status reports the job running (false when the host died or took too long).
    bool WaitRunning() {
        bool running = false;
        WaitFor([&] {
            if (::waitpid(pid_, nullptr, WNOHANG) == pid_) pid_ = 0;
            return pid_ == 0 || (running = Status(prefix_)["job running"] == "yes");
        }, 10s);
        return running && pid_ > 0;
    }
    int Wait(std::chrono::milliseconds timeout) { return e2e::WaitExit(pid_, timeout); }
    void Kill() { e2e::WaitExit(pid_, 0ms); }
    std::string Output() const { return ReadAll(out_) + ReadAll(err_); }

private:
    const TestPrefix& prefix_;
    pid_t pid_ = 0;
    std::string out_;
    std::string err_;
};
