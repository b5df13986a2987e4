#include "core/MathsGrouping.h"

#include "core/ScanTag.h"
#include "files/MathsEvaluation.h"
#include "support/Log.h"

void Input_MathsGrouping(ScanContext& scan, int16_t tag) {
    VbError error;
    if (ScanTagInRange(scan, tag)) {
        // A term naming a tag the value table does not hold is a subscript fault.
        bool outside = false;
        auto lookup = [&scan, &outside](int t, float TagValue::*field) {
            if (ScanTagInRange(scan, t)) return scan.Values[t].*field;
            outside = true;
            return 0.0f;
        };
        const MathsGroupResult result = EvaluateMathsGroup(
            scan.Setup.TagTable[tag].MathsTerms, scan.Setup.MaxTags, tag,
            [&lookup](int t) { return lookup(t, &TagValue::Integrated); },
            [&lookup](int t) { return lookup(t, &TagValue::Current); });
        error = outside ? VbError(ErrSubscript) : result.Error;
        if (!error.Failed()) {
            TagValue& value = scan.Values[tag];
            if (result.SetsIntegrated) value.Integrated = result.Integrated;
            if (result.SetsCurrent) value.Current = result.Current;
            return;
        }
    } else {
        error = VbError(ErrSubscript);
    }
    ReportError("Input_MathsGrouping", error);
    if (ScanTagInRange(scan, tag)) {
        scan.Values[tag].Current = 0;
        scan.Values[tag].Integrated = 0;
    }
}
