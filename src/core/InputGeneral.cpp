#include "core/InputGeneral.h"

#include <string>

#include "core/InputAcquire.h"
#include "core/InputCalc.h"
#include "core/MathsGrouping.h"
#include "core/ScanPassState.h"
#include "core/ScanTag.h"
#include "files/ScanTypes.h"
#include "support/SingleArithmetic.h"
#include "support/Log.h"
#include "support/VbConvert.h"

namespace {

// Status text between two rounds of pending events, so a watcher sees where a slow scan is and
// socket requests are served as the pass goes. False when events ran and a reload of the setup
// took the tag away.
bool KeepsTagAfterEvents(ScanContext& scan, PassClock& clock, int tag) {
    clock.EventsRan();
    return ScanTagInRange(scan, tag);
}

inline bool StepKeepsTag(ScanContext& scan, PassClock& clock, const char* step, int tag) {
    return !scan.View.ScanStep(step, tag) || KeepsTagAfterEvents(scan, clock, tag);
}

void SetValueCells(ScanContext& scan, int tag) {
    const TagValue& value = scan.Values[tag];
    scan.View.SetGridNumber(tag, GridColumnCurrent, GridNumber::Fixed(value.Current));
    scan.View.SetGridNumber(tag, GridColumnIntegrated, GridNumber::Fixed(value.Integrated));
}

// The grid check stays inline in the pass: without a grid the cells cost nothing, not even a call.
inline void ShowValues(ScanContext& scan, int tag) {
    if (scan.View.ShowsGrid()) SetValueCells(scan, tag);
}

void Acquire(ScanContext& scan, int16_t tag, ScanSource from) {
    switch (from) {
    case ScanSource::RecorderLine: Input_Get_RecorderValue(scan, tag); break;
    case ScanSource::HostTag: Input_Get_TagReading(scan, tag); break;
    case ScanSource::Dde: Input_Get_DDE(scan, tag); break;
    case ScanSource::None: break;
    }
}

void Calculate(ScanContext& scan, int16_t tag, ScanCalculation calc, DateTime now) {
    switch (calc) {
    case ScanCalculation::Direct: Input_Calc_Direct(scan, tag, now); break;
    case ScanCalculation::Total: Input_Calc_Total(scan, tag, now); break;
    case ScanCalculation::Pulse: Input_Calc_Pulse(scan, tag, now); break;
    case ScanCalculation::None: break;
    }
}

// Pending events may run a setup reload, so every step after them looks its tag up afresh.
VbError MeasuredPass(ScanContext& scan, PassClock& clock) {
    for (int n = 1; n <= scan.Setup.TagCount; ++n) {
        if (!ScanTagInRange(scan, n)) return VbError(ErrSubscript);
        if (scan.Setup.TagTable[n].Online != 1) {
            if (scan.View.ShowsGrid()) {
                scan.View.SetGridCell(n, GridColumnCurrent, "");
                scan.View.SetGridCell(n, GridColumnIntegrated, "");
            }
            continue;
        }
        if (!StepKeepsTag(scan, clock, "Get Data for Tag ", n)) return VbError(ErrSubscript);
        if (scan.Setup.TagTable[n].TagType != TagTypeMeasured) continue;
        const ScanKind kind = ScanKindOf(scan.Setup.TagTable[n].ScanType);
        const auto tag = static_cast<int16_t>(n);
        // One instant for the reading, its calculation and its time stamp.
        const DateTime now = clock.Now();
        Acquire(scan, tag, kind.From);
        Calculate(scan, tag, kind.Calc, now);
        if (!ScanTagInRange(scan, n)) return VbError(ErrSubscript);
        scan.Values[n].LastReadTime = now;
        ShowValues(scan, n);
    }
    return {};
}

VbError MathsPass(ScanContext& scan, PassClock& clock) {
    for (int n = 1; n <= scan.Setup.TagCount; ++n) {
        if (!ScanTagInRange(scan, n)) return VbError(ErrSubscript);
        if (scan.Setup.TagTable[n].Online != 1) continue;
        if (!StepKeepsTag(scan, clock, "Calc Maths for Tag ", n)) return VbError(ErrSubscript);
        const TagRecord& record = scan.Setup.TagTable[n];
        if (record.TagType != TagTypeMeasured || record.ScanType != ScanTypeMaths) continue;
        Input_MathsGrouping(scan, static_cast<int16_t>(n));
        scan.Values[n].LastReadTime = clock.Now();
        ShowValues(scan, n);
    }
    return {};
}

// Display tags show another tag's Integrated, or the sum over a center (center 0: the site total,
// every tag counted in the total) of the measured tags as they stand after this scan's passes;
// maths tags are left out of the sums.
VbError DisplayPass(ScanContext& scan, PassClock& clock) {
    CenterSums centers;
    for (int n = 1; n <= scan.Setup.TagCount; ++n) {
        if (!ScanTagInRange(scan, n)) return VbError(ErrSubscript);
        if (scan.Setup.TagTable[n].TagType != TagTypeDisplay || scan.Setup.TagTable[n].Online != 1) continue;
        if (!StepKeepsTag(scan, clock, "Display Data for Tag ", n)) return VbError(ErrSubscript);
        const TagRecord& record = scan.Setup.TagTable[n];
        TagValue& value = scan.Values[n];
        value.Current = 0;
        value.Integrated = 0;
        if (record.DisplaySourceIsTag == 1) {
            if (!ScanTagInRange(scan, record.DisplaySource)) return VbError(ErrSubscript);
            value.Integrated = scan.Values[record.DisplaySource].Integrated;
        } else if (VbError error = centers.Sum(scan, clock, record.DisplaySource, value.Integrated)) {
            return error;
        }
        scan.Host.IO.IndexRecorderLine(record.RecorderNo, record.PageNo, record.LineNo);
        scan.Host.IO.Value(value.Integrated);
        value.LastReadTime = clock.Now();
        if (scan.View.ShowsGrid()) scan.View.SetGridCell(n, GridColumnCurrent, "");
        ShowGridNumber(scan, n, GridColumnIntegrated, GridNumber::Fixed(value.Integrated));
    }
    return {};
}

VbError ScanLogLine(ScanContext& scan) {
    std::string line;
    for (int n = 1; n <= scan.Setup.TagCount; ++n) {
        if (!ScanTagInRange(scan, n)) return VbError(ErrSubscript);
        const TagRecord& record = scan.Setup.TagTable[n];
        if (record.Online != 1 || record.TagType != TagTypeMeasured) continue;
        const TagValue& value = scan.Values[n];
        line += "M" + std::to_string(n) + "," + FormatFixed(value.Current, 2) + "," + FormatFixed(value.Integrated, 2) +
                "," + FormatFixed(value.Rate, 2) + ";";
    }
    AddToLog(line);
    return {};
}

VbError Pass(ScanContext& scan) {
    PassClock clock(scan.ReadClock);
    if (VbError error = MeasuredPass(scan, clock)) return error;
    if (VbError error = MathsPass(scan, clock)) return error;
    if (VbError error = DisplayPass(scan, clock)) return error;
    if (scan.Settings.ScanLogging != 0) return ScanLogLine(scan);
    return {};
}

}  // namespace

void Input_General(ScanContext& scan) {
    if (VbError error = Pass(scan)) ReportError("Input_General", error);
}
