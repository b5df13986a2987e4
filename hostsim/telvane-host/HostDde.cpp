#include "HostDde.h"

#include <cstdio>
#include <cstdlib>

#include "platform/Dde.h"
#include "platform/DdeWire.h"
#include "support/VbConvert.h"
#include "support/VbText.h"

namespace {

struct NamedCode {
    const char* Name;
    int Code;
};

// Tag set-up parameters poked to "TagServer|Tags", by the host's set-up text code.
constexpr NamedCode TagParameters[] = {
    {"Calibration", 20}, {"AL1Setpoint", 50}, {"AL1Differential", 51}, {"AL2Setpoint", 66}, {"AL2Differential", 67}};

// Line set-up pokes to "Recorder N|<command>".
constexpr NamedCode LineSetups[] = {{"SetAlarmEnable", 40}, {"SetCalibrationValue", 13}, {"SetHiAlarmDelay", 51},
                                    {"SetLoAlarmDelay", 71}, {"SetHiSetpoint", 50}, {"SetLoSetpoint", 70}};

struct NamedStat {
    const char* Get;
    const char* Set;
    HostStat Stat;
};
constexpr NamedStat LineStats[] = {{"GetDayMin", "SetDayMin", HostStat::DayMin},
                                   {"GetDayMax", "SetDayMax", HostStat::DayMax},
                                   {"GetGrandMin", "SetGrandMin", HostStat::GrandMin},
                                   {"GetGrandMax", "SetGrandMax", HostStat::GrandMax}};

constexpr const char* RecorderCommands[] = {
    "SetData", "SetAlarmEnable", "SetCalibrationValue", "SetHiAlarmDelay", "SetLoAlarmDelay", "SetHiSetpoint",
    "SetLoSetpoint", "SetDayTotal", "SetGrandTotal", "GetDayMin", "GetDayMax", "GetGrandMin", "GetGrandMax",
    "SetDayMin", "SetDayMax", "SetGrandMin", "SetGrandMax", "IsAlarmCounting", "IsAlarmTimer", "GetRelayState",
    "SetRelayState"};

constexpr int RelaysPerRecorder = 32;

VbError Refused() { return DdeError(ErrDdeRefused); }

VbResult<std::string> RefusedText() { return VbResult<std::string>{"", Refused()}; }

VbResult<std::string> Answer(std::string text) { return VbResult<std::string>{std::move(text), {}}; }

bool ParseWhole(std::string_view text, int& value) {
    std::string t = Trim(text);
    if (t.empty() || t.size() > 9) return false;
    for (char c : t) {
        if (c < '0' || c > '9') return false;
    }
    value = std::atoi(t.c_str());
    return true;
}

// "a,b" with two whole numbers.
bool ParsePair(std::string_view item, int& a, int& b) {
    size_t comma = item.find(',');
    return comma != std::string_view::npos && ParseWhole(item.substr(0, comma), a) && ParseWhole(item.substr(comma + 1), b);
}

std::string Lower(std::string_view text) { return LCase(text); }

void Note(const std::string& text) {
    std::printf("telvane-host: %s\n", text.c_str());
    std::fflush(stdout);
}

}  // namespace

struct HostDdeService::Generic {
    std::string application;
    // topic (lower case) -> item (lower case) -> {item as first given, text}
    std::map<std::string, std::map<std::string, std::pair<std::string, std::string>>> topics;
    DdeServer server;
};

HostDdeService::HostDdeService(HostState& state, int generation) : state_(state), generation_(generation) {}

HostDdeService::~HostDdeService() { Stop(); }

bool HostDdeService::Start(std::string& error) {
    auto start = [this, &error](const std::string& application, DdeServerHandlers handlers) {
        auto server = std::make_unique<DdeServer>();
        if (VbError e = server->Start(application, std::move(handlers))) {
            error = "cannot serve DDE application \"" + application + "\": " + e.Description;
            return false;
        }
        own_.push_back(std::move(server));
        return true;
    };
    if (!start(HostControlApplication, ControlHandlers())) return false;
    if (generation_ == 4) {
        if (!start("TagServer", TagServerHandlers())) return false;
        for (int recorder = 1; recorder <= HostMaxRecorders; ++recorder) {
            if (!start("Recorder " + std::to_string(recorder), RecorderHandlers(recorder))) return false;
        }
    } else if (generation_ == 5) {
        // V5 lines keep their set-up pokes and statistics on DDE: all on recorder 1.
        if (!start("Recorder 1", RecorderHandlers(1))) return false;
    }
    return true;
}

void HostDdeService::Stop() {
    own_.clear();
    generic_.clear();
}

bool HostDdeService::Owned(std::string_view application) const {
    for (const auto& server : own_) {
        if (DdeNamesEqual(server->Application(), application)) return true;
    }
    return false;
}

VbError HostDdeService::SetItem(std::string_view applicationAndTopic, std::string_view item, std::string_view text) {
    std::string application, topic;
    DdeSplitTopic(applicationAndTopic, application, topic);
    if (application.empty() || topic.empty() || item.empty()) {
        return VbError(ErrInvalidCall, "a DDE item needs APPLICATION|TOPIC and an item");
    }
    if (Owned(application)) return VbError(ErrPermissionDenied, "\"" + application + "\" is one of the host's own DDE applications");
    Generic* generic = nullptr;
    for (const auto& g : generic_) {
        if (DdeNamesEqual(g->application, application)) generic = g.get();
    }
    if (generic == nullptr) {
        auto created = std::make_unique<Generic>();
        created->application = application;
        if (VbError e = created->server.Start(application, GenericHandlers(created.get()))) return e;
        generic = created.get();
        generic_.push_back(std::move(created));
    }
    auto& items = generic->topics[Lower(topic)];
    auto& entry = items[Lower(item)];
    bool changed = entry.first.empty() || entry.second != text;
    if (entry.first.empty()) entry.first = std::string(item);
    entry.second = std::string(text);
    if (changed) generic->server.Advise(topic, item, text);
    return {};
}

void HostDdeService::Pump() {
    for (const auto& server : own_) server->Pump(0);
    for (const auto& g : generic_) g->server.Pump(0);
}

DdeServerHandlers HostDdeService::ControlHandlers() {
    DdeServerHandlers h;
    h.AcceptTopic = [](const std::string& topic) { return DdeNamesEqual(topic, HostControlTopic); };
    h.Request = [this](const std::string&, const std::string& item) {
        if (DdeNamesEqual(item, "generation")) return Answer(std::to_string(generation_));
        if (DdeNamesEqual(item, "saves")) return Answer(std::to_string(saves_));
        return RefusedText();
    };
    // dde-set: data is "APP|TOPIC", tab, item, tab, text.
    h.Poke = [this](const std::string&, const std::string& item, const std::string& data) {
        if (!DdeNamesEqual(item, HostControlSetItem)) return Refused();
        size_t first = data.find('\t');
        size_t second = first == std::string::npos ? std::string::npos : data.find('\t', first + 1);
        if (second == std::string::npos) return VbError(ErrInvalidCall);
        return SetItem(data.substr(0, first), data.substr(first + 1, second - first - 1), data.substr(second + 1));
    };
    return h;
}

DdeServerHandlers HostDdeService::TagServerHandlers() {
    // Item "tag,Parameter" with the tag's own number: 1..1024 inputs, 2001..4048 outputs.
    auto locate = [](const std::string& item, HostTable& table, int& index, int& code) {
        size_t comma = item.find(',');
        int tag = 0;
        if (comma == std::string::npos || !ParseWhole(item.substr(0, comma), tag)) return false;
        std::string name = Trim(item.substr(comma + 1));
        code = 0;
        for (const NamedCode& p : TagParameters) {
            if (EqualsNoCase(name, p.Name)) code = p.Code;
        }
        if (code == 0) return false;
        if (tag >= 1 && tag <= HostMaxV4InputTags) {
            table = HostTable::Tags;
            index = tag - 1;
            return true;
        }
        if (tag >= 2001 && tag < 2001 + HostMaxOutputTags) {
            table = HostTable::OutputTags;
            index = tag - 2001;
            return true;
        }
        return false;
    };
    DdeServerHandlers h;
    h.AcceptTopic = [](const std::string& topic) { return DdeNamesEqual(topic, "Tags"); };
    h.Request = [this, locate](const std::string&, const std::string& item) {
        HostTable table;
        int index = 0, code = 0;
        if (!locate(item, table, index, code)) return RefusedText();
        return Answer(state_.Param(table, index, code));
    };
    h.Poke = [this, locate](const std::string&, const std::string& item, const std::string& data) {
        HostTable table;
        int index = 0, code = 0;
        if (!locate(item, table, index, code)) return Refused();
        return state_.SetParam(table, index, code, Trim(data)) ? VbError() : Refused();
    };
    h.Execute = [this](const std::string&, const std::string& command) {
        if (!EqualsNoCase(Trim(command), "Save")) return Refused();
        ++saves_;
        Note("tag set-up saved");
        return VbError();
    };
    return h;
}

DdeServerHandlers HostDdeService::RecorderHandlers(int recorder) {
    // Item "page,line" on this recorder: V4 line (recorder - 1) * 100 + (page - 1) * 10 + line of
    // 10 pages; V5 line (page - 1) * 10 + line of 100 pages on its one recorder.
    const int pages = generation_ == 4 ? 10 : HostMaxPages;
    const int relays = generation_ == 4 ? RelaysPerRecorder : HostMaxRecRelays;
    auto lineIndex = [recorder, pages](const std::string& item, int& index) {
        int page = 0, line = 0;
        if (!ParsePair(item, page, line) || page < 1 || page > pages || line < 1 || line > 10) return false;
        index = (recorder - 1) * 100 + (page - 1) * 10 + line - 1;
        return true;
    };
    auto relayIndex = [recorder, relays](const std::string& item, int& index) {
        int relay = 0;
        if (!ParseWhole(item, relay) || relay < 1 || relay > relays) return false;
        index = (recorder - 1) * relays + relay - 1;
        return true;
    };
    DdeServerHandlers h;
    h.AcceptTopic = [](const std::string& topic) {
        for (const char* command : RecorderCommands) {
            if (DdeNamesEqual(topic, command)) return true;
        }
        return false;
    };
    h.Request = [this, lineIndex, relayIndex](const std::string& command, const std::string& item) {
        int index = 0;
        if (DdeNamesEqual(command, "GetRelayState")) {
            if (!relayIndex(item, index)) return RefusedText();
            return Answer(std::to_string(state_.RelayState(HostRelayTable::Recorder, index)));
        }
        if (!lineIndex(item, index)) return RefusedText();
        for (const NamedStat& s : LineStats) {
            if (DdeNamesEqual(command, s.Get)) return Answer(FormatSingle(state_.Stat(HostTable::Lines, index, s.Stat)));
        }
        if (DdeNamesEqual(command, "IsAlarmCounting")) return Answer(std::to_string(state_.AlarmCounting(HostTable::Lines, index)));
        if (DdeNamesEqual(command, "IsAlarmTimer")) return Answer(std::to_string(state_.AlarmTimer(HostTable::Lines, index)));
        return RefusedText();
    };
    h.Poke = [this, lineIndex, relayIndex](const std::string& command, const std::string& item, const std::string& data) {
        int index = 0;
        float value = static_cast<float>(Val(data));
        if (DdeNamesEqual(command, "SetRelayState")) {
            if (!relayIndex(item, index)) return Refused();
            state_.SetRelayState(HostRelayTable::Recorder, index, static_cast<int32_t>(value));
            return VbError();
        }
        if (!lineIndex(item, index)) return Refused();
        if (DdeNamesEqual(command, "SetData")) {
            state_.SetReading(HostTable::Lines, index, value);
            return VbError();
        }
        if (DdeNamesEqual(command, "SetDayTotal") || DdeNamesEqual(command, "SetGrandTotal")) {
            HostTotal which = DdeNamesEqual(command, "SetDayTotal") ? HostTotal::DayTotal : HostTotal::GrandTotal;
            state_.SetTotal(HostTable::Lines, index, which, value);
            return VbError();
        }
        for (const NamedStat& s : LineStats) {
            if (DdeNamesEqual(command, s.Set)) {
                state_.SetStat(HostTable::Lines, index, s.Stat, value);
                return VbError();
            }
        }
        for (const NamedCode& p : LineSetups) {
            if (!DdeNamesEqual(command, p.Name)) continue;
            std::string text = p.Code == 40 ? (value != 0 ? "Yes" : "No") : Trim(data);
            return state_.SetParam(HostTable::Lines, index, p.Code, text) ? VbError() : Refused();
        }
        return Refused();
    };
    h.Execute = [this, recorder](const std::string&, const std::string& command) {
        if (!EqualsNoCase(Trim(command), "Save")) return Refused();
        ++saves_;
        Note("recorder " + std::to_string(recorder) + " set-up saved");
        return VbError();
    };
    return h;
}

DdeServerHandlers HostDdeService::GenericHandlers(Generic* generic) {
    DdeServerHandlers h;
    h.AcceptTopic = [generic](const std::string& topic) { return generic->topics.count(Lower(topic)) > 0; };
    h.Request = [generic](const std::string& topic, const std::string& item) {
        auto& items = generic->topics[Lower(topic)];
        auto found = items.find(Lower(item));
        if (found == items.end()) return RefusedText();
        return Answer(found->second.second);
    };
    h.Poke = [this, generic](const std::string& topic, const std::string& item, const std::string& data) {
        return SetItem(generic->application + "|" + topic, item, data);
    };
    return h;
}
