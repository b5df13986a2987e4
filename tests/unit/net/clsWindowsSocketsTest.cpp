#include "net/clsWindowsSockets.h"

#include <gtest/gtest.h>

#include "common/TempPrefix.h"

namespace {

class clsWindowsSocketsTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(prefix.Root() / "Job1" / "Setup"); }
    std::string Folder() const { return (prefix.Root() / "Job1" / "Setup").string(); }
    std::filesystem::path File() const { return prefix.Root() / "Job1" / "Setup" / "WinSockets.ini"; }
    void WriteIni(const std::string& text) { TempPrefix::Write(File(), text); }

    TempPrefix prefix;
};

TEST_F(clsWindowsSocketsTest, MissingZeroNegativeOrNonNumericPortGives1007AndWritesItBack) {
    {
        clsWindowsSockets settings(Folder());
        EXPECT_EQ(settings.FileName(), Folder() + "\\WinSockets.ini");
        const VbResult<int32_t> port = settings.VoltarisMonitorPortNo();
        EXPECT_TRUE(port.Ok());
        EXPECT_EQ(port.Value, 1007);
    }
    EXPECT_NE(TempPrefix::Read(File()).find("VoltarisMonitorPortNo=1007"), std::string::npos);

    for (const char* value : {"0", "-5", "abc", "", "0.4", "-0.5"}) {
        WriteIni("[Sockets]\r\nOtherProgramPort=2001\r\nVoltarisMonitorPortNo=" + std::string(value) + "\r\n");
        clsWindowsSockets settings(Folder());
        EXPECT_EQ(settings.VoltarisMonitorPortNo().Value, 1007) << value;
        const std::string text = TempPrefix::Read(File());
        EXPECT_NE(text.find("VoltarisMonitorPortNo=1007"), std::string::npos) << value;
        EXPECT_NE(text.find("OtherProgramPort=2001"), std::string::npos) << value;
    }
}

TEST_F(clsWindowsSocketsTest, PositivePortIsReadRoundedAndLeftInPlace) {
    for (const auto& [value, expected] : std::vector<std::pair<std::string, int>>{
             {"2500", 2500}, {" 2500 ", 2500}, {"2500.5", 2500}, {"2501.5", 2502}, {"12abc", 12}, {"0.5", 1007},
             {"0.6", 1}}) {
        const std::string ini = "[Sockets]\r\nVoltarisMonitorPortNo=" + value + "\r\n";
        WriteIni(ini);
        clsWindowsSockets settings(Folder());
        EXPECT_EQ(settings.VoltarisMonitorPortNo().Value, expected) << value;
        if (expected != 1007) {
            EXPECT_EQ(TempPrefix::Read(File()), ini) << value;
        }
    }
}

TEST_F(clsWindowsSocketsTest, PortBeyondThirtyTwoBitsIsOverflowWithTheDefault) {
    const std::string ini = "[sockets]\r\nvoltarismonitorportno=99999999999\r\n";
    WriteIni(ini);
    clsWindowsSockets settings(Folder());
    const VbResult<int32_t> port = settings.VoltarisMonitorPortNo();
    EXPECT_EQ(port.Error.Number, 6);
    EXPECT_EQ(port.Value, 1007);
    EXPECT_EQ(TempPrefix::Read(File()), ini);
}

}  // namespace
