#pragma once
// Programs started from a test with their output in files (a chatty program never blocks), and
// waiting for them or for a condition. Shared by the host, meter and scenario tests.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "../../common/FreePort.h"

namespace e2e {

inline std::string ReadAll(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The "name: value" lines of telvane-host status ("name:" alone is an empty value).
inline std::map<std::string, std::string> StatusFields(const std::string& text) {
    std::map<std::string, std::string> fields;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        const size_t colon = line.find(':');
        if (colon != std::string::npos) fields[line.substr(0, colon)] = line.substr(std::min(line.size(), colon + 2));
    }
    return fields;
}

inline pid_t Spawn(const std::string& program, const std::vector<std::string>& args, const std::string& outFile,
                   const std::string& errFile) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        if (!std::freopen(outFile.c_str(), "w", stdout) || !std::freopen(errFile.c_str(), "w", stderr)) ::_exit(126);
        std::vector<std::string> copy = args;
        std::string path = program;
        std::vector<char*> argv{path.data()};
        for (std::string& a : copy) argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execvp(program.c_str(), argv.data());
        ::_exit(127);
    }
    return pid;
}

// The exit code (128 + signal when killed) within timeout; -1 when still running, then it is
// killed. pid is cleared once reaped.
inline int WaitExit(pid_t& pid, std::chrono::milliseconds timeout) {
    if (pid <= 0) return -1;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    int status = 0;
    for (;;) {
        if (::waitpid(pid, &status, WNOHANG) == pid) {
            pid = 0;
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            pid = 0;
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

inline bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
    return condition();
}

}  // namespace e2e
