// hostcmd32.dll: line data parameters and the host's own log.
#include "LibShared.h"
#include "host/HostCalls.h"

namespace {

constexpr int32_t DataValue = 101;
constexpr int32_t DataDayTotal = 103;
constexpr int32_t DataGrandTotal = 104;

}  // namespace

HOST_CALL int32_t SetLineParamData(int32_t line, int32_t code, float value) {
    HostState& s = LibState();
    if (s.Point(HostTable::Lines, line) == nullptr) return 0;
    switch (code) {
    case DataValue: s.SetReading(HostTable::Lines, line, value); return 1;
    case DataDayTotal: s.SetTotal(HostTable::Lines, line, HostTotal::DayTotal, value); return 1;
    case DataGrandTotal: s.SetTotal(HostTable::Lines, line, HostTotal::GrandTotal, value); return 1;
    default: return 0;
    }
}

HOST_CALL float GetLineDataParam(int32_t line, int32_t code) {
    HostState& s = LibState();
    switch (code) {
    case DataValue: return s.Reading(HostTable::Lines, line);
    case DataDayTotal: return static_cast<float>(s.Total(HostTable::Lines, line, HostTotal::DayTotal));
    case DataGrandTotal: return static_cast<float>(s.Total(HostTable::Lines, line, HostTotal::GrandTotal));
    default: return 0.0f;
    }
}

HOST_CALL int32_t SaveLogMessage(const char* moduleName, const char* title) {
    LibState().AppendLog(moduleName ? moduleName : "", title ? title : "");
    return 1;
}
