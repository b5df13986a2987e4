// MQTT sources and publishing against the mosquitto broker on a loopback port: values and JSON
// fields into points, bad payloads refused, followed points published, the broker restarted.
#include <cstdlib>

#include "DeviceFixture.h"
#include "DeviceLinks.h"
#include "Scenario.h"
#include "TestServers.h"

namespace meters {
namespace {

using namespace std::chrono_literals;

class MqttLinkTest : public DeviceFixture {};

Scenario Site(int port) {
    Scenario s;
    std::string error;
    EXPECT_TRUE(ParseScenario("[mqtt Site]\nbroker = 127.0.0.1:" + std::to_string(port) +
                                  "\nclient id = vt-test-host\nmap = T13 site/pulses\nmap = [P2L1] site/main power_kw\n"
                                  "map = T14 site/main meter.total\npublish = T201 site/rate1\n",
                              s, error))
        << error;
    return s;
}

TEST_F(MqttLinkTest, ValuesFieldsBadPayloadsAndPublishing) {
    Broker broker(folder_ / "broker");
    ASSERT_TRUE(broker.Start());
    Scenario site = Site(broker.Port());
    DeviceLinks links(site, state_, 5, Logger());
    std::string error;
    ASSERT_TRUE(links.Start(error)) << error;
    ASSERT_TRUE(Pump([&] { return LogCount("connected") == 1; }, 5s)) << LogText();
    MqttClient client;
    ASSERT_TRUE(client.Start(broker.Port(), {"site/rate1"}));

    ASSERT_TRUE(client.Publish("site/pulses", "17"));
    ASSERT_TRUE(client.Publish("site/main", R"({"power_kw": 3.5, "meter": {"total": 1200.25}})"));
    ASSERT_TRUE(Pump([&] { return Reading(HostTable::Tags, 12) == 17.0f && Reading(HostTable::Lines, 10) == 3.5f; }, 3s));
    EXPECT_EQ(Reading(HostTable::Tags, 13), 1200.25f);
    EXPECT_FALSE(InError(HostTable::Tags, 12));
    EXPECT_FALSE(InError(HostTable::Lines, 10));

    // Bad payloads never become values; each topic is logged once however often it happens.
    for (const char* bad : {"abc", "", "17 pulses"}) ASSERT_TRUE(client.Publish("site/pulses", bad));
    ASSERT_TRUE(client.Publish("site/main", R"({"voltage": 230})"));
    ASSERT_TRUE(client.Publish("site/pulses", "18"));
    ASSERT_TRUE(Pump([&] { return Reading(HostTable::Tags, 12) == 18.0f; }, 3s));
    EXPECT_EQ(LogCount("bad payload on site/pulses"), 1) << LogText();
    EXPECT_EQ(LogCount("bad payload on site/main"), 1) << LogText();
    EXPECT_EQ(Reading(HostTable::Lines, 10), 3.5f);

    // A followed point is published when it changes, whoever writes it.
    state_.SetReading(HostTable::Tags, 200, 12.25f);
    std::string got;
    EXPECT_TRUE(Pump([&] {
        links.Follow();
        return client.Count("site/rate1") > 0 && client.WaitFor("site/rate1", "12.25", 0ms, got);
    }, 3s)) << got;
    size_t published = client.Count("site/rate1");
    for (int i = 0; i < 5; ++i) links.Follow();  // unchanged: nothing more
    PumpFor(200ms);
    EXPECT_EQ(client.Count("site/rate1"), published);
    client.Stop();

    // The broker restarts: points in error with their values, one line each way, and the broker
    // holds the published value again.
    const int port = broker.Port();
    broker.Stop();
    ASSERT_TRUE(Pump([&] { return InError(HostTable::Tags, 12) && InError(HostTable::Lines, 10); }, 5s)) << LogText();
    EXPECT_EQ(Reading(HostTable::Tags, 12), 18.0f);
    ASSERT_TRUE(broker.Start(port));
    ASSERT_TRUE(Pump([&] { return LogCount("back") == 1; }, 15s)) << LogText();
    EXPECT_EQ(LogCount("lost"), 1) << LogText();
    MqttClient after;
    ASSERT_TRUE(after.Start(port, {"site/rate1"}));
    EXPECT_TRUE(after.WaitFor("site/rate1", "12.25", 3s, got)) << got;
    ASSERT_TRUE(after.Publish("site/pulses", "19"));
    ASSERT_TRUE(Pump([&] { return Reading(HostTable::Tags, 12) == 19.0f && !InError(HostTable::Tags, 12); }, 3s));
    links.Stop();
}

TEST_F(MqttLinkTest, ABrokerThatIsNotThereYet) {
    const int port = FreePort();
    Scenario site = Site(port);
    DeviceLinks links(site, state_, 5, Logger());
    std::string error;
    ASSERT_TRUE(links.Start(error)) << error;
    ASSERT_TRUE(Pump([&] { return LogCount("lost") == 1; }, 6s)) << LogText();
    EXPECT_TRUE(InError(HostTable::Tags, 12));
    Broker broker(folder_ / "broker");
    ASSERT_TRUE(broker.Start(port));
    ASSERT_TRUE(Pump([&] { return LogCount("back") == 1; }, 15s)) << LogText();
    // Gone again: the host stops at once even while its client waits to reconnect.
    broker.Stop();
    ASSERT_TRUE(Pump([&] { return LogCount("lost") == 2; }, 5s)) << LogText();
    PumpFor(1500ms);
    const auto before = std::chrono::steady_clock::now();
    links.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 1s);
}

TEST_F(MqttLinkTest, CredentialsAndTls) {
    const std::filesystem::path dir = folder_ / "auth";
    std::filesystem::create_directories(dir);
    const std::string d = dir.string();
    ASSERT_EQ(std::system(("mosquitto_passwd -c -b " + d + "/passwords meter 's3cret;x' > /dev/null 2>&1").c_str()), 0);
    Broker broker(dir);
    broker.SetListenerConfig("allow_anonymous false\npassword_file " + d + "/passwords\n");
    ASSERT_TRUE(broker.Start());
    auto site = [&](const std::string& name, const std::string& keys) {
        Scenario s;
        std::string error;
        EXPECT_TRUE(ParseScenario("[mqtt " + name + "]\nbroker = 127.0.0.1:" + std::to_string(broker.Port()) + "\n" + keys +
                                      "map = T13 site/pulses\n",
                                  s, error))
            << error;
        return s;
    };
    Scenario good = site("Good", "username = meter\npassword = s3cret;x\n");
    Scenario bad = site("Bad", "username = meter\npassword = wrong\n");
    DeviceLinks goodLinks(good, state_, 5, Logger());
    DeviceLinks badLinks(bad, state_, 5, Logger());
    std::string error;
    ASSERT_TRUE(goodLinks.Start(error) && badLinks.Start(error)) << error;
    ASSERT_TRUE(Pump([&] { return LogCount("Good: ") == 1 && LogCount("Bad: ") == 1; }, 5s)) << LogText();
    PumpFor(2500ms);  // the refused client keeps retrying: still one line
    EXPECT_EQ(LogCount("mqtt Good: connected (127.0.0.1:" + std::to_string(broker.Port()) + ")"), 1) << LogText();
    EXPECT_EQ(LogCount("Bad: "), 1) << LogText();
    EXPECT_EQ(LogCount("not authorised"), 1) << LogText();
    goodLinks.Stop();
    badLinks.Stop();
    broker.Stop();

    // TLS with the site's own CA; the broker's certificate names 127.0.0.1.
    const std::string ec = "-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes";
    ASSERT_EQ(std::system(("cd " + d + " && openssl req -x509 " + ec + " -keyout ca.key -out ca.crt -subj /CN=TestCA -days 2" +
                           " && openssl req " + ec + " -keyout server.key -out server.csr -subj /CN=127.0.0.1" +
                           " && printf 'subjectAltName=IP:127.0.0.1' > san.ext" +
                           " && openssl x509 -req -in server.csr -CA ca.crt -CAkey ca.key -CAcreateserial" +
                           " -out server.crt -days 2 -extfile san.ext > /dev/null 2>&1" +
                           // A broker started as root reads its files as the user it drops to.
                           " && chmod 644 server.key")
                              .c_str()),
              0);
    Broker tls(dir / "tls");
    tls.SetListenerConfig("allow_anonymous true\ncafile " + d + "/ca.crt\ncertfile " + d + "/server.crt\nkeyfile " + d +
                          "/server.key\n");
    ASSERT_TRUE(tls.Start());
    Scenario secure;
    ASSERT_TRUE(ParseScenario("[mqtt Secure]\nbroker = 127.0.0.1:" + std::to_string(tls.Port()) + "\nca file = " + d +
                                  "/ca.crt\nmap = T20 site/secure\n",
                              secure, error))
        << error;
    DeviceLinks links(secure, state_, 5, Logger());
    ASSERT_TRUE(links.Start(error)) << error;
    ASSERT_TRUE(Pump([&] { return LogCount("Secure: ") == 1; }, 5s)) << LogText();
    EXPECT_EQ(LogCount("mqtt Secure: connected (127.0.0.1:" + std::to_string(tls.Port()) + ")"), 1) << LogText();
    ASSERT_EQ(std::system(("mosquitto_pub -h 127.0.0.1 -p " + std::to_string(tls.Port()) + " --cafile " + d +
                           "/ca.crt -t site/secure -m 64.5")
                              .c_str()),
              0);
    EXPECT_TRUE(Pump([&] { return Reading(HostTable::Tags, 19) == 64.5f; }, 3s));
    links.Stop();
}

}  // namespace
}  // namespace meters
