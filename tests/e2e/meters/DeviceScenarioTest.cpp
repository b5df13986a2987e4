// The [modbus] and [mqtt] sections of a scenario: what they hold, and mistakes named by line.
#include <gtest/gtest.h>

#include "DeviceLinks.h"
#include "Scenario.h"

namespace {

TEST(DeviceScenario, SectionsParseWithTheirComments) {
    Scenario s;
    std::string error;
    ASSERT_TRUE(ParseScenario(R"([host]
generation = 5

[modbus Incomer]
address = 127.0.0.1:1502         ; HOST:PORT
unit = 7
poll = 0.5
timeout = 2
map = T12 holding 0 uint32
map = [P1L1] input 10 float32 little 0.001
map = T100 coil 3
write = T201 holding 200 float32 big 10

[modbus Sub]
address = /dev/ttyUSB0
baud = 19200
parity = even
stop bits = 2
map = L7 discrete 0

[mqtt Site]
broker = broker.local
client id = voltaris-host
username = meter
password = a;b ; c
ca file = /etc/ca.pem
map = T13 site/office/pulses
map = [P2L1] site/main/meter power_kw   ; a JSON field
publish = T201 site/voltaris/rate1
)",
                              s, error))
        << error;
    ASSERT_EQ(s.ModbusDevices.size(), 2u);
    const ModbusDeviceConfig& tcp = s.ModbusDevices[0];
    EXPECT_FALSE(tcp.Serial);
    EXPECT_EQ(std::make_tuple(tcp.Host, tcp.Port, tcp.Unit, tcp.PollSeconds, tcp.TimeoutSeconds, tcp.Line),
              std::make_tuple(std::string("127.0.0.1"), 1502, 7, 0.5, 2.0, 4));
    ASSERT_EQ(tcp.Maps.size(), 3u);
    EXPECT_EQ(tcp.Maps[0].Type, ModbusType::Uint32);
    EXPECT_FALSE(tcp.Maps[0].LowWordFirst);
    EXPECT_EQ(tcp.Maps[0].Line, 9);
    EXPECT_EQ(tcp.Maps[1].Point.Kind, PointKind::Line);
    EXPECT_EQ(tcp.Maps[1].Point.Number, 1);
    EXPECT_EQ(std::make_tuple(tcp.Maps[1].Table, tcp.Maps[1].Address, tcp.Maps[1].LowWordFirst, tcp.Maps[1].Scale),
              std::make_tuple(ModbusTable::Input, 10, true, 0.001));
    EXPECT_EQ(tcp.Maps[2].Type, ModbusType::Bit);
    ASSERT_EQ(tcp.Writes.size(), 1u);
    EXPECT_EQ(std::make_tuple(tcp.Writes[0].Point.Number, tcp.Writes[0].Address, tcp.Writes[0].Scale, tcp.Writes[0].Line),
              std::make_tuple(201, 200, 10.0, 12));
    const ModbusDeviceConfig& rtu = s.ModbusDevices[1];
    EXPECT_TRUE(rtu.Serial);
    EXPECT_EQ(std::make_tuple(rtu.SerialPort, rtu.Baud, rtu.Parity, rtu.StopBits),
              std::make_tuple(std::string("/dev/ttyUSB0"), 19200, 'E', 2));
    ASSERT_EQ(s.MqttSources.size(), 1u);
    const MqttSourceConfig& m = s.MqttSources[0];
    EXPECT_EQ(std::make_tuple(m.Host, m.Port, m.ClientId, m.Username, m.Password, m.Tls, m.CaFile),
              std::make_tuple(std::string("broker.local"), 1883, std::string("voltaris-host"), std::string("meter"),
                              std::string("a;b ; c"), true, std::string("/etc/ca.pem")));
    ASSERT_EQ(m.Maps.size(), 2u);
    EXPECT_EQ(std::make_tuple(m.Maps[0].Topic, m.Maps[0].Field), std::make_tuple(std::string("site/office/pulses"), std::string()));
    EXPECT_EQ(std::make_tuple(m.Maps[1].Topic, m.Maps[1].Field, m.Maps[1].Line),
              std::make_tuple(std::string("site/main/meter"), std::string("power_kw"), 28));
    ASSERT_EQ(m.Publishes.size(), 1u);
    EXPECT_EQ(m.Publishes[0].Topic, "site/voltaris/rate1");
}

TEST(DeviceScenario, MistakesNameTheLine) {
    struct Case {
        const char* text;
        const char* expected;
    } cases[] = {
        {"[modbus A]\naddress = 1.2.3.4:99999\nmap = T1 coil 0\n", "line 2: bad value for address"},
        {"[modbus A]\naddress = h:502\nmap = T1 register 0 int16\n", "line 3: the table is"},
        {"[modbus A]\naddress = h:502\nmap = T1 holding 0\n", "line 3: a register needs a type"},
        {"[modbus A]\naddress = h:502\nmap = T1 holding 0 int64\n", "line 3: the type is"},
        {"[modbus A]\naddress = h:502\nmap = T1 holding 65535 float32\n", "line 3: the value runs past"},
        {"[modbus A]\naddress = h:502\nmap = T1 holding -1 int16\n", "line 3: the address is"},
        {"[modbus A]\naddress = h:502\nmap = T1 holding 0 int16 middle\n", "line 3: the scale is"},
        {"[modbus A]\naddress = h:502\nmap = T1 holding 0 int16 big 0\n", "line 3: the scale is"},
        {"[modbus A]\naddress = h:502\nmap = T1 holding 0 int16 big 2 x\n", "line 3: unexpected x"},
        {"[modbus A]\naddress = h:502\nmap = T1 coil 0 int16\n", "line 3: coils and discrete"},
        {"[modbus A]\naddress = h:502\nmap = X1 coil 0\n", "line 3: not a point"},
        {"[modbus A]\naddress = h:502\nwrite = T1 input 0 int16\n", "line 3: only holding"},
        {"[modbus A]\naddress = h:502\nparity = mark\nmap = T1 coil 0\n", "line 3: bad value for parity"},
        {"[modbus A]\naddress = h:502\npoll = 0\nmap = T1 coil 0\n", "line 3: bad value for poll"},
        {"[modbus A]\naddress = h:502\nunit = 256\nmap = T1 coil 0\n", "line 3: bad value for unit"},
        {"[modbus A]\naddress = h:502\nspeed = 3\n", "line 3: unknown key"},
        {"\n[modbus A]\nmap = T1 coil 0\n[host]\n", "line 2: [modbus A] needs an address"},
        {"[modbus A]\naddress = h:502\n", "line 1: [modbus A] maps and writes nothing"},
        {"[mqtt B]\nmap = T1 a/b\n", "line 1: [mqtt B] needs a broker"},
        {"[mqtt B]\nbroker = h:1883\nmap = T1 a/+/c\n", "line 3: a mapped topic"},
        {"[mqtt B]\nbroker = h:1883\npublish = T1 a/#\n", "line 3: a published topic"},
        {"[mqtt B]\nbroker = h:1883\nmap = T1\n", "line 3: give POINT TOPIC"},
        {"[mqtt B]\nbroker = h:1883\nmap = T1 a b c\n", "line 3: give POINT TOPIC"},
        {"[mqtt B]\nbroker = h:1883\ntls = maybe\nmap = T1 a\n", "line 3: bad value for tls"},
        {"[mqtt]\n", "line 1: section [mqtt] needs a name"},
    };
    for (const Case& c : cases) {
        Scenario s;
        std::string error;
        EXPECT_FALSE(ParseScenario(c.text, s, error)) << c.text;
        EXPECT_NE(error.find(c.expected), std::string::npos) << c.text << " gave: " << error;
    }
}

TEST(DeviceScenario, PointsMustBelongToTheGeneration) {
    Scenario s;
    std::string error;
    ASSERT_TRUE(ParseScenario("[modbus A]\naddress = h\nmap = T1 coil 0\nmap = T1500 coil 1\n"
                              "[mqtt B]\nbroker = h\npublish = L1001 a/b\n",
                              s, error))
        << error;
    EXPECT_EQ(s.ModbusDevices[0].Port, 502);
    EXPECT_EQ(s.MqttSources[0].Port, 1883);
    EXPECT_FALSE(CheckDevicePoints(s, 4, error));
    EXPECT_EQ(error, "line 4: [T1500] is not a point of a V4 host");
    EXPECT_FALSE(CheckDevicePoints(s, 5, error));
    EXPECT_EQ(error, "line 7: [P101L1] is not a point of a V5 host");
    s.MqttSources[0].Publishes[0].Point.Number = 70;
    EXPECT_TRUE(CheckDevicePoints(s, 5, error)) << error;
}

}  // namespace
