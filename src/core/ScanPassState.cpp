#include "core/ScanPassState.h"

#include "core/ScanTag.h"
#include "support/SingleArithmetic.h"

VbError CenterSums::Sum(const ScanContext& scan, const PassClock& clock, int center, float& sum) {
    if (clock.Rounds() != rounds_) {
        sums_.clear();
        rounds_ = clock.Rounds();
    }
    if (auto known = sums_.find(center); known != sums_.end()) {
        sum = known->second;
        return {};
    }
    SingleArithmetic ops;
    float total = 0;
    for (int m = 1; m <= scan.Setup.TagCount; ++m) {
        if (!ScanTagInRange(scan, m)) return VbError(ErrSubscript);
        const TagRecord& member = scan.Setup.TagTable[m];
        // Display and maths tags are views of other tags: counting them would count those twice.
        if (member.Online != 1 || member.TagType != TagTypeMeasured || member.ScanType == ScanTypeMaths) continue;
        const bool counts = center == 0 ? member.InTotal == 1 : member.CenterNo == center;
        if (!counts) continue;
        total = ops.Add(total, scan.Values[m].Integrated);
        if (ops.Failed()) return ops.Error();
    }
    sums_.emplace(center, total);
    sum = total;
    return {};
}
