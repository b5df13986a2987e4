// Values set over the request server that no meter could give: the largest floats on two tags of
// the site total, set a few minutes before a period ends.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <regex>

#include "MonitorFixture.h"
#include "support/Profile.h"

namespace {

// Two rate meters in the site total and a display of the site total.
const char* const TotalTagSetup = R"(
[Header]
SetupVersion = 250
PeriodsPerDay = 48

[Tag 1]
TagName = "North"
Online = 1
TagType = 1
ScanType = 24
PageNo = 1
UnitsPerPulse = 1
InTotal = 1

[Tag 2]
TagName = "South"
Online = 1
TagType = 1
ScanType = 24
PageNo = 2
UnitsPerPulse = 1
InTotal = 1

[Tag 3]
TagName = "Site"
Online = 1
TagType = 3
DisplaySourceIsTag = 0
DisplaySource = 0
)";

// One set request on a connection of its own, so two never arrive as one piece.
void SendOnce(int port, const std::string& request) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<uint16_t>(port));
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(::send(fd, request.data(), request.size(), MSG_NOSIGNAL), static_cast<ssize_t>(request.size()));
    ::close(fd);
}

bool PumpUntil(const std::function<bool()>& pred) {
    for (int i = 0; i < 2000 && !pred(); ++i) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        usleep(1000);
    }
    return pred();
}

long Count(const std::string& line) {
    const std::vector<std::string> lines = MainLogLines();
    return std::count(lines.begin(), lines.end(), line);
}

class MonitorHostileSet : public MonitorTest {};

TEST_F(MonitorHostileSet, OverflowingSiteTotalLeavesThePeakTableReadableAndStopsAtThePeriodEnd) {
    WriteTagSetup(TotalTagSetup);
    WriteSettings(std::string(DefaultSettings) + "[Peaks]\r\n1PeakValue=250.5\r\n1PeakTime=Nov 18, 26. 10:00\r\n");
    host.State().SetReading(HostTable::Tags, 0, 40.0f);
    host.State().SetReading(HostTable::Tags, 1, 20.0f);
    Start();
    TickAt(30);
    const int port = monitor->SocketServer().LocalPort();
    ASSERT_TRUE(monitor->SocketServer().IsListening());

    // Refused: beyond the float range. Taken: the largest floats there are, near enough.
    SendOnce(port, "[M1];Value;1e39");
    SendOnce(port, "[M1];Value;3.4e38");
    SendOnce(port, "[M2];Value;3.4e38");
    ASSERT_TRUE(PumpUntil([&] { return monitor->Values[1].Integrated == 3.4e38f && monitor->Values[2].Integrated == 3.4e38f; }));

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
