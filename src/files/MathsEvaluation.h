#pragma once
// Maths groups evaluated on 32-bit floats with the faults of the original single-precision
// arithmetic: a result beyond float's range is error 6 (Overflow), a non-zero value divided by
// zero error 11 (Division by zero), zero divided by zero error 6. Pure functions over the tag
// setup and a value lookup; nothing is logged here.
#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "files/SetupData.h"
#include "platform/VbError.h"
#include "support/SingleArithmetic.h"

// One maths tag of a scan: an arithmetic group (term 0 TermOp 0) chains the terms' Integrated
// values with their factors strictly left to right into Integrated and Current; a logic group
// (term 0 TermOp 1) combines the states (Current exactly 1) of two tags into Current. Terms whose
// TermTag is maxTags or more are skipped (term 0 then stops the evaluation).
struct MathsGroupResult {
    VbError Error;            // a fault: the caller sets the tag's Current and Integrated to 0
    bool SetsIntegrated = false;
    bool SetsCurrent = false;
    float Integrated = 0;
    float Current = 0;
};
// integrated(t) and current(t) give a tag's values for 0 <= t < maxTags. A term naming the maths
// tag itself (self) sees the value worked out so far, as when the result is kept in place.
MathsGroupResult EvaluateMathsGroup(const std::array<MathsTerm, 8>& terms, int maxTags, int self,
                                    const std::function<float(int)>& integrated,
                                    const std::function<float(int)>& current);

// The maths tags of a period record, as the import works them out again: for each online,
// measured tag with scan type 8, in ascending tag number, row(i) = f0 x row(t0), then for terms
// 1 to 6 whose TermTag is at most maxTags: 1 adds f x row(t), 2 subtracts it, 3 multiplies by
// (f x row(t)), 4 divides by it; other codes do nothing. A later maths tag sees the new values of
// earlier ones. row holds slots 0..maxTags (slot 0 is 0).
class MathsRowPlan {
public:
    // The maths tags among tags 1..maxTags of the table.
    MathsRowPlan(const std::vector<TagRecord>& tagTable, int maxTags);
    bool Empty() const { return tags_.empty(); }
    // Works the row out in place; on a fault the row is left part way and the fault returned
    // (error 9 when term 0 names a tag outside the row).
    VbError Apply(std::span<float> row) const;

private:
    struct Tag {
        int Number;
        std::array<MathsTerm, 7> Terms;
    };
    std::vector<Tag> tags_;
    int maxTags_;
};
