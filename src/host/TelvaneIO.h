#pragma once
// The point cursor of the host object: select a host tag or recorder line by number or IO
// reference, then read or write its value and properties. A point index above 0 is a tag number,
// below 0 minus a line number, 0 no point. An out-of-range selection clears the cursor; every
// member then answers 0, false or an empty text and every write does nothing.
#include <cstdint>
#include <string>

class Telvane;
class HostDdeLabel;
class HostLibraries;

class TelvaneIO {
public:
    explicit TelvaneIO(Telvane* host = nullptr) : host_(host) {}

    HostDdeLabel* DdeLabel() const { return ddeLabel_; }
    void DdeLabel(HostDdeLabel* label) { ddeLabel_ = label; }

    int32_t IndexTag() const { return index_ > 0 ? index_ : 0; }
    void IndexTag(int32_t value);
    int32_t IndexRecLine() const { return index_ < 0 ? -index_ : 0; }
    void IndexRecLine(int32_t value);
    int32_t IndexRecorderNumberV4() const;
    int32_t IndexPageNumberV4() const;
    int32_t IndexLineNumberV4() const;
    int32_t IndexRecorderNumberV5() const { return 1; }
    int32_t IndexPageNumberV5() const;
    int32_t IndexLineNumberV5() const;
    int32_t Index() const { return index_; }
    void Index(int32_t value);

    int32_t IndexMaxRecLine() const;
    int32_t IndexMaxOutputTag() const;
    int32_t IndexMaxInputTag() const;
    int32_t IndexMinRecLine() const;
    int32_t IndexMinOutputTag() const;
    int32_t IndexMinInputTag() const;

    std::string IndexReference() const;
    void IndexReference(const std::string& reference);
    // Selects recorder line "R" + recorder + "P" + page + "L" + line, as IndexReference of that text.
    void IndexRecorderLine(int32_t recorder, int32_t page, int32_t line);
    float GetValueByIORef(const std::string& reference);
    void SetValueByIORef(const std::string& reference, float value);

    float Value();
    void Value(float value);
    bool ValueInsertStack() const { return insertStack_ == 1; }
    void ValueInsertStack(bool on) { insertStack_ = on ? 1 : 0; }

    // The kind of the selected point; at most one is true.
    bool V4InputTag() const { return kind_ == Kind::V4InputTag; }
    bool V4OutputTag() const { return kind_ == Kind::V4OutputTag; }
    bool V5Tag() const { return kind_ == Kind::V5Tag; }
    bool V4Line() const { return kind_ == Kind::V4Line; }
    bool V5Line() const { return kind_ == Kind::V5Line; }

    int32_t MaxTagEnabled();

    // Point status.
    std::string Name();
    bool Enabled();
    bool Error();
    bool AlarmOn();

    // Set-up parameters.
    bool AlarmEnabled();
    void AlarmEnabled(bool on);
    float Calibration();
    void Calibration(float value);
    float Alarm1Delay();
    void Alarm1Delay(float value);
    float Alarm2Delay();
    void Alarm2Delay(float value);
    float Alarm1Differential();
    void Alarm1Differential(float value);
    float Alarm2Differential();
    void Alarm2Differential(float value);
    float Alarm1SetPoint();
    void Alarm1SetPoint(float value);
    float Alarm2SetPoint();
    void Alarm2SetPoint(float value);

    // Totals and line statistics.
    float daytotal();
    void daytotal(float value);
    float grandtotal();
    void grandtotal(float value);
    float DayMin();
    void DayMin(float value);
    float DayMax();
    void DayMax(float value);
    float GrandMin();
    void GrandMin(float value);
    float GrandMax();
    void GrandMax(float value);
    float AlarmCounting();
    float AlarmTimer();
    float AlarmGetRelayState(int32_t lngRelayNumber);
    void AlarmSetRelayState(int32_t lngRelayNumber, float value);

    std::string IOType();
    std::string Address();

private:
    enum class Kind { None, V4InputTag, V4OutputTag, V5Tag, V4Line, V5Line };

    int HostGeneration() const;  // 4, 5, or 0 without a host
    HostLibraries* Libs() const;
    void Clear();
    bool IsLine() const { return kind_ == Kind::V4Line || kind_ == Kind::V5Line; }
    bool IsTag() const { return kind_ == Kind::V4InputTag || kind_ == Kind::V4OutputTag || kind_ == Kind::V5Tag; }
    // The line's split by its own generation (V5 lines are on recorder 1).
    int32_t LineRecorder() const;
    int32_t LinePage() const;
    int32_t LineOnPage() const;

    // Set-up text of a tag code (V4 output tags only when outputsToo) or of a line code.
    std::string SetupText(int32_t tagCode, int32_t lineCode, bool outputsToo);
    float SetupNumber(int32_t tagCode, int32_t lineCode, bool outputsToo);
    void PokeTagParameter(const std::string& parameter, float value);
    void PokeLine(const std::string& command, const std::string& data, bool save);
    float RequestLine(const std::string& command, const std::string& item);
    std::string LineItem() const;
    // The common write of a tag set-up parameter: V4 tags by DDE (when pokeName is given), V5 by code.
    void WriteTagSetup(const char* pokeName, int32_t v5Code, float value);

    Telvane* host_ = nullptr;
    int32_t index_ = 0;
    Kind kind_ = Kind::None;
    int32_t insertStack_ = 0;
    HostDdeLabel* ddeLabel_ = nullptr;
};
