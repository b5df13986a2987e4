// Values set over the request server that no meter could give: the largest floats on two tags of
// the site total, set a few minutes before a period ends.
#include <regex>

#include "MonitorFixture.h"
#include "support/Profile.h"

namespace {

long Count(const std::string& line) {
    const std::vector<std::string> lines = MainLogLines();
    return std::count(lines.begin(), lines.end(), line);
}

class MonitorHostileSet : public MonitorTest {};

TEST_F(MonitorHostileSet, OverflowingSiteTotalLeavesThePeakTableReadableAndStopsAtThePeriodEnd) {
    // Two rate meters in the site total and a display of the site total.
    WriteTagSetup(TagSetupText(RateTag(1, "North", 1, 1, 1) + RateTag(2, "South", 2, 1, 1) + DisplayTag(3, "Site", 0, 0)));
    WriteSettings(std::string(DefaultSettings) + "[Peaks]\r\n1PeakValue=250.5\r\n1PeakTime=Nov 18, 26. 10:00\r\n");
    host.State().SetReading(HostTable::Tags, 0, 40.0f);
    host.State().SetReading(HostTable::Tags, 1, 20.0f);
    Start();
    TickAt(30);
    // The largest floats there are, as a set request may leave them (SocketProtocolTest refuses more).
    monitor->Values[1].Integrated = monitor->Values[2].Integrated = 3.4e38f;

    // Until the period ends the site total cannot be added up.
    TickAt(61);
    ASSERT_TRUE(Scanned());
    EXPECT_EQ(Count("Input_General, Error 6/ Overflow"), 1);
    TickAt(25 * 60 + 30);  // 10:30:30, the save of the period to 10:30
    ASSERT_TRUE(Scanned());
    EXPECT_EQ(monitor->State.LastSavedPeriod, 22);
    EXPECT_EQ(Count("Input_General, Error 6/ Overflow"), 2);
    EXPECT_EQ(Count("HalfHourSave, Error 6/ Overflow"), 1);

    const std::string ini = SetupFolderText + std::string("\\VoltarisSetup.ini");
    EXPECT_EQ(GetPrivateProfileString("Peaks", "1PeakValue", "", 80, ini), "250.5");
    EXPECT_EQ(GetPrivateProfileString("Peaks", "2PeakValue", "missing", 80, ini), "missing");
    EXPECT_EQ(GetPrivateProfileString("Peaks", "1PeakTime", "", 80, ini), "Nov 18, 26. 10:00");

    // The next period starts from zero: no more overflow, and its total enters the table.
    TickAt(26 * 60);
    TickAt(55 * 60 + 30);  // 11:00:30
    ASSERT_TRUE(Scanned());
    EXPECT_EQ(Count("Input_General, Error 6/ Overflow"), 2);
    EXPECT_EQ(Count("HalfHourSave, Error 6/ Overflow"), 1);
    const std::regex decimal("-?[0-9]+(\\.[0-9]+)?");
    EXPECT_EQ(GetPrivateProfileString("Peaks", "1PeakValue", "", 80, ini), "250.5");
    const std::string second = GetPrivateProfileString("Peaks", "2PeakValue", "", 80, ini);
    EXPECT_NEAR(std::stod(second), 30.0, 0.5) << second;  // 60 an hour for half an hour
    for (int rank = 1; rank <= 24; ++rank) {
        const std::string value = GetPrivateProfileString("Peaks", std::to_string(rank) + "PeakValue", "", 80, ini);
        EXPECT_TRUE(std::regex_match(value, decimal)) << rank << ": " << value;
    }
}

}  // namespace
