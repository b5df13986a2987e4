#pragma once
// How a Modbus device's points sit in its registers: values decoded from register words and
// encoded into them, and the device's reads grouped into as few requests as the protocol allows.
#include <cstdint>
#include <vector>

#include "DeviceSections.h"

// Protocol limits of one read request.
inline constexpr int ModbusMaxReadRegisters = 125;
inline constexpr int ModbusMaxReadBits = 2000;

struct ModbusReadRequest {
    ModbusTable Table = ModbusTable::Holding;
    int Start = 0;
    int Count = 0;              // registers or bits
    std::vector<int> Maps;      // indexes into the device's maps, each wholly inside the request
};

// Neighbouring or overlapping values of one table share a request, up to the protocol's limit.
// Values apart by a gap are read apart: a gap may hold addresses the device refuses.
std::vector<ModbusReadRequest> GroupReads(const std::vector<ModbusValueFormat>& maps);

// The point value of the words of one value as they came off the wire (ModbusWordCount(type) of
// them; a bit is 0 or 1), scale applied.
double DecodeModbusValue(const ModbusValueFormat& entry, const uint16_t* words);
// The words that carry a point value (scale undone); false when the value does not fit the type
// (out of range, not finite) and nothing may be written.
bool EncodeModbusValue(const ModbusValueFormat& entry, double value, std::vector<uint16_t>& words);
