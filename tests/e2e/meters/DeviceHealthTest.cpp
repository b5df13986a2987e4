// A device's state changes as the host's log tells them, and the reconnection backoff.
#include <gtest/gtest.h>

#include "DeviceHealth.h"

namespace {

TEST(DeviceHealth, OneLinePerChangeOfState) {
    std::vector<std::string> log;
    DeviceHealth health("modbus M", [&](const std::string& line) { log.push_back(line); });
    EXPECT_TRUE(health.Down("Connection refused"));
    EXPECT_FALSE(health.Down("Connection refused"));
    EXPECT_FALSE(health.Down("timeout"));
    EXPECT_TRUE(health.Up());
    EXPECT_FALSE(health.Up());
    EXPECT_TRUE(health.Down("timeout"));
    EXPECT_EQ(log, (std::vector<std::string>{"modbus M: lost (Connection refused); its points are in error", "modbus M: back",
                                             "modbus M: lost (timeout); its points are in error"}));
    DeviceHealth fresh("mqtt B", [&](const std::string& line) { log.push_back(line); });
    EXPECT_TRUE(fresh.Up());
    EXPECT_EQ(log.back(), "mqtt B: connected");
}

TEST(DeviceHealth, BackoffDoublesToItsCeilingAndResets) {
    Backoff backoff(10);
    std::vector<double> waits;
    for (int i = 0; i < 6; ++i) waits.push_back(backoff.Next());
    EXPECT_EQ(waits, (std::vector<double>{1, 2, 4, 8, 10, 10}));
    backoff.Reset();
    EXPECT_EQ(backoff.Next(), 1);
}

}  // namespace
