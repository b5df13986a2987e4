#include "net/clsWindowsSockets.h"

#include <gtest/gtest.h>

#include <optional>

#include "common/TempPrefix.h"

namespace {

class clsWindowsSocketsTest : public ::testing::Test {
protected:
    clsWindowsSocketsTest() { std::filesystem::create_directories(folder); }
    TempPrefix prefix;
    const std::filesystem::path folder = prefix.Root() / "Job1" / "Setup", file = folder / "WinSockets.ini";
};

TEST_F(clsWindowsSocketsTest, PortBelowOneGives1007WrittenBackOthersAreReadRoundedAndLeft) {
    clsWindowsSockets noFile(folder.string());
    EXPECT_EQ(noFile.FileName(), folder.string() + "\\WinSockets.ini");
    EXPECT_EQ(noFile.VoltarisMonitorPortNo().Value, 1007);
    EXPECT_EQ(TempPrefix::Read(file), "[Sockets]\r\nVoltarisMonitorPortNo=1007\r\n");

    // nullopt: the key is missing.
    const std::vector<std::pair<std::optional<std::string>, int>> cases{
        {std::nullopt, 1007}, {"0", 1007}, {"-5", 1007}, {"abc", 1007}, {"", 1007}, {"0.4", 1007}, {"-0.5", 1007},
        {"0.5", 1007}, {"2500", 2500}, {" 2500 ", 2500}, {"2500.5", 2500}, {"2501.5", 2502}, {"12abc", 12},
        {"0.6", 1}};
    for (const auto& [value, port] : cases) {
        const std::string ini = "[Sockets]\r\nOtherProgramPort=2001\r\n" +
                                (value ? "VoltarisMonitorPortNo=" + *value + "\r\n" : std::string());
        TempPrefix::Write(file, ini);
        const VbResult<int32_t> read = clsWindowsSockets(folder.string()).VoltarisMonitorPortNo();
        EXPECT_TRUE(read.Ok());
        EXPECT_EQ(read.Value, port) << value.value_or("missing");
        const std::string text = TempPrefix::Read(file);
        if (port == 1007) {
            EXPECT_NE(text.find("VoltarisMonitorPortNo=1007\r\n"), std::string::npos) << text;
            EXPECT_NE(text.find("OtherProgramPort=2001\r\n"), std::string::npos) << text;
        } else {
            EXPECT_EQ(text, ini);
        }
    }

    // Beyond 32 bits: overflow, 1007 for now, the key left as it is.
    const std::string ini = "[sockets]\r\nvoltarismonitorportno=99999999999\r\n";
    TempPrefix::Write(file, ini);
    const VbResult<int32_t> port = clsWindowsSockets(folder.string()).VoltarisMonitorPortNo();
    EXPECT_EQ(port.Error.Number, 6);
    EXPECT_EQ(port.Value, 1007);
    EXPECT_EQ(TempPrefix::Read(file), ini);
}

TEST_F(clsWindowsSocketsTest, LimitKeysAreRoundedNumbersOrNoneAndNeverWritten) {
    // nullopt: the key is missing.
    const std::vector<std::pair<std::optional<std::string>, std::optional<int32_t>>> cases{
        {std::nullopt, std::nullopt}, {"", std::nullopt}, {"abc", std::nullopt}, {"0", std::nullopt},
        {"-30", std::nullopt},        {"0.5", std::nullopt}, {"1.5", 2},          {"30s", 30},
        {" 45 ", 45},                 {"99999999999", 2147483647}};
    for (const auto& [value, number] : cases) {
        std::string ini = "[Sockets]\r\nVoltarisMonitorPortNo=2000\r\n";
        if (value) ini += "IdleSeconds=" + *value + "\r\nMaxConnectionsPerAddress=" + *value + "\r\n";
        TempPrefix::Write(file, ini);
        clsWindowsSockets settings(folder.string());
        EXPECT_EQ(settings.MaxConnectionsPerAddress(), number) << value.value_or("missing");
        // The idle time is at most a day.
        EXPECT_EQ(settings.IdleSeconds(), number ? std::optional<int32_t>(std::min(*number, 86400)) : std::nullopt);
        EXPECT_EQ(settings.SetsAllowedFrom(), "");
        EXPECT_EQ(TempPrefix::Read(file), ini);
    }
    TempPrefix::Write(file, "[Sockets]\r\nSetsAllowedFrom= 10.0.0.0/8, 192.168.1.2 \r\n");
    EXPECT_EQ(clsWindowsSockets(folder.string()).SetsAllowedFrom(), "10.0.0.0/8, 192.168.1.2");
}

}  // namespace
