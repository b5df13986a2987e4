#include "core/MathsGrouping.h"

#include "core/ScanTag.h"
#include "core/SingleArithmetic.h"
#include "support/Log.h"

namespace {

constexpr int TermCount = 7;

enum MathsOp : int16_t {
    OpArithmeticGroup = 0,
    OpLogicGroup = 1,
    OpAdd = 1,
    OpSubtract = 2,
    OpMultiply = 3,
    OpDivide = 4,
    OpAnd = 5,
    OpOr = 6,
    OpTwoLevelOr = 7,
};

bool StateOn(float value) { return value == 1.0f; }

// Evaluates in place, as the terms may name the maths tag itself. Returns the first fault.
VbError Evaluate(ScanContext& scan, int16_t tag) {
    if (!ScanTagInRange(scan, tag)) return VbError(ErrSubscript);
    const auto& terms = scan.Setup.TagTable[tag].MathsTerms;
    const int maxTags = scan.Setup.MaxTags;
    // Term tags are taken below MaxTags only; tag 0 is the unused slot, whose values are 0.
    auto integrated = [&](int term) -> float* {
        const int t = terms[term].TermTag;
        return ScanTagInRange(scan, t) ? &scan.Values[t].Integrated : nullptr;
    };
    auto current = [&](int term) -> float* {
        const int t = terms[term].TermTag;
        return ScanTagInRange(scan, t) ? &scan.Values[t].Current : nullptr;
    };

    if (terms[0].TermTag >= maxTags) return {};
    TagValue& result = scan.Values[tag];
    SingleArithmetic ops;

    if (terms[0].TermOp == OpArithmeticGroup) {
        const float* first = integrated(0);
        if (!first) return VbError(ErrSubscript);
        result.Integrated = ops.Mul(terms[0].TermFactor, *first);
        if (ops.Failed()) return ops.Error();
        for (int k = 1; k < TermCount; ++k) {
            if (terms[k].TermTag >= maxTags) continue;
            const float* operand = integrated(k);
            if (!operand) return VbError(ErrSubscript);
            const float factor = terms[k].TermFactor;
            float next = result.Integrated;
            switch (terms[k].TermOp) {
            case OpAdd: next = ops.Add(result.Integrated, ops.Mul(factor, *operand)); break;
            case OpSubtract: next = ops.Sub(result.Integrated, ops.Mul(factor, *operand)); break;
            case OpMultiply: next = ops.Mul(ops.Mul(result.Integrated, factor), *operand); break;
            case OpDivide: next = ops.Div(result.Integrated, ops.Mul(factor, *operand)); break;
            default: break;  // a code of the other family does nothing here
            }
            if (ops.Failed()) return ops.Error();
            result.Integrated = next;
        }
        result.Current = result.Integrated;
    } else if (terms[0].TermOp == OpLogicGroup) {
        const float* first = current(0);
        if (!first) return VbError(ErrSubscript);
        result.Current = StateOn(*first) ? 1.0f : 0.0f;
        if (terms[1].TermTag >= maxTags) return {};
        const float* second = current(1);
        if (!second) return VbError(ErrSubscript);
        switch (terms[1].TermOp) {
        case OpAnd: result.Current = StateOn(result.Current) && StateOn(*second) ? 1.0f : 0.0f; break;
        case OpOr: result.Current = StateOn(result.Current) || StateOn(*second) ? 1.0f : 0.0f; break;
        case OpTwoLevelOr: result.Current = StateOn(*current(0)) || StateOn(*second) ? 2.0f : 0.0f; break;
        default: break;
        }
    }
    return {};
}

}  // namespace

void Input_MathsGrouping(ScanContext& scan, int16_t tag) {
    const VbError error = Evaluate(scan, tag);
    if (!error.Failed()) return;
    ReportError("Input_MathsGrouping", error);
    if (ScanTagInRange(scan, tag)) {
        scan.Values[tag].Current = 0;
        scan.Values[tag].Integrated = 0;
    }
}
