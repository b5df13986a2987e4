// What an MQTT payload gives: a number, a JSON field, or a refusal with its reason.
#include <gtest/gtest.h>

#include "MqttPayload.h"

namespace {

TEST(MqttPayload, NumbersAndFields) {
    struct Good {
        const char* payload;
        const char* field;
        double value;
    } good[] = {
        {"12.5", "", 12.5},
        {" -3e2\n", "", -300},
        {"+7", "", 7},
        {R"({"power_kw": 41.25, "v": 230})", "power_kw", 41.25},
        {R"({"power_kw": "41.5"})", "power_kw", 41.5},
        {R"({"meter": {"total": 99}})", "meter.total", 99},
        {R"({"on": true})", "on", 1},
    };
    for (const Good& g : good) {
        double value = 0;
        std::string fault;
        ASSERT_TRUE(PayloadValue(g.payload, g.field, value, fault)) << g.payload << ": " << fault;
        EXPECT_EQ(value, g.value) << g.payload;
    }
    struct Bad {
        std::string payload;
        const char* field;
        const char* fault;
    } bad[] = {
        {"", "", "not a number"},
        {"12 kW", "", "not a number"},
        {"nan", "", "not a number"},
        {"inf", "", "not a number"},
        {"0x10", "", "not a number"},
        {"41.25", "power_kw", "not a JSON object"},
        {"[1,2]", "power_kw", "not a JSON object"},
        {R"({"power": 1})", "power_kw", "no field power_kw"},
        {R"({"meter": 5})", "meter.total", "no field meter.total"},
        {R"({"power_kw": null})", "power_kw", "not a number"},
        {R"({"power_kw": "high"})", "power_kw", "not a number"},
        {std::string(70000, '1'), "", "too long"},
    };
    for (const Bad& b : bad) {
        double value = 123;
        std::string fault;
        EXPECT_FALSE(PayloadValue(b.payload, b.field, value, fault)) << b.payload;
        EXPECT_NE(fault.find(b.fault), std::string::npos) << b.payload << " gave " << fault;
    }
}

}  // namespace
