// Modbus devices polled on the event loop against the test server: over TCP on loopback and
// over RTU through a pseudo-terminal pair; decoding, writes, refusals, and devices that die.
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include "DeviceFixture.h"
#include "ModbusDevice.h"
#include "Scenario.h"
#include "TestServers.h"

namespace meters {
namespace {

using namespace std::chrono_literals;

ModbusDeviceConfig Device(const std::string& text) {
    Scenario s;
    std::string error;
    EXPECT_TRUE(ParseScenario(text, s, error)) << error;
    return s.ModbusDevices.empty() ? ModbusDeviceConfig() : s.ModbusDevices[0];
}

class ModbusDeviceTest : public DeviceFixture {};

// Decoding itself is checked in ModbusMapTest.
TEST_F(ModbusDeviceTest, TcpValuesFaultsAndReconnection) {
    ModbusServer server;
    ASSERT_TRUE(server.StartTcp(0, 7));
    ASSERT_TRUE(server.Set("holding", 0, {0x0001, 0x86A0}));  // 100000 as uint32
    ASSERT_TRUE(server.Set("input", 10, {0x5000, 0x449A}));   // 1234.5, low word first
    ASSERT_TRUE(server.Set("coil", 3, {1}));
    ModbusDevice device(Device("[modbus Meter]\naddress = 127.0.0.1:" + std::to_string(server.Port()) +
                               "\nunit = 7\npoll = 0.2\ntimeout = 0.5\nmap = T12 holding 0 uint32\n"
                               "map = [P1L1] input 10 float32 little 0.001\nmap = T100 coil 3\n"),
                        state_, 5, Logger());
    device.Start();
    EXPECT_TRUE(InError(HostTable::Tags, 11));  // nothing read yet
    ASSERT_TRUE(Pump([&] { return device.Polls() >= 1; }, 5s)) << LogText();
    EXPECT_EQ(Reading(HostTable::Tags, 11), 100000.0f);
    EXPECT_FLOAT_EQ(Reading(HostTable::Lines, 0), 1.2345f);
    EXPECT_EQ(Reading(HostTable::Tags, 99), 1.0f);
    for (int tag : {11, 99}) EXPECT_FALSE(InError(HostTable::Tags, tag));
    EXPECT_FALSE(InError(HostTable::Lines, 0));
    EXPECT_EQ(LogCount("connected"), 1) << LogText();
    ASSERT_TRUE(server.Set("holding", 0, {0x0001, 0x86A1}));
    ASSERT_TRUE(Pump([&] { return Reading(HostTable::Tags, 11) == 100001.0f; }, 3s));

    // The device goes away: its points are in error and keep their values, one line however many
    // polls fail. Back on the same port it is reconnected by the backoff, with one line.
    const int port = server.Port();
    server.Stop();
    ASSERT_TRUE(Pump([&] { return InError(HostTable::Tags, 11) && InError(HostTable::Lines, 0); }, 3s));
    PumpFor(1500ms);
    EXPECT_EQ(Reading(HostTable::Tags, 11), 100001.0f);
    ASSERT_TRUE(server.StartTcp(port, 7));
    ASSERT_TRUE(server.Set("holding", 0, {0x0001, 0x86A2}));
    ASSERT_TRUE(Pump([&] { return !InError(HostTable::Tags, 11) && Reading(HostTable::Tags, 11) == 100002.0f; }, 15s))
        << LogText();
    EXPECT_EQ(LogCount("lost"), 1) << LogText();
    EXPECT_EQ(LogCount("back"), 1) << LogText();
}

TEST_F(ModbusDeviceTest, ADeviceThatHangsIsReconnectedWhenItRecovers) {
    ModbusServer server;
    ASSERT_TRUE(server.StartTcp());
    ASSERT_TRUE(server.Set("holding", 0, {11}));
    ModbusDevice device(Device("[modbus Hang]\naddress = 127.0.0.1:" + std::to_string(server.Port()) +
                               "\npoll = 0.1\ntimeout = 0.3\nmap = T1 holding 0 uint16\n"),
                        state_, 5, Logger());
    device.Start();
    ASSERT_TRUE(Pump([&] { return Reading(HostTable::Tags, 0) == 11.0f; }, 5s)) << LogText();
    EXPECT_EQ(server.Connections(), 1);
    // Stopped, the server keeps its connections open and answers nothing.
    ASSERT_EQ(::kill(server.Pid(), SIGSTOP), 0);
    ASSERT_TRUE(Pump([&] { return InError(HostTable::Tags, 0); }, 3s)) << LogText();
    PumpFor(1500ms);
    ASSERT_EQ(::kill(server.Pid(), SIGCONT), 0);
    ASSERT_TRUE(server.Set("holding", 0, {12}));
    ASSERT_TRUE(Pump([&] { return Reading(HostTable::Tags, 0) == 12.0f && !InError(HostTable::Tags, 0); }, 15s))
        << LogText();
    EXPECT_EQ(LogCount("lost"), 1) << LogText();
    EXPECT_EQ(LogCount("back"), 1) << LogText();
    // The hung connection was given up for a fresh one.
    EXPECT_GE(server.Connections(), 2);
}

TEST_F(ModbusDeviceTest, WritesFollowedValuesAndKeepThemForAReconnection) {
    ModbusServer server;
    ASSERT_TRUE(server.StartTcp());
    ModbusDevice device(Device("[modbus Out]\naddress = 127.0.0.1:" + std::to_string(server.Port()) +
                               "\npoll = 0.2\nwrite = T201 holding 200 float32\n"
                               "write = T202 holding 210 int16 big 0.1\nwrite = T203 coil 5\n"),
                        state_, 5, Logger());
    device.Start();
    ASSERT_TRUE(Pump([&] { return LogCount("connected") == 1; }, 5s)) << LogText();
    device.Write(0, 42.5);   // 0x422A0000
    device.Write(1, -12.3);  // -123
    device.Write(2, 1);
    ASSERT_TRUE(Pump([&] { return server.Get("holding", 200, 2) == std::vector<unsigned>{0x422A, 0}; }, 3s));
    EXPECT_EQ(server.Get("holding", 210, 1), std::vector<unsigned>{65413});
    const std::vector<unsigned> coil = server.Get("coil", 5, 1);
    EXPECT_TRUE(coil.size() == 1 && coil[0] != 0);  // a written coil may be held as 0xFF00

    // Too big for an int16 at that scale: refused once, not sent, the register keeps its value.
    device.Write(1, 4000);
    device.Write(1, 5000);
    PumpFor(300ms);
    EXPECT_EQ(LogCount("does not fit"), 1) << LogText();
    EXPECT_EQ(server.Get("holding", 210, 1), std::vector<unsigned>{65413});

    // A value that changes while the device is away goes out once it is back.
    const int port = server.Port();
    server.Stop();
    ASSERT_TRUE(Pump([&] { return LogCount("lost") == 1; }, 3s));
    device.Write(0, -1.0);  // 0xBF800000
    ASSERT_TRUE(server.StartTcp(port));
    ASSERT_TRUE(Pump([&] { return server.Get("holding", 200, 2) == std::vector<unsigned>{0xBF80, 0}; }, 15s)) << LogText();
}

TEST_F(ModbusDeviceTest, RefusalsAndUnusableValuesSpoilOnlyTheirOwnPoints) {
    ModbusServer server;
    ASSERT_TRUE(server.StartTcp());
    ASSERT_TRUE(server.Set("holding", 0, {77}));
    ASSERT_TRUE(server.Set("input", 4, {0x7FC0, 0, 0x4120, 0}));  // a float NaN, then 10.0
    // The test server holds 2048 registers of each table: 3000 is refused with an exception.
    ModbusDevice device(Device("[modbus Part]\naddress = 127.0.0.1:" + std::to_string(server.Port()) +
                               "\npoll = 0.1\nmap = T1 holding 0 uint16\nmap = T2 holding 3000 uint16\n"
                               "map = T3 input 4 float32\nmap = T4 input 6 float32\n"),
                        state_, 5, Logger());
    device.Start();
    ASSERT_TRUE(Pump([&] { return Reading(HostTable::Tags, 0) == 77.0f; }, 5s)) << LogText();
    PumpFor(500ms);
    EXPECT_FALSE(InError(HostTable::Tags, 0));
    EXPECT_TRUE(InError(HostTable::Tags, 1));
    EXPECT_EQ(LogCount("refuses holding 3000..3000"), 1) << LogText();
    EXPECT_TRUE(InError(HostTable::Tags, 2));
    EXPECT_EQ(Reading(HostTable::Tags, 2), 0.0f);  // never NaN
    EXPECT_EQ(LogCount("input 4 holds no usable value for [T3]"), 1) << LogText();
    EXPECT_EQ(Reading(HostTable::Tags, 3), 10.0f);
    EXPECT_FALSE(InError(HostTable::Tags, 3));
    EXPECT_EQ(LogCount("lost"), 0) << LogText();
}

TEST_F(ModbusDeviceTest, ASilentDeviceNeverDelaysTheOthers) {
    // Takes connections (the kernel completes them) and never answers.
    int silent = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    ASSERT_EQ(::bind(silent, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(::listen(silent, 8), 0);
    ::getsockname(silent, reinterpret_cast<sockaddr*>(&addr), &len);
    ModbusServer server;
    ASSERT_TRUE(server.StartTcp());
    ModbusDevice dead(Device("[modbus Dead]\naddress = 127.0.0.1:" + std::to_string(ntohs(addr.sin_port)) +
                             "\npoll = 0.1\ntimeout = 3\nmap = T1 holding 0 uint16\n"),
                      state_, 5, Logger());
    ModbusDevice live(Device("[modbus Live]\naddress = 127.0.0.1:" + std::to_string(server.Port()) +
                             "\npoll = 0.1\ntimeout = 1\nmap = T2 holding 0 uint16\n"),
                      state_, 5, Logger());
    dead.Start();
    live.Start();
    ASSERT_TRUE(Pump([&] { return live.Polls() >= 1; }, 5s));
    uint64_t before = live.Polls();
    PumpFor(2000ms);
    // Ten polls a second (eight allow for a loaded machine): the dead device's three-second timeout holds none of them up.
    EXPECT_GE(live.Polls() - before, 8u);
    EXPECT_EQ(dead.Polls(), 0u);
    EXPECT_TRUE(InError(HostTable::Tags, 0));
    EXPECT_FALSE(InError(HostTable::Tags, 1));
    ::close(silent);
}

TEST_F(ModbusDeviceTest, RtuOverASerialLine) {
    PtyBridge line;
    ASSERT_TRUE(line.Start());
    ModbusServer server;
    ASSERT_TRUE(server.StartRtu(line.A(), 19200, 3));
    ASSERT_TRUE(server.Set("holding", 4, {0xFFFF, 0xFF38}));  // -200 as int32
    ASSERT_TRUE(server.Set("discrete", 9, {1}));
    ModbusDevice device(Device("[modbus Serial]\naddress = " + line.B() +
                               "\nbaud = 19200\nparity = none\nstop bits = 1\nunit = 3\npoll = 0.2\ntimeout = 0.5\n"
                               "map = T5 holding 4 int32\nmap = T6 discrete 9\nwrite = T7 holding 20 uint16\n"),
                        state_, 5, Logger());
    device.Start();
    ASSERT_TRUE(Pump([&] { return device.Polls() >= 1; }, 5s)) << LogText();
    EXPECT_EQ(Reading(HostTable::Tags, 4), -200.0f);
    EXPECT_EQ(Reading(HostTable::Tags, 5), 1.0f);
    EXPECT_FALSE(InError(HostTable::Tags, 4));
    device.Write(0, 513);
    ASSERT_TRUE(Pump([&] { return server.Get("holding", 20, 1) == std::vector<unsigned>{513}; }, 3s));
    // The device stops answering on the line: timeouts, its points in error, one line.
    server.Stop();
    ASSERT_TRUE(Pump([&] { return InError(HostTable::Tags, 4); }, 5s)) << LogText();
    PumpFor(1000ms);
    EXPECT_EQ(LogCount("lost"), 1) << LogText();
    EXPECT_EQ(Reading(HostTable::Tags, 4), -200.0f);
}

}  // namespace
}  // namespace meters
