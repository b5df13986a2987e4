#include "host/TelvaneIO.h"

#include <climits>
#include <map>

#include "host/HostDdeLabel.h"
#include "host/HostLibraries.h"
#include "host/HostNumbering.h"
#include "host/Telvane.h"
#include "support/VbConvert.h"
#include "support/VbText.h"

namespace {

// Library answers of 1 count as yes; anything else (and a failed call) as no.
bool IsOne(const VbResult<int32_t>& r) { return r.Ok() && r.Value == 1; }

template <class T>
float AsSingle(const VbResult<T>& r) {
    return r.Ok() ? static_cast<float>(r.Value) : 0.0f;
}

// Numeric value of a text as a single; a value beyond its range counts as 0.
float TextToSingle(const std::string& text) {
    VbResult<float> r = CSng(Val(text));
    return r.Ok() ? r.Value : 0.0f;
}

std::string Number(int32_t n) { return std::to_string(n); }

constexpr const char* TagTopic = "TagServer|Tags";

// The index ranges of the two host generations.
constexpr int32_t V4LastInputTag = 1024;
constexpr int32_t V4FirstOutputTag = 2001;
constexpr int32_t V4LastOutputTag = 4048;
constexpr int32_t V4LastLine = 500;
constexpr int32_t V5LastTag = 5000;
constexpr int32_t V5LastLine = 1000;

}  // namespace

// Private and used only here: inline, since every selection asks.
inline int TelvaneIO::HostGeneration() const { return host_ != nullptr ? host_->Generation() : 0; }
inline HostLibraries* TelvaneIO::Libs() const { return host_ != nullptr ? &host_->Libraries() : nullptr; }

void TelvaneIO::Clear() {
    index_ = 0;
    kind_ = Kind::None;
}

// --- selection ------------------------------------------------------------

void TelvaneIO::IndexTag(int32_t value) {
    Clear();
    // The generation is asked once: a scan selects a tag hundreds of times.
    const int generation = HostGeneration();
    if (generation == 4) {
        if (value >= 1 && value <= V4LastInputTag) kind_ = Kind::V4InputTag;
        else if (value >= V4FirstOutputTag && value <= V4LastOutputTag) kind_ = Kind::V4OutputTag;
        else return;
        index_ = value;
    } else if (generation == 5) {
        if (value < 1 || value > V5LastTag) return;
        kind_ = Kind::V5Tag;
        index_ = value;
    }
}

void TelvaneIO::IndexRecLine(int32_t value) {
    Clear();
    const int generation = HostGeneration();
    if (generation == 4 && value >= 1 && value <= V4LastLine) kind_ = Kind::V4Line;
    else if (generation == 5 && value >= 1 && value <= V5LastLine) kind_ = Kind::V5Line;
    else return;
    index_ = -value;
}

void TelvaneIO::Index(int32_t value) {
    if (value < 0) {
        // -INT32_MIN does not exist; no line has that number anyway.
        if (value == INT32_MIN) Clear();
        else IndexRecLine(-value);
    } else {
        IndexTag(value);
    }
}

int32_t TelvaneIO::IndexRecorderNumberV4() const { return SplitLineV4(IndexRecLine()).Recorder; }
int32_t TelvaneIO::IndexPageNumberV4() const { return SplitLineV4(IndexRecLine()).Page; }
int32_t TelvaneIO::IndexLineNumberV4() const { return SplitLineV4(IndexRecLine()).LineOnPage; }
int32_t TelvaneIO::IndexPageNumberV5() const { return SplitLineV5(IndexRecLine()).Page; }
int32_t TelvaneIO::IndexLineNumberV5() const { return SplitLineV5(IndexRecLine()).LineOnPage; }

// Without a host every range is 0..0.
int32_t TelvaneIO::IndexMaxRecLine() const {
    const int g = HostGeneration();
    return g == 4 ? V4LastLine : g == 5 ? V5LastLine : 0;
}
int32_t TelvaneIO::IndexMaxOutputTag() const {
    const int g = HostGeneration();
    return g == 4 ? V4LastOutputTag : g == 5 ? V5LastTag : 0;
}
int32_t TelvaneIO::IndexMaxInputTag() const {
    const int g = HostGeneration();
    return g == 4 ? V4LastInputTag : g == 5 ? V5LastTag : 0;
}
int32_t TelvaneIO::IndexMinRecLine() const { return HostGeneration() != 0 ? 1 : 0; }
int32_t TelvaneIO::IndexMinOutputTag() const {
    const int g = HostGeneration();
    return g == 4 ? V4FirstOutputTag : g == 5 ? 1 : 0;
}
int32_t TelvaneIO::IndexMinInputTag() const { return HostGeneration() != 0 ? 1 : 0; }

std::string TelvaneIO::IndexReference() const {
    switch (kind_) {
    case Kind::V4InputTag:
    case Kind::V4OutputTag:
    case Kind::V5Tag: return TagReference(IndexTag());
    case Kind::V4Line: return LineReferenceV4(IndexRecLine());
    case Kind::V5Line: return LineReferenceV5(IndexRecLine());
    case Kind::None: break;
    }
    return {};
}

void TelvaneIO::IndexReference(const std::string& reference) {
    IOReferenceTarget target = ParseIOReference(reference);
    if (target.IsLine) IndexRecLine(target.Number);
    else IndexTag(target.Number);
}

void TelvaneIO::IndexRecorderLine(int32_t recorder, int32_t page, int32_t line) {
    IndexRecLine(RecorderLineNumber(recorder, page, line));
}

float TelvaneIO::GetValueByIORef(const std::string& reference) {
    IndexReference(reference);
    return Value();
}

void TelvaneIO::SetValueByIORef(const std::string& reference, float value) {
    IndexReference(reference);
    Value(value);
}

int32_t TelvaneIO::LineRecorder() const { return kind_ == Kind::V4Line ? IndexRecorderNumberV4() : 1; }
int32_t TelvaneIO::LinePage() const { return kind_ == Kind::V4Line ? IndexPageNumberV4() : IndexPageNumberV5(); }
int32_t TelvaneIO::LineOnPage() const { return IndexLineNumberV4(); }

// --- value ----------------------------------------------------------------

float TelvaneIO::Value() {
    float result = 0.0f;
    HostLibraries* libs = Libs();
    if (libs != nullptr) {
        switch (kind_) {
        case Kind::V4InputTag:
        case Kind::V5Tag: result = AsSingle(libs->GetTagReading(index_ - 1)); break;
        case Kind::V4OutputTag:
            libs->ReadTagOutputValue(index_ - V4FirstOutputTag, insertStack_, 0);
            result = AsSingle(libs->GetTagOutputReadValue(index_ - V4FirstOutputTag));
            break;
        case Kind::V4Line: result = AsSingle(libs->GetLineReading(LineRecorder(), LinePage(), LineOnPage())); break;
        case Kind::V5Line: {
            const LineSplit line = SplitLineV5(IndexRecLine());
            result = AsSingle(libs->GetLineReadingEx(line.Page, line.LineOnPage));
            break;
        }
        case Kind::None: break;
        }
    }
    insertStack_ = 0;
    return result;
}

void TelvaneIO::Value(float value) {
    HostLibraries* libs = Libs();
    if (libs != nullptr) {
        switch (kind_) {
        case Kind::V4InputTag: libs->SetTagReading(index_ - 1, value); break;
        case Kind::V5Tag: libs->SetTagOutputValueEx(index_ - 1, value, 0, 0); break;
        case Kind::V4OutputTag: libs->SetTagOutputValue(index_ - V4FirstOutputTag, value, insertStack_, 0); break;
        case Kind::V4Line: PokeLine("SetData", FormatSingle(value), false); break;
        case Kind::V5Line: libs->SetLineParamData(IndexRecLine() - 1, 101, value); break;
        case Kind::None: break;
        }
    }
    insertStack_ = 0;
}

int32_t TelvaneIO::MaxTagEnabled() {
    int32_t highest = 0;
    int32_t last = IndexMaxInputTag();
    for (int32_t tag = 1; tag <= last; ++tag) {
        IndexTag(tag);
        if (Enabled()) highest = tag;
    }
    return highest;
}

// --- DDE ------------------------------------------------------------------

std::string TelvaneIO::LineItem() const { return Number(LinePage()) + "," + Number(LineOnPage()); }

void TelvaneIO::PokeLine(const std::string& command, const std::string& data, bool save) {
    if (ddeLabel_ == nullptr || !IsLine()) return;
    std::string topic = "Recorder " + Number(LineRecorder()) + "|" + command;
    ddeLabel_->Poke(topic, LineItem(), data);
    if (save) ddeLabel_->Execute(topic, "Save");
}

float TelvaneIO::RequestLine(const std::string& command, const std::string& item) {
    if (ddeLabel_ == nullptr || !IsLine()) return 0.0f;
    VbResult<std::string> answer = ddeLabel_->Request("Recorder " + Number(LineRecorder()) + "|" + command, item);
    return answer.Ok() ? TextToSingle(answer.Value) : 0.0f;
}

void TelvaneIO::PokeTagParameter(const std::string& parameter, float value) {
    if (ddeLabel_ == nullptr || !IsTag()) return;
    std::string item = Number(IndexTag()) + "," + parameter;
    ddeLabel_->Poke(TagTopic, item, FormatSingle(value));
    ddeLabel_->Execute(TagTopic, "Save");
}

// --- status ---------------------------------------------------------------

std::string TelvaneIO::Name() {
    HostLibraries* libs = Libs();
    if (libs == nullptr) return {};
    VbResult<std::string> r;
    switch (kind_) {
    case Kind::V4InputTag: r = libs->GetTagName(0, index_ - 1); break;
    case Kind::V4OutputTag: r = libs->GetTagName(1, index_ - V4FirstOutputTag); break;
    case Kind::V5Tag: r = libs->GetTagNameEx(index_ - 1); break;
    case Kind::V4Line:
    case Kind::V5Line: r = libs->GetLineLabel(IndexRecLine() - 1); break;
    case Kind::None: break;
    }
    return r.Ok() ? r.Value : std::string();
}

bool TelvaneIO::Enabled() {
    HostLibraries* libs = Libs();
    if (libs == nullptr) return false;
    switch (kind_) {
    case Kind::V4InputTag: return IsOne(libs->IsTagActive(0, index_ - 1));
    case Kind::V4OutputTag: return IsOne(libs->IsTagActive(1, index_ - V4FirstOutputTag));
    case Kind::V5Tag: return IsOne(libs->IsTagActiveEx(index_ - 1));
    case Kind::V4Line:
    case Kind::V5Line: return IsOne(libs->IsLineActive(IndexRecLine() - 1));
    case Kind::None: break;
    }
    return false;
}

bool TelvaneIO::Error() {
    HostLibraries* libs = Libs();
    if (libs == nullptr) return false;
    switch (kind_) {
    case Kind::V4InputTag: return IsOne(libs->IsTagInError(index_ - 1));
    case Kind::V5Tag: return IsOne(libs->IsTagInErrorEx(index_ - 1));
    case Kind::V4Line: return IsOne(libs->IsLineInError(LineRecorder(), LinePage(), LineOnPage()));
    case Kind::V5Line: return IsOne(libs->IsLineInErrorEx(LinePage(), LineOnPage()));
    case Kind::V4OutputTag:
    case Kind::None: break;
    }
    return false;
}

bool TelvaneIO::AlarmOn() {
    HostLibraries* libs = Libs();
    if (libs == nullptr) return false;
    switch (kind_) {
    case Kind::V4InputTag: return IsOne(libs->IsTagInAlarm(index_ - 1));
    case Kind::V5Tag: return IsOne(libs->IsTagInAlarmEx(index_ - 1));
    case Kind::V4Line: return IsOne(libs->IsLineInAlarm(LineRecorder(), LinePage(), LineOnPage()));
    case Kind::V5Line: return IsOne(libs->IsLineInAlarmEx(LinePage(), LineOnPage()));
    case Kind::V4OutputTag:
    case Kind::None: break;
    }
    return false;
}

// --- set-up parameters ----------------------------------------------------

std::string TelvaneIO::SetupText(int32_t tagCode, int32_t lineCode, bool outputsToo) {
    HostLibraries* libs = Libs();
    if (libs == nullptr) return {};
    VbResult<std::string> r;
    switch (kind_) {
    case Kind::V4InputTag: r = libs->GetTagText(index_ - 1, tagCode); break;
    case Kind::V4OutputTag:
        if (outputsToo) r = libs->GetTagText(index_ - V4FirstOutputTag, tagCode);
        break;
    case Kind::V5Tag: r = libs->GetTagTextEx(index_ - 1, tagCode); break;
    case Kind::V4Line:
    case Kind::V5Line: r = libs->GetLineText(IndexRecLine() - 1, lineCode); break;
    case Kind::None: break;
    }
    return r.Ok() ? r.Value : std::string();
}

float TelvaneIO::SetupNumber(int32_t tagCode, int32_t lineCode, bool outputsToo) {
    return TextToSingle(SetupText(tagCode, lineCode, outputsToo));
}

void TelvaneIO::WriteTagSetup(const char* pokeName, int32_t v5Code, float value) {
    if ((kind_ == Kind::V4InputTag || kind_ == Kind::V4OutputTag) && pokeName != nullptr) {
        PokeTagParameter(pokeName, value);
    } else if (kind_ == Kind::V5Tag) {
        if (HostLibraries* libs = Libs()) libs->SetTagParamEx(index_ - 1, v5Code, value);
    }
}

bool TelvaneIO::AlarmEnabled() { return SetupText(33, 40, false) == "Yes"; }

void TelvaneIO::AlarmEnabled(bool on) {
    float v = on ? 1.0f : 0.0f;
    WriteTagSetup(nullptr, 33, v);
    if (kind_ == Kind::V4Line) PokeLine("SetAlarmEnable", on ? "1" : "0", true);
    else if (kind_ == Kind::V5Line) {
        if (HostLibraries* libs = Libs()) libs->SetLineParamSetup(IndexRecLine() - 1, 40, v);
    }
}

float TelvaneIO::Calibration() { return SetupNumber(20, 13, true); }

void TelvaneIO::Calibration(float value) {
    WriteTagSetup("Calibration", 20, value);
    if (IsLine()) PokeLine("SetCalibrationValue", FormatSingle(value), true);
}

float TelvaneIO::Alarm1Delay() { return SetupNumber(52, 51, false); }

void TelvaneIO::Alarm1Delay(float value) {
    WriteTagSetup(nullptr, 52, value);
    if (kind_ == Kind::V4Line) PokeLine("SetHiAlarmDelay", FormatSingle(value), true);
    else if (kind_ == Kind::V5Line) {
        if (HostLibraries* libs = Libs()) libs->SetLineParamSetup(IndexRecLine() - 1, 51, value);
    }
}

float TelvaneIO::Alarm2Delay() { return SetupNumber(68, 71, false); }

void TelvaneIO::Alarm2Delay(float value) {
    WriteTagSetup(nullptr, 68, value);
    if (kind_ == Kind::V4Line) PokeLine("SetLoAlarmDelay", FormatSingle(value), true);
    else if (kind_ == Kind::V5Line) {
        if (HostLibraries* libs = Libs()) libs->SetLineParamSetup(IndexRecLine() - 1, 71, value);
    }
}

float TelvaneIO::Alarm1Differential() { return SetupNumber(51, 44, false); }
void TelvaneIO::Alarm1Differential(float value) { WriteTagSetup("AL1Differential", 51, value); }
float TelvaneIO::Alarm2Differential() { return SetupNumber(67, 44, false); }
void TelvaneIO::Alarm2Differential(float value) { WriteTagSetup("AL2Differential", 67, value); }

float TelvaneIO::Alarm1SetPoint() { return SetupNumber(50, 50, false); }

void TelvaneIO::Alarm1SetPoint(float value) {
    WriteTagSetup("AL1Setpoint", 50, value);
    if (IsLine()) PokeLine("SetHiSetpoint", FormatSingle(value), true);
}

float TelvaneIO::Alarm2SetPoint() { return SetupNumber(66, 70, false); }

void TelvaneIO::Alarm2SetPoint(float value) {
    WriteTagSetup("AL2Setpoint", 66, value);
    if (IsLine()) PokeLine("SetLoSetpoint", FormatSingle(value), true);
}

// --- totals and line statistics -------------------------------------------

float TelvaneIO::daytotal() {
    HostLibraries* libs = Libs();
    if (libs == nullptr) return 0.0f;
    switch (kind_) {
    case Kind::V5Tag: return AsSingle(libs->GetTagDayTotal(index_ - 1));
    case Kind::V4Line: return AsSingle(libs->GetLineDayTotal(LineRecorder(), LinePage(), LineOnPage()));
    case Kind::V5Line: return AsSingle(libs->GetLineDataParam(IndexRecLine() - 1, 103));
    default: return 0.0f;
    }
}

void TelvaneIO::daytotal(float value) {
    HostLibraries* libs = Libs();
    if (libs == nullptr) return;
    switch (kind_) {
    case Kind::V5Tag: libs->SetTagDayTotal(index_ - 1, static_cast<double>(value)); break;
    case Kind::V4Line: PokeLine("SetDayTotal", FormatSingle(value), true); break;
    case Kind::V5Line: libs->SetLineParamData(IndexRecLine() - 1, 103, value); break;
    default: break;
    }
}

float TelvaneIO::grandtotal() {
    HostLibraries* libs = Libs();
    if (libs == nullptr) return 0.0f;
    switch (kind_) {
    case Kind::V5Tag: return AsSingle(libs->GetTagGrandTotal(index_ - 1));
    case Kind::V4Line: return AsSingle(libs->GetLineGrandTotal(LineRecorder(), LinePage(), LineOnPage()));
    case Kind::V5Line: return AsSingle(libs->GetLineDataParam(IndexRecLine() - 1, 104));
    default: return 0.0f;
    }
}

void TelvaneIO::grandtotal(float value) {
    HostLibraries* libs = Libs();
    if (libs == nullptr) return;
    switch (kind_) {
    case Kind::V5Tag: libs->SetTagGrandTotal(index_ - 1, static_cast<double>(value)); break;
    case Kind::V4Line: PokeLine("SetGrandTotal", FormatSingle(value), true); break;
    case Kind::V5Line: libs->SetLineParamData(IndexRecLine() - 1, 104, value); break;
    default: break;
    }
}

float TelvaneIO::DayMin() { return RequestLine("GetDayMin", LineItem()); }
void TelvaneIO::DayMin(float value) { PokeLine("SetDayMin", FormatSingle(value), true); }
float TelvaneIO::DayMax() { return RequestLine("GetDayMax", LineItem()); }
void TelvaneIO::DayMax(float value) { PokeLine("SetDayMax", FormatSingle(value), true); }
float TelvaneIO::GrandMin() { return RequestLine("GetGrandMin", LineItem()); }
void TelvaneIO::GrandMin(float value) { PokeLine("SetGrandMin", FormatSingle(value), true); }
float TelvaneIO::GrandMax() { return RequestLine("GetGrandMax", LineItem()); }
void TelvaneIO::GrandMax(float value) { PokeLine("SetGrandMax", FormatSingle(value), true); }
float TelvaneIO::AlarmCounting() { return RequestLine("IsAlarmCounting", LineItem()); }
float TelvaneIO::AlarmTimer() { return kind_ == Kind::V4Line ? RequestLine("IsAlarmTimer", LineItem()) : 0.0f; }

float TelvaneIO::AlarmGetRelayState(int32_t lngRelayNumber) { return RequestLine("GetRelayState", Number(lngRelayNumber)); }

void TelvaneIO::AlarmSetRelayState(int32_t lngRelayNumber, float value) {
    if (ddeLabel_ == nullptr || !IsLine()) return;
    std::string topic = "Recorder " + Number(LineRecorder()) + "|SetRelayState";
    ddeLabel_->Poke(topic, Number(lngRelayNumber), FormatSingle(value));
    ddeLabel_->Execute(topic, "Save");
}

// --- type and address -----------------------------------------------------

std::string TelvaneIO::IOType() {
    if (kind_ == Kind::V4InputTag || kind_ == Kind::V5Tag) {
        static const std::map<std::string, std::string> names = {
            {"0", "Analogue"},     {"1", "Digital"},         {"2", "No Scan Analogue"}, {"3", "No Scan Digital"},
            {"4", "Counter"},      {"5", "Psuedo Digital"},  {"6", "Math Analogue"},    {"7", "Math Digital"},
        };
        std::string code = SetupText(3, 0, false);
        auto found = names.find(code);
        return found != names.end() ? found->second : code;
    }
    if (kind_ == Kind::V4OutputTag) return SetupText(102, 0, true);
    if (IsLine()) {
        if (SetupText(0, 10, false) == "No Recorder Scanning") return "No Recorder Scanning";
        return SetupText(0, 3, false);
    }
    return {};
}

std::string TelvaneIO::Address() {
    if (kind_ == Kind::V4InputTag || kind_ == Kind::V5Tag) return SetupText(11, 0, false);
    if (kind_ == Kind::V4OutputTag) return SetupText(106, 0, true);
    if (!IsLine()) return {};
    std::string type = SetupText(0, 3, false);
    if (type == "Math") {
        return "Math;" + SetupText(0, 91, false) + ";" + SetupText(0, 92, false) + ";" + SetupText(0, 93, false) + ";" +
               SetupText(0, 94, false);
    }
    if (type == "Tag Analogue" || type == "Tag Digital") {
        std::string text = SetupText(0, 8, false);
        std::string stripped;
        for (std::size_t i = 0; i < text.size();) {
            if (text.compare(i, 3, "ag ") == 0) i += 3;
            else stripped += text[i++];
        }
        return "[" + stripped + "]";
    }
    HostLibraries* libs = Libs();
    if (libs == nullptr) return {};
    VbResult<std::string> r = libs->GetLineAddressSZ(IndexRecLine() - 1);
    return r.Ok() ? r.Value : std::string();
}
