#pragma once
// Real devices a host run reads into its points and writes its points to: Modbus devices over TCP
// or a serial line ([modbus NAME]) and MQTT brokers ([mqtt NAME]). Format: see SCENARIO.md.
#include <string>
#include <string_view>
#include <vector>

#include "PointRef.h"

enum class ModbusTable { Holding, Input, Coil, Discrete };
enum class ModbusType { Bit, Int16, Uint16, Int32, Uint32, Float32 };

// One `map =` or `write =` line of a Modbus device.
struct ModbusValueFormat {
    PointRef Point;
    ModbusTable Table = ModbusTable::Holding;
    int Address = 0;           // 0-based register or bit address
    ModbusType Type = ModbusType::Bit;
    bool LowWordFirst = false; // word order "little"
    double Scale = 1;          // device value x scale = point value
    int Line = 0;              // of the scenario, for errors found later
};

struct ModbusDeviceConfig {
    std::string Name;
    int Line = 0;              // of the section header
    bool HasAddress = false;
    bool Serial = false;       // RTU on SerialPort, else TCP to Host:Port
    std::string Host;
    int Port = 502;
    std::string SerialPort;
    int Baud = 9600;
    char Parity = 'N';         // N, E or O
    int StopBits = 1;
    int Unit = 1;
    double PollSeconds = 1;
    double TimeoutSeconds = 1;
    std::vector<ModbusValueFormat> Maps;
    std::vector<ModbusValueFormat> Writes;
};

struct MqttMapping {
    PointRef Point;
    std::string Topic;
    std::string Field;         // empty: the payload is the number; else a JSON field ("a.b" nests)
    int Line = 0;
};

struct MqttPublishing {
    PointRef Point;
    std::string Topic;
    int Line = 0;
};

struct MqttSourceConfig {
    std::string Name;
    int Line = 0;
    bool HasBroker = false;
    std::string Host;
    int Port = 1883;
    std::string ClientId;
    std::string Username;
    std::string Password;
    bool Tls = false;
    std::string CaFile;        // TLS trust; empty with TLS on: the system's certificates
    std::vector<MqttMapping> Maps;
    std::vector<MqttPublishing> Publishes;
};

// One key of a section; false with a message (the caller adds the line number).
bool SetModbusKey(ModbusDeviceConfig& device, const std::string& key, std::string_view value, std::string& message);
bool SetMqttKey(MqttSourceConfig& source, const std::string& key, std::string_view value, std::string& message);
// Whether a complete section can run; false with a message.
bool CheckModbusDevice(const ModbusDeviceConfig& device, std::string& message);
bool CheckMqttSource(const MqttSourceConfig& source, std::string& message);

// "map" / "write" value text: POINT TABLE ADDRESS [TYPE [big|little] [SCALE]].
bool ParseModbusValue(std::string_view text, ModbusValueFormat& entry, std::string& message);
// Registers a value takes (bits: 1).
int ModbusWordCount(ModbusType type);
bool IsBitTable(ModbusTable table);
