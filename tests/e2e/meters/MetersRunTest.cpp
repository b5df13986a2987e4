// A metered site end to end: telvane-host reads a Modbus energy meter (a running total on a host
// tag and the power on a recorder line) and an MQTT gas pulse counter that rolls over, and
// publishes the monitor's gas rate; voltamon --headless meters it under a fast simulated clock.
// The meter device is stopped and restarted mid-run, and the broker restarted; the store file
// must hold what the devices delivered, as this test works it out.
#include <cstring>
#include <functional>

#include "../scenarios/ScenarioRun.h"
#include "HostState.h"
#include "TestServers.h"

namespace scenario {
namespace {

// Energy in tenths of a kWh as a big-endian uint32.
std::vector<unsigned> Tenths(double kwh) {
    const auto raw = static_cast<uint32_t>(kwh * 10 + 0.5);
    return {raw >> 16, raw & 0xFFFF};
}

// A float32 low word first.
std::vector<unsigned> LittleFloat(float value) {
    uint32_t raw = 0;
    std::memcpy(&raw, &value, sizeof raw);
    return {raw & 0xFFFF, raw >> 16};
}

float BigFloat(const std::vector<unsigned>& words) {
    if (words.size() != 2) return -1;
    const uint32_t raw = words[0] << 16 | words[1];
    float value = 0;
    std::memcpy(&value, &raw, sizeof value);
    return value;
}

int Count(const std::string& text, const std::string& part) {
    int n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

const std::string Tags = R"([Header]
SetupVersion = 250
PeriodsPerDay = 96

[Tag 1]
TagName = "Energy"
Online = 1
TagType = 1
ScanType = 28
PageNo = 1
HostTagNumber = 201

[Tag 2]
TagName = "Power"
Online = 1
TagType = 1
ScanType = 17
RecorderNo = 1
PageNo = 1
LineNo = 1

[Tag 3]
TagName = "Gas"
Online = 1
TagType = 1
ScanType = 22
PageNo = 3
UnitsPerPulse = 0.5
RolloverValue = 1000
HostTagNumber = 203
)";

class MetersRun : public ScenarioTest {
protected:
    void TearDown() override {
        meter_.Stop();
        if (broker_) broker_->Stop();
        ScenarioTest::TearDown();
    }
    bool PublishCount(int count) {
        const Result r = Run("/usr/bin/mosquitto_pub", {"-h", "127.0.0.1", "-p", std::to_string(brokerPort_), "-q", "1",
                                                        "-r", "-t", "site/gas/pulses", "-m", std::to_string(count)});
        return r.ExitCode == 0;
    }
    bool InError(HostTable table, int index) { return hostState_.Flag(table, index, HostFlag::InError); }

    meters::ModbusServer meter_;
    std::unique_ptr<meters::Broker> broker_;
    int brokerPort_ = 0;
    HostState hostState_;
};

TEST_F(MetersRun, ModbusAndMqttMetersThroughOutagesIntoTheStoreFile) {
    const float power = 400;  // kW, all along
    ASSERT_TRUE(meter_.StartTcp());
    const int meterPort = meter_.Port();
    ASSERT_TRUE(meter_.Set("holding", 0, Tenths(123456.5)));
    ASSERT_TRUE(meter_.Set("input", 10, LittleFloat(power)));
    broker_ = std::make_unique<meters::Broker>(root_ / "broker");
    ASSERT_TRUE(broker_->Start());
    brokerPort_ = broker_->Port();
    ASSERT_TRUE(PublishCount(900));
    meters::MqttClient subscriber;
    ASSERT_TRUE(subscriber.Start(brokerPort_, {"site/voltaris/gas"}));

    ASSERT_TRUE(StartHost("[host]\ngeneration = 5\njob = Meters\n\n"
                          "[modbus Incomer]\naddress = 127.0.0.1:" + std::to_string(meterPort) +
                          "\npoll = 0.2\ntimeout = 0.5\n"
                          "map = T1 holding 0 uint32 big 0.1\nmap = [P1L1] input 10 float32 little\n"
                          "write = T201 holding 200 float32\n\n"
                          "[mqtt Site]\nbroker = 127.0.0.1:" + std::to_string(brokerPort_) +
                          "\nmap = T3 site/gas/pulses\npublish = T203 site/voltaris/gas\n"));
    ASSERT_TRUE(hostState_.Open(e2e::StatusFields(Host({"status"}).Out)["host folder (local)"]));
    ASSERT_TRUE(BuildSetup(Tags));
    WriteSettings("[general]\nStoreFilePrefix=MTR\ntimer1scan=10\nLogScans=1\n");
    ASSERT_TRUE(SetClock(At(2026, 11, 19, 9, 58), 120));
    monitor_ = StartMonitor();
    ASSERT_TRUE(WaitStarted("MTR", At(2026, 11, 1, 0, 0)));

    // What the devices deliver, and when (simulated time). Gas counts roll over at 1000:
    // period 41 (10:00-10:15) 900 -> 950 -> 990: 90 pulses; period 42 990 -> 40 -> 100: 110;
    // period 43 100 -> 180 -> 200: 100; at 0.5 a pulse.
    struct Step {
        Seconds at;
        std::function<void()> act;
    };
    const std::vector<Step> steps = {
        {At(2026, 11, 19, 10, 5), [&] { ASSERT_TRUE(PublishCount(950)); }},
        {At(2026, 11, 19, 10, 7, 30), [&] { ASSERT_TRUE(meter_.Set("holding", 0, Tenths(123500.0))); }},
        {At(2026, 11, 19, 10, 10), [&] { ASSERT_TRUE(PublishCount(990)); }},
        {At(2026, 11, 19, 10, 17), [&] {
             meter_.Stop();
             EXPECT_TRUE(WaitFor([&] { return InError(HostTable::Tags, 0) && InError(HostTable::Lines, 0); }, 3s));
             EXPECT_FALSE(InError(HostTable::Tags, 2));
             // The monitor goes on reading the last values, so the outage stores nothing false.
             EXPECT_EQ(hostState_.Reading(HostTable::Tags, 0), 123500.0f);
             EXPECT_EQ(hostState_.Reading(HostTable::Lines, 0), power);
         }},
        {At(2026, 11, 19, 10, 19), [&] {
             ASSERT_TRUE(meter_.StartTcp(meterPort));
             ASSERT_TRUE(meter_.Set("holding", 0, Tenths(123500.0)));
             ASSERT_TRUE(meter_.Set("input", 10, LittleFloat(power)));
         }},
        {At(2026, 11, 19, 10, 20), [&] { ASSERT_TRUE(PublishCount(40)); }},
        {At(2026, 11, 19, 10, 22, 30), [&] { ASSERT_TRUE(meter_.Set("holding", 0, Tenths(123555.5))); }},
        {At(2026, 11, 19, 10, 25), [&] { ASSERT_TRUE(PublishCount(100)); }},
        {At(2026, 11, 19, 10, 31), [&] {
             broker_->Stop();
             EXPECT_TRUE(WaitFor([&] { return InError(HostTable::Tags, 2); }, 3s));
             EXPECT_FALSE(InError(HostTable::Tags, 0));
             EXPECT_EQ(hostState_.Reading(HostTable::Tags, 2), 100.0f);
             ASSERT_TRUE(broker_->Start(brokerPort_));
         }},
        {At(2026, 11, 19, 10, 35), [&] { ASSERT_TRUE(PublishCount(180)); }},
        {At(2026, 11, 19, 10, 37, 30), [&] { ASSERT_TRUE(meter_.Set("holding", 0, Tenths(123600.5))); }},
        {At(2026, 11, 19, 10, 40), [&] { ASSERT_TRUE(PublishCount(200)); }},
    };
    for (const Step& step : steps) {
        ASSERT_TRUE(RunUntil(step.at, 60s)) << Diagnostics();
        step.act();
        if (HasFatalFailure()) return;
    }
    ASSERT_TRUE(RunUntil(At(2026, 11, 19, 10, 46), 60s));
    ASSERT_TRUE(WaitSaved(At(2026, 11, 19, 10, 45), 30s));

    const StoreRecords records = Records(StoreFile("MTR", At(2026, 11, 1, 0, 0)));
    ASSERT_TRUE(records.Ok) << records.Error;
    ASSERT_EQ(records.Heading, "date,period,end,flag,Energy,Power,Gas");
    const double energy[] = {123500.0, 123555.5, 123600.5};
    const double gas[] = {45, 55, 50};
    for (int i = 0; i < 3; ++i) {
        const int period = 41 + i;
        SCOPED_TRACE("period " + std::to_string(period));
        const Record* r = records.Find("2026-11-19", period);
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->Flag, 1);
        EXPECT_NEAR(r->Values[0], energy[i], 0.001);  // a total stores the meter's reading
        // A quarter hour at 400 kW, between two save scans that come up to a few scans after the
        // period ends; the held value through the outage is checked directly above.
        EXPECT_NEAR(r->Values[1], power / 4, 3.0);
        EXPECT_NEAR(r->Values[2], gas[i], 1e-6);
    }

    // Every device is back and each outage was one line each way.
    EXPECT_FALSE(InError(HostTable::Tags, 0));
    EXPECT_FALSE(InError(HostTable::Lines, 0));
    EXPECT_FALSE(InError(HostTable::Tags, 2));
    const std::string hostOut = ReadAll(root_ / "host.out");
    EXPECT_EQ(Count(hostOut, "modbus Incomer: connected (127.0.0.1:" + std::to_string(meterPort) + " unit 1)"), 1) << hostOut;
    EXPECT_EQ(Count(hostOut, "modbus Incomer: lost"), 1) << hostOut;
    EXPECT_EQ(Count(hostOut, "modbus Incomer: back"), 1) << hostOut;
    EXPECT_EQ(Count(hostOut, "mqtt Site: connected (127.0.0.1:" + std::to_string(brokerPort_) + ")"), 1) << hostOut;
    EXPECT_EQ(Count(hostOut, "mqtt Site: lost"), 1) << hostOut;
    EXPECT_EQ(Count(hostOut, "mqtt Site: back"), 1) << hostOut;

    // The monitor's rates went out: the gas rate published, the energy rate written to the meter.
    const float gasRate = hostState_.Reading(HostTable::Tags, 202);
    const float energyRate = hostState_.Reading(HostTable::Tags, 200);
    EXPECT_GT(gasRate, 0.0f);
    EXPECT_GT(subscriber.Count("site/voltaris/gas"), 1u);  // every change until the broker went down
    std::string got;
    meters::MqttClient late;
    ASSERT_TRUE(late.Start(brokerPort_, {"site/voltaris/gas"}));
    // The point may still move with the last scans: the publish must catch up with it.
    float now = gasRate;
    EXPECT_TRUE(WaitFor([&] {
        now = hostState_.Reading(HostTable::Tags, 202);
        return late.WaitFor("site/voltaris/gas", "", 0ms, got) && std::stof(got) == now;
    }, 5s)) << got << " against " << now;
    EXPECT_TRUE(WaitFor([&] { return BigFloat(meter_.Get("holding", 200, 2)) == energyRate; }, 5s)) << energyRate;
    EXPECT_EQ(ErrorLines(), "");
}

}  // namespace
}  // namespace scenario
