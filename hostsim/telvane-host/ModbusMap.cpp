#include "ModbusMap.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "DevicePoints.h"

std::vector<ModbusReadRequest> GroupReads(const std::vector<ModbusValueFormat>& maps) {
    std::vector<int> order(maps.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        if (maps[a].Table != maps[b].Table) return maps[a].Table < maps[b].Table;
        return maps[a].Address < maps[b].Address;
    });
    std::vector<ModbusReadRequest> requests;
    for (int i : order) {
        const ModbusValueFormat& m = maps[i];
        int end = m.Address + ModbusWordCount(m.Type);
        int limit = IsBitTable(m.Table) ? ModbusMaxReadBits : ModbusMaxReadRegisters;
        if (!requests.empty()) {
            ModbusReadRequest& last = requests.back();
            int lastEnd = last.Start + last.Count;
            if (last.Table == m.Table && m.Address <= lastEnd && std::max(end, lastEnd) - last.Start <= limit) {
                last.Count = std::max(end, lastEnd) - last.Start;
                last.Maps.push_back(i);
                continue;
            }
        }
        requests.push_back(ModbusReadRequest{m.Table, m.Address, end - m.Address, {i}});
    }
    return requests;
}

double DecodeModbusValue(const ModbusValueFormat& entry, const uint16_t* words) {
    if (entry.Type == ModbusType::Bit) return words[0] != 0 ? 1.0 : 0.0;
    uint32_t wide = 0;
    if (ModbusWordCount(entry.Type) == 2) {
        uint32_t high = entry.LowWordFirst ? words[1] : words[0];
        uint32_t low = entry.LowWordFirst ? words[0] : words[1];
        wide = high << 16 | low;
    }
    double raw = 0;
    switch (entry.Type) {
    case ModbusType::Int16: raw = static_cast<int16_t>(words[0]); break;
    case ModbusType::Uint16: raw = words[0]; break;
    case ModbusType::Int32: raw = static_cast<int32_t>(wide); break;
    case ModbusType::Uint32: raw = wide; break;
    case ModbusType::Float32: {
        float f = 0;
        std::memcpy(&f, &wide, sizeof f);
        raw = f;
        break;
    }
    case ModbusType::Bit: break;
    }
    return raw * entry.Scale;
}

bool EncodeModbusValue(const ModbusValueFormat& entry, double value, std::vector<uint16_t>& words) {
    words.clear();
    if (!std::isfinite(value)) return false;
    if (entry.Type == ModbusType::Bit) {
        words.push_back(value != 0 ? 1 : 0);
        return true;
    }
    double raw = value / entry.Scale;
    uint32_t wide = 0;
    auto whole = [&](double low, double high) {
        raw = std::nearbyint(raw);
        return raw >= low && raw <= high;
    };
    switch (entry.Type) {
    case ModbusType::Int16:
        if (!whole(-32768, 32767)) return false;
        words.push_back(static_cast<uint16_t>(static_cast<int16_t>(raw)));
        return true;
    case ModbusType::Uint16:
        if (!whole(0, 65535)) return false;
        words.push_back(static_cast<uint16_t>(raw));
        return true;
    case ModbusType::Int32:
        if (!whole(-2147483648.0, 2147483647.0)) return false;
        wide = static_cast<uint32_t>(static_cast<int32_t>(raw));
        break;
    case ModbusType::Uint32:
        if (!whole(0, 4294967295.0)) return false;
        wide = static_cast<uint32_t>(raw);
        break;
    case ModbusType::Float32: {
        if (!FitsReading(raw)) return false;
        float f = static_cast<float>(raw);
        std::memcpy(&wide, &f, sizeof f);
        break;
    }
    case ModbusType::Bit: break;
    }
    uint16_t high = static_cast<uint16_t>(wide >> 16), low = static_cast<uint16_t>(wide & 0xFFFF);
    words = entry.LowWordFirst ? std::vector<uint16_t>{low, high} : std::vector<uint16_t>{high, low};
    return true;
}
