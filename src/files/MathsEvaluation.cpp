#include "files/MathsEvaluation.h"

#include <cmath>

namespace {

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

constexpr int TermCount = 7;

bool StateOn(float value) { return value == 1.0F; }

} // namespace

MathsGroupResult EvaluateMathsGroup(const std::array<MathsTerm, 8>& terms, int maxTags, int self,
                                    const std::function<float(int)>& integratedOf,
                                    const std::function<float(int)>& currentOf)
{
    MathsGroupResult r;
    // The result so far, where the original kept it: in the maths tag's own values.
    bool integratedSoFar = false;
    bool currentSoFar = false;
    float integratedValue = 0;
    auto integrated = [&](int t) { return t == self && integratedSoFar ? integratedValue : integratedOf(t); };
    auto current = [&](int t) { return t == self && currentSoFar ? r.Current : currentOf(t); };
    auto takes = [maxTags](const MathsTerm& term) { return term.TermTag < maxTags; };
    if (!takes(terms[0]))
        return r;
    if (terms[0].TermTag < 0) {
        r.Error = VbError(ErrSubscript);
        return r;
    }
    SingleArithmetic ops;
    if (terms[0].TermOp == OpArithmeticGroup) {
        float& value = integratedValue;
        value = ops.Mul(terms[0].TermFactor, integrated(terms[0].TermTag));
        integratedSoFar = true;
        for (int k = 1; k < TermCount && !ops.Failed(); ++k) {
            const MathsTerm& term = terms[static_cast<std::size_t>(k)];
            if (!takes(term))
                continue;
            if (term.TermTag < 0) {
                r.Error = VbError(ErrSubscript);
                return r;
            }
            const float operand = integrated(term.TermTag);
            switch (term.TermOp) {
            case OpAdd: value = ops.Add(value, ops.Mul(term.TermFactor, operand)); break;
            case OpSubtract: value = ops.Sub(value, ops.Mul(term.TermFactor, operand)); break;
            case OpMultiply: value = ops.Mul(ops.Mul(value, term.TermFactor), operand); break;
            case OpDivide: value = ops.Div(value, ops.Mul(term.TermFactor, operand)); break;
            default: break;  // a code of the other family
            }
        }
        if (ops.Failed()) {
            r.Error = ops.Error();
            return r;
        }
        r.SetsIntegrated = r.SetsCurrent = true;
        r.Integrated = r.Current = value;
    } else if (terms[0].TermOp == OpLogicGroup) {
        r.SetsCurrent = true;
        r.Current = StateOn(current(terms[0].TermTag)) ? 1.0F : 0.0F;
        currentSoFar = true;
        if (!takes(terms[1]))
            return r;
        if (terms[1].TermTag < 0) {
            r = MathsGroupResult{};
            r.Error = VbError(ErrSubscript);
            return r;
        }
        const bool second = StateOn(current(terms[1].TermTag));
        const bool first = StateOn(r.Current);
        switch (terms[1].TermOp) {
        case OpAnd: r.Current = first && second ? 1.0F : 0.0F; break;
        case OpOr: r.Current = first || second ? 1.0F : 0.0F; break;
        case OpTwoLevelOr: r.Current = StateOn(current(terms[0].TermTag)) || second ? 2.0F : 0.0F; break;
        default: break;
        }
    }
    return r;
}

MathsRowPlan::MathsRowPlan(const std::vector<TagRecord>& tagTable, int maxTags) : maxTags_(maxTags)
{
    for (int i = 1; i <= maxTags && static_cast<std::size_t>(i) < tagTable.size(); ++i) {
        const TagRecord& tag = tagTable[static_cast<std::size_t>(i)];
        if (tag.Online != 1 || tag.TagType != TagTypeMeasured || tag.ScanType != ScanTypeMaths)
            continue;
        Tag entry{i, {}};
        for (std::size_t k = 0; k < entry.Terms.size(); ++k)
            entry.Terms[k] = tag.MathsTerms[k];
        tags_.push_back(entry);
    }
}

VbError MathsRowPlan::Apply(std::span<float> row) const
{
    const auto inRow = [&row](int t) { return t >= 0 && static_cast<std::size_t>(t) < row.size(); };
    SingleArithmetic ops;
    for (const Tag& tag : tags_) {
        if (!inRow(tag.Number) || !inRow(tag.Terms[0].TermTag))
            return VbError(ErrSubscript);
        float& result = row[static_cast<std::size_t>(tag.Number)];
        result = ops.Mul(tag.Terms[0].TermFactor, row[static_cast<std::size_t>(tag.Terms[0].TermTag)]);
        for (std::size_t k = 1; k < tag.Terms.size(); ++k) {
            const MathsTerm& term = tag.Terms[k];
            if (term.TermTag > maxTags_)
                continue;
            if (!inRow(term.TermTag))
                return VbError(ErrSubscript);
            const float operand = row[static_cast<std::size_t>(term.TermTag)];
            switch (term.TermOp) {
            case OpAdd: result = ops.Add(ops.Mul(term.TermFactor, operand), result); break;
            case OpSubtract: result = ops.Sub(result, ops.Mul(term.TermFactor, operand)); break;
            case OpMultiply: result = ops.Mul(ops.Mul(term.TermFactor, operand), result); break;
            case OpDivide: result = ops.Div(result, ops.Mul(term.TermFactor, operand)); break;
            default: break;
            }
            if (ops.Failed())
                return ops.Error();
        }
        if (ops.Failed())
            return ops.Error();
    }
    return {};
}
