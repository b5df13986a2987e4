#include "Scenario.h"
#include "ScenarioText.h"

#include <cctype>
#include <climits>
#include <functional>
#include <map>

namespace {

// Key names compare without case, and runs of blanks count as one ("units  per pulse").
std::string KeyName(std::string_view text) {
    std::string out;
    for (char c : Lower(TrimBlanks(text))) {
        if (std::isspace(static_cast<unsigned char>(c))) {
            if (!out.empty() && out.back() != ' ') out += ' ';
        } else {
            out += c;
        }
    }
    return out;
}

std::vector<std::string> ParseList(std::string_view text) {
    std::vector<std::string> items;
    size_t start = 0;
    while (start <= text.size()) {
        size_t comma = text.find(',', start);
        if (comma == std::string_view::npos) comma = text.size();
        std::string_view item = TrimBlanks(text.substr(start, comma - start));
        if (!item.empty()) items.emplace_back(item);
        start = comma + 1;
    }
    return items;
}

// "100" (constant) or "50..150" (swinging between the two).
bool ParseRate(std::string_view text, double& low, double& high) {
    size_t dots = text.find("..");
    if (dots == std::string_view::npos) {
        if (!ParseAnyNumber(text, low)) return false;
        high = low;
        return true;
    }
    return ParseAnyNumber(text.substr(0, dots), low) && ParseAnyNumber(text.substr(dots + 2), high);
}

bool ParseKind(std::string_view text, MeterKind& kind) {
    static const std::map<std::string, MeterKind> kinds{
        {"rate", MeterKind::Rate}, {"total", MeterKind::Total}, {"pulse", MeterKind::Pulse},
        {"hourpulse", MeterKind::HourPulse}, {"hour pulse", MeterKind::HourPulse}};
    auto found = kinds.find(KeyName(text));
    if (found == kinds.end()) return false;
    kind = found->second;
    return true;
}

enum class SectionKind { None, Host, Meter, Point, Page, Dde, Modbus, Mqtt };

// Device lines may end in a comment: a ';' after a blank. Passwords keep every character.
std::string_view WithoutComment(const std::string& key, std::string_view value) {
    if (key == "password") return value;
    for (size_t i = 1; i < value.size(); ++i) {
        if (value[i] == ';' && std::isspace(static_cast<unsigned char>(value[i - 1]))) return TrimBlanks(value.substr(0, i));
    }
    return value;
}

struct Parser {
    Parser(Scenario& s, std::string& e) : scenario(s), error(e) {}
    Scenario& scenario;
    std::string& error;
    SectionKind section = SectionKind::None;
    std::string sectionName;
    int lineNumber = 0;

    bool Fail(const std::string& message) {
        error = "line " + std::to_string(lineNumber) + ": " + message;
        return false;
    }

    // A device section is checked as a whole when the next section starts or the file ends,
    // and a mistake names its header line.
    bool CloseDeviceSection() {
        std::string message;
        int header = 0;
        if (section == SectionKind::Modbus && !CheckModbusDevice(scenario.ModbusDevices.back(), message)) {
            header = scenario.ModbusDevices.back().Line;
        } else if (section == SectionKind::Mqtt && !CheckMqttSource(scenario.MqttSources.back(), message)) {
            header = scenario.MqttSources.back().Line;
        }
        if (header == 0) return true;
        error = "line " + std::to_string(header) + ": " + message;
        return false;
    }

    bool DeviceKey(const std::string& key, std::string_view value) {
        value = WithoutComment(key, value);
        std::string message;
        bool ok = section == SectionKind::Modbus
                      ? SetModbusKey(scenario.ModbusDevices.back(), key, value, message)
                      : SetMqttKey(scenario.MqttSources.back(), key, value, message);
        if (!ok) return Fail(message);
        if (section == SectionKind::Modbus) {
            ModbusDeviceConfig& d = scenario.ModbusDevices.back();
            for (auto* list : {&d.Maps, &d.Writes}) {
                if (!list->empty() && list->back().Line == 0) list->back().Line = lineNumber;
            }
        } else {
            MqttSourceConfig& s = scenario.MqttSources.back();
            if (!s.Maps.empty() && s.Maps.back().Line == 0) s.Maps.back().Line = lineNumber;
            if (!s.Publishes.empty() && s.Publishes.back().Line == 0) s.Publishes.back().Line = lineNumber;
        }
        return true;
    }

    bool OpenSection(std::string_view header) {
        if (!CloseDeviceSection()) return false;
        std::string_view inner = TrimBlanks(header);
        size_t blank = inner.find_first_of(" \t");
        std::string kind = Lower(inner.substr(0, blank));
        std::string name(blank == std::string_view::npos ? std::string_view() : TrimBlanks(inner.substr(blank)));
        sectionName = name;
        if (kind == "host") {
            section = SectionKind::Host;
            return true;
        }
        if (name.empty()) return Fail("section [" + kind + "] needs a name");
        if (kind == "meter") {
            section = SectionKind::Meter;
            scenario.Meters.push_back(MeterConfig());
            scenario.Meters.back().Name = name;
            return true;
        }
        if (kind == "point") {
            PointConfig point;
            if (!ParsePointRef(name, point.Point)) return Fail("not a point: " + name);
            section = SectionKind::Point;
            scenario.Points.push_back(point);
            return true;
        }
        if (kind == "page") {
            PageConfig page;
            if (!ParseWhole(name, 1, HostMaxPages, page.Page)) {
                return Fail("not a page number: " + name);
            }
            section = SectionKind::Page;
            scenario.Pages.push_back(page);
            return true;
        }
        if (kind == "modbus") {
            section = SectionKind::Modbus;
            scenario.ModbusDevices.push_back(ModbusDeviceConfig());
            scenario.ModbusDevices.back().Name = name;
            scenario.ModbusDevices.back().Line = lineNumber;
            return true;
        }
        if (kind == "mqtt") {
            section = SectionKind::Mqtt;
            scenario.MqttSources.push_back(MqttSourceConfig());
            scenario.MqttSources.back().Name = name;
            scenario.MqttSources.back().Line = lineNumber;
            return true;
        }
        if (kind == "dde") {
            if (name.find('|') == std::string::npos) return Fail("a DDE section names APPLICATION|TOPIC: " + name);
            section = SectionKind::Dde;
            return true;
        }
        return Fail("unknown section [" + std::string(inner) + "]");
    }

    bool HostKey(const std::string& key, std::string_view value) {
        if (key == "generation") {
            if (!ParseWhole(value, 4, 5, scenario.Generation)) {
                return Fail("generation is 4 or 5");
            }
        } else if (key == "folder") {
            scenario.HostFolder = value;
        } else if (key == "job") {
            scenario.JobName = value;
        } else if (key == "job folder") {
            scenario.JobFolder = value;
        } else if (key == "data folder") {
            scenario.DataFolder = value;
        } else if (key == "install name") {
            scenario.InstallName = value;
        } else if (key == "install comment") {
            scenario.InstallComment = value;
        } else if (key == "user mode") {
            if (!ParseWhole(value, INT_MIN, INT_MAX, scenario.UserMode)) return Fail("user mode is a number");
        } else if (key == "recorders") {
            if (!ParseWhole(value, 0, HostMaxRecorders, scenario.RecorderCount)) {
                return Fail("recorders is 0 to 5");
            }
        } else if (key == "libraries") {
            scenario.HasLibraries = true;
            scenario.Libraries = ParseList(value);
        } else if (key == "hidden windows") {
            scenario.HiddenWindows = ParseList(value);
        } else {
            return Fail("unknown key in [host]: " + key);
        }
        return true;
    }

    bool MeterKey(const std::string& key, std::string_view value) {
        MeterConfig& m = scenario.Meters.back();
        bool ok = true;
        if (key == "point") {
            ok = ParsePointRef(value, m.Point);
            m.HasPoint = ok;
        } else if (key == "dde topic") {
            m.DdeTopic = value;
            ok = m.DdeTopic.find('|') != std::string::npos;
        } else if (key == "dde item") {
            m.DdeItem = value;
            ok = !m.DdeItem.empty();
        } else if (key == "kind") {
            ok = ParseKind(value, m.Kind);
        } else if (key == "rate") {
            ok = ParseRate(value, m.RateLow, m.RateHigh);
        } else if (key == "period") {
            ok = ParseAnyNumber(value, m.PeriodSeconds) && m.PeriodSeconds > 0;
        } else if (key == "start") {
            ok = ParseAnyNumber(value, m.Start);
        } else if (key == "units per pulse") {
            ok = ParseAnyNumber(value, m.UnitsPerPulse) && m.UnitsPerPulse > 0;
        } else if (key == "rollover") {
            ok = ParseAnyNumber(value, m.Rollover) && m.Rollover >= 0;
        } else if (key == "clock offset") {
            ok = ParseAnyNumber(value, m.ClockOffsetSeconds);
        } else if (key == "decimals") {
            ok = ParseWhole(value, 0, 9, m.Decimals);
        } else if (key == "unit") {
            m.Unit = value;
        } else {
            return Fail("unknown key in [meter " + m.Name + "]: " + key);
        }
        return ok ? true : Fail("bad value for " + key + ": " + std::string(value));
    }

    bool PointKey(const std::string& key, std::string_view value) {
        PointConfig& p = scenario.Points.back();
        bool ok = true;
        if (key == "name") {
            p.Name = value;
        } else if (key == "active") {
            ok = ParseYesNo(value, p.Active);
        } else if (key == "value") {
            ok = p.HasValue = ParseAnyNumber(value, p.Value);
        } else {
            return Fail("unknown key in [point]: " + key);
        }
        return ok ? true : Fail("bad value for " + key + ": " + std::string(value));
    }

    bool PageKey(const std::string& key, std::string_view value) {
        PageConfig& p = scenario.Pages.back();
        if (key == "label") {
            p.Label = value;
        } else if (key == "active") {
            if (!ParseYesNo(value, p.Active)) return Fail("active is yes or no");
        } else if (key == "files") {
            p.Files = ParseList(value);
        } else {
            return Fail("unknown key in [page]: " + key);
        }
        return true;
    }

    bool Line(std::string_view raw) {
        std::string_view line = TrimBlanks(raw);
        if (line.empty() || line.front() == ';' || line.front() == '#') return true;
        if (line.front() == '[') {
            if (line.back() != ']') return Fail("section header without ]");
            return OpenSection(line.substr(1, line.size() - 2));
        }
        size_t equals = line.find('=');
        if (equals == std::string_view::npos) return Fail("expected key = value");
        std::string_view rawKey = TrimBlanks(line.substr(0, equals));
        std::string key = KeyName(rawKey);
        std::string_view value = TrimBlanks(line.substr(equals + 1));
        switch (section) {
        case SectionKind::None: return Fail("key outside a section");
        case SectionKind::Host: return HostKey(key, value);
        case SectionKind::Meter: return MeterKey(key, value);
        case SectionKind::Point: return PointKey(key, value);
        case SectionKind::Page: return PageKey(key, value);
        case SectionKind::Modbus:
        case SectionKind::Mqtt: return DeviceKey(key, value);
        case SectionKind::Dde:
            // Item names keep their spelling; the server compares them without case anyway.
            scenario.DdeItems.push_back(DdeItemConfig{sectionName, std::string(rawKey), std::string(value)});
            return true;
        }
        return true;
    }
};

}  // namespace

bool ParseScenario(std::string_view text, Scenario& scenario, std::string& error) {
    scenario = Scenario();
    Parser parser(scenario, error);
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        ++parser.lineNumber;
        if (!parser.Line(text.substr(start, end - start))) return false;
        start = end + 1;
    }
    if (!parser.CloseDeviceSection()) return false;
    for (const MeterConfig& m : scenario.Meters) {
        if (!m.HasPoint && m.DdeTopic.empty()) {
            error = "meter " + m.Name + " has neither a point nor a dde topic";
            return false;
        }
        if (!m.DdeTopic.empty() && m.DdeItem.empty()) {
            error = "meter " + m.Name + " has a dde topic but no dde item";
            return false;
        }
    }
    return true;
}

Scenario DefaultScenario() {
    Scenario s;
    MeterConfig gas;
    gas.Name = "Gas meter";
    gas.Kind = MeterKind::Pulse;
    gas.HasPoint = true;
    gas.Point = PointRef{PointKind::Tag, 12};
    gas.RateLow = 80;
    gas.RateHigh = 120;
    gas.Rollover = 10000;
    s.Meters.push_back(gas);
    MeterConfig power;
    power.Name = "Main incomer kW";
    power.Kind = MeterKind::Rate;
    power.HasPoint = true;
    power.Point = PointRef{PointKind::Line, 1};
    power.RateLow = 200;
    power.RateHigh = 300;
    s.Meters.push_back(power);
    MeterConfig hour;
    hour.Name = "Hour pulse";
    hour.Kind = MeterKind::HourPulse;
    hour.HasPoint = true;
    hour.Point = PointRef{PointKind::Tag, 100};
    s.Meters.push_back(hour);
    PageConfig page;
    page.Page = 1;
    page.Label = "Incomers";
    page.Files = {"Page1.dat"};
    s.Pages.push_back(page);
    return s;
}
