// Scenario text and device payloads from anywhere. A scenario either fails with a line number or
// gives device sections whose reads group soundly: every value lies wholly inside one request of
// its table, and no request exceeds the protocol's limit. A payload either gives a finite number
// or a reason; register words decode to a value that encodes back to the same words.
//
// Input: byte 0 picks what the rest is: a scenario text, an MQTT payload (field from byte 1), or
// register words.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "DeviceSections.h"
#include "ModbusMap.h"
#include "MqttPayload.h"
#include "Scenario.h"

namespace {

void CheckGrouping(const ModbusDeviceConfig& device) {
    std::vector<int> seen(device.Maps.size(), 0);
    for (const ModbusReadRequest& r : GroupReads(device.Maps)) {
        Check(r.Count >= 1 && r.Count <= (IsBitTable(r.Table) ? ModbusMaxReadBits : ModbusMaxReadRegisters));
        for (int m : r.Maps) {
            const ModbusValueFormat& v = device.Maps[m];
            Check(v.Table == r.Table && v.Address >= r.Start && v.Address + ModbusWordCount(v.Type) <= r.Start + r.Count);
            ++seen[m];
        }
    }
    for (int n : seen) Check(n == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const std::string_view rest(reinterpret_cast<const char*>(data + 2), size - 2);
    switch (data[0] % 3) {
    case 0: {
        Scenario s;
        std::string error;
        if (!ParseScenario(rest, s, error)) {
            Check(error.rfind("line ", 0) == 0 || error.rfind("meter ", 0) == 0);
            return 0;
        }
        for (const ModbusDeviceConfig& d : s.ModbusDevices) CheckGrouping(d);
        return 0;
    }
    case 1: {
        static const char* const fields[] = {"", "power_kw", "meter.total", "a.b.c"};
        double value = 0;
        std::string fault;
        if (PayloadValue(rest, fields[data[1] % 4], value, fault)) Check(std::isfinite(static_cast<float>(value)));
        else Check(!fault.empty());
        return 0;
    }
    default: {
        if (rest.size() < 4) return 0;
        uint16_t words[2];
        std::memcpy(words, rest.data(), sizeof words);
        ModbusValueFormat entry;
        entry.Table = ModbusTable::Holding;
        entry.Type = static_cast<ModbusType>(1 + data[1] % 5);
        entry.LowWordFirst = data[1] & 0x80;
        const double value = DecodeModbusValue(entry, words);
        std::vector<uint16_t> back;
        if (!std::isfinite(value)) return 0;  // NaN and infinity patterns are never written
        Check(EncodeModbusValue(entry, value, back));
        Check(std::memcmp(back.data(), words, back.size() * sizeof(uint16_t)) == 0);
        return 0;
    }
    }
}
