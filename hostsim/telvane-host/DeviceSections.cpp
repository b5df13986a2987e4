#include "DeviceSections.h"
#include "ScenarioText.h"

#include <cctype>

namespace {

std::vector<std::string_view> Words(std::string_view text) {
    std::vector<std::string_view> words;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
        size_t start = i;
        while (i < text.size() && !std::isspace(static_cast<unsigned char>(text[i]))) ++i;
        if (i > start) words.push_back(text.substr(start, i - start));
    }
    return words;
}

// HOST:PORT; the port may be left out (defaultPort). IPv6 literals go in brackets: [::1]:502.
bool HostPort(std::string_view text, int defaultPort, std::string& host, int& port) {
    text = TrimBlanks(text);
    port = defaultPort;
    if (!text.empty() && text.front() == '[') {
        size_t close = text.find(']');
        if (close == std::string_view::npos) return false;
        host = std::string(text.substr(1, close - 1));
        std::string_view rest = text.substr(close + 1);
        if (!rest.empty() && (rest.front() != ':' || !ParseWhole(rest.substr(1), 1, 65535, port))) return false;
        return !host.empty();
    }
    size_t colon = text.rfind(':');
    if (colon != std::string_view::npos) {
        if (!ParseWhole(text.substr(colon + 1), 1, 65535, port)) return false;
        text = text.substr(0, colon);
    }
    host = std::string(text);
    return !host.empty() && host.find_first_of(" \t:") == std::string::npos;
}

bool HasWildcard(std::string_view topic) { return topic.find_first_of("+#") != std::string_view::npos; }

}  // namespace

int ModbusWordCount(ModbusType type) {
    switch (type) {
    case ModbusType::Int32:
    case ModbusType::Uint32:
    case ModbusType::Float32: return 2;
    default: return 1;
    }
}

bool IsBitTable(ModbusTable table) { return table == ModbusTable::Coil || table == ModbusTable::Discrete; }

bool ParseModbusValue(std::string_view text, ModbusValueFormat& entry, std::string& message) {
    std::vector<std::string_view> w = Words(text);
    if (w.size() < 3) {
        message = "give POINT TABLE ADDRESS [TYPE [big|little] [SCALE]]: " + std::string(TrimBlanks(text));
        return false;
    }
    if (!ParsePointRef(w[0], entry.Point)) {
        message = "not a point: " + std::string(w[0]);
        return false;
    }
    std::string table = Lower(w[1]);
    if (table == "holding") entry.Table = ModbusTable::Holding;
    else if (table == "input") entry.Table = ModbusTable::Input;
    else if (table == "coil") entry.Table = ModbusTable::Coil;
    else if (table == "discrete") entry.Table = ModbusTable::Discrete;
    else {
        message = "the table is holding, input, coil or discrete, not " + std::string(w[1]);
        return false;
    }
    if (!ParseWhole(w[2], 0, 65535, entry.Address)) {
        message = "the address is 0 to 65535, not " + std::string(w[2]);
        return false;
    }
    if (IsBitTable(entry.Table)) {
        entry.Type = ModbusType::Bit;
        if (w.size() > 3) {
            message = "coils and discrete inputs take no type, word order or scale: " + std::string(w[3]);
            return false;
        }
        return true;
    }
    if (w.size() < 4) {
        message = "a register needs a type: int16, uint16, int32, uint32 or float32";
        return false;
    }
    std::string type = Lower(w[3]);
    if (type == "int16") entry.Type = ModbusType::Int16;
    else if (type == "uint16") entry.Type = ModbusType::Uint16;
    else if (type == "int32") entry.Type = ModbusType::Int32;
    else if (type == "uint32") entry.Type = ModbusType::Uint32;
    else if (type == "float32") entry.Type = ModbusType::Float32;
    else {
        message = "the type is int16, uint16, int32, uint32 or float32, not " + std::string(w[3]);
        return false;
    }
    if (entry.Address + ModbusWordCount(entry.Type) - 1 > 65535) {
        message = "the value runs past register 65535";
        return false;
    }
    size_t next = 4;
    if (next < w.size()) {
        std::string order = Lower(w[next]);
        if (order == "big" || order == "little") {
            entry.LowWordFirst = order == "little";
            ++next;
        }
    }
    if (next < w.size()) {
        if (!ParseNumber(w[next], entry.Scale) || entry.Scale == 0) {
            message = "the scale is a number other than 0, not " + std::string(w[next]);
            return false;
        }
        ++next;
    }
    if (next < w.size()) {
        message = "unexpected " + std::string(w[next]);
        return false;
    }
    return true;
}

bool SetModbusKey(ModbusDeviceConfig& d, const std::string& key, std::string_view value, std::string& message) {
    bool ok = true;
    if (key == "address") {
        value = TrimBlanks(value);
        d.HasAddress = true;
        d.Serial = !value.empty() && value.front() == '/';
        if (d.Serial) d.SerialPort = std::string(value);
        else ok = HostPort(value, 502, d.Host, d.Port);
    } else if (key == "baud") {
        ok = ParseWhole(value, 50, 4000000, d.Baud);
    } else if (key == "parity") {
        std::string p = Lower(TrimBlanks(value));
        ok = p == "none" || p == "even" || p == "odd";
        if (ok) d.Parity = p == "none" ? 'N' : p == "even" ? 'E' : 'O';
    } else if (key == "stop bits") {
        ok = ParseWhole(value, 1, 2, d.StopBits);
    } else if (key == "unit") {
        ok = ParseWhole(value, 0, 255, d.Unit);
    } else if (key == "poll") {
        ok = ParseNumber(value, d.PollSeconds) && d.PollSeconds >= 0.05 && d.PollSeconds <= 86400;
    } else if (key == "timeout") {
        ok = ParseNumber(value, d.TimeoutSeconds) && d.TimeoutSeconds >= 0.01 && d.TimeoutSeconds <= 60;
    } else if (key == "map" || key == "write") {
        ModbusValueFormat entry;
        if (!ParseModbusValue(value, entry, message)) return false;
        if (key == "write") {
            if (entry.Table == ModbusTable::Input || entry.Table == ModbusTable::Discrete) {
                message = "only holding registers and coils can be written";
                return false;
            }
            d.Writes.push_back(entry);
        } else {
            d.Maps.push_back(entry);
        }
    } else {
        message = "unknown key in [modbus " + d.Name + "]: " + key;
        return false;
    }
    if (!ok) message = "bad value for " + key + ": " + std::string(TrimBlanks(value));
    return ok;
}

bool SetMqttKey(MqttSourceConfig& s, const std::string& key, std::string_view value, std::string& message) {
    value = TrimBlanks(value);
    bool ok = true;
    if (key == "broker") {
        ok = s.HasBroker = HostPort(value, 1883, s.Host, s.Port);
    } else if (key == "client id") {
        s.ClientId = value;
        ok = s.ClientId.size() <= 65535;
    } else if (key == "username") {
        s.Username = value;
    } else if (key == "password") {
        s.Password = value;
    } else if (key == "tls") {
        ok = ParseYesNo(value, s.Tls);
    } else if (key == "ca file") {
        s.CaFile = value;
        s.Tls = ok = !s.CaFile.empty();
    } else if (key == "map") {
        std::vector<std::string_view> w = Words(value);
        MqttMapping map;
        if (w.size() < 2 || w.size() > 3) {
            message = "give POINT TOPIC [FIELD]: " + std::string(value);
            return false;
        }
        if (!ParsePointRef(w[0], map.Point)) {
            message = "not a point: " + std::string(w[0]);
            return false;
        }
        map.Topic = w[1];
        if (HasWildcard(map.Topic)) {
            message = "a mapped topic names one topic, without + or #: " + map.Topic;
            return false;
        }
        if (w.size() == 3) map.Field = w[2];
        s.Maps.push_back(map);
    } else if (key == "publish") {
        std::vector<std::string_view> w = Words(value);
        MqttPublishing publish;
        if (w.size() != 2) {
            message = "give POINT TOPIC: " + std::string(value);
            return false;
        }
        if (!ParsePointRef(w[0], publish.Point)) {
            message = "not a point: " + std::string(w[0]);
            return false;
        }
        publish.Topic = w[1];
        if (HasWildcard(publish.Topic)) {
            message = "a published topic cannot hold + or #: " + publish.Topic;
            return false;
        }
        s.Publishes.push_back(publish);
    } else {
        message = "unknown key in [mqtt " + s.Name + "]: " + key;
        return false;
    }
    if (!ok) message = "bad value for " + key + ": " + std::string(value);
    return ok;
}

bool CheckModbusDevice(const ModbusDeviceConfig& d, std::string& message) {
    if (!d.HasAddress) {
        message = "[modbus " + d.Name + "] needs an address";
        return false;
    }
    if (d.Maps.empty() && d.Writes.empty()) {
        message = "[modbus " + d.Name + "] maps and writes nothing";
        return false;
    }
    return true;
}

bool CheckMqttSource(const MqttSourceConfig& s, std::string& message) {
    if (!s.HasBroker) {
        message = "[mqtt " + s.Name + "] needs a broker";
        return false;
    }
    if (s.Maps.empty() && s.Publishes.empty()) {
        message = "[mqtt " + s.Name + "] maps and publishes nothing";
        return false;
    }
    return true;
}
