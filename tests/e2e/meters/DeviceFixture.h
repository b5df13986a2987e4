#pragma once
// Devices driven on this process's event loop against real servers: a host point state in a
// temporary folder, and the host's log lines collected.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "DeviceHealth.h"
#include "HostState.h"

namespace meters {

class DeviceFixture : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = std::filesystem::temp_directory_path() /
                  ("vt-meters-" + std::to_string(::getpid()) + "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
        ASSERT_TRUE(state_.Open(folder_.string()));
        state_.Reset();
    }
    void TearDown() override {
        state_.Close();
        std::filesystem::remove_all(folder_);
    }

    HostLogger Logger() {
        return [this](const std::string& line) { log_.push_back(line); };
    }
    // Runs the event loop until condition holds or timeout passes.
    bool Pump(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
        auto deadline = std::chrono::steady_clock::now() + timeout;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }
    void PumpFor(std::chrono::milliseconds span) {
        Pump([] { return false; }, span);
    }
    int LogCount(const std::string& part) const {
        int n = 0;
        for (const std::string& line : log_) n += line.find(part) != std::string::npos;
        return n;
    }
    std::string LogText() const {
        std::string text;
        for (const std::string& line : log_) text += line + "\n";
        return text;
    }
    float Reading(HostTable table, int index) { return state_.Reading(table, index); }
    bool InError(HostTable table, int index) { return state_.Flag(table, index, HostFlag::InError); }

    std::filesystem::path folder_;
    HostState state_;
    std::vector<std::string> log_;
};

}  // namespace meters
