// Maths tags: arithmetic groups chained strictly left to right, skipped and zero terms, faults that
// leave the tag at 0 with one log line, and logic groups on exact on/off states.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ScanFixture.h"
#include "core/MathsGrouping.h"

namespace {

void SetTerm(TagRecord& record, int k, int16_t tag, int16_t op, float factor) {
    record.MathsTerms[k].TermTag = tag;
    record.MathsTerms[k].TermOp = op;
    record.MathsTerms[k].TermFactor = factor;
}

// A maths tag whose unused terms name tag 200 (skipped).
TagRecord& MathsTag(ScanFixture& f, int n) {
    TagRecord& record = f.Measured(n, ScanTypeMaths);
    for (int k = 0; k < 7; ++k) SetTerm(record, k, 200, 0, 0);
    return record;
}

}  // namespace

TEST(MathsGrouping, ArithmeticTermsApplyLeftToRightWithoutPrecedence) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Value(3).Integrated = 100;
    f.Value(4).Integrated = 30;
    f.Value(5).Integrated = 10;

    TagRecord& site = MathsTag(f, 10);
    SetTerm(site, 0, 3, 0, 1.0f);
    SetTerm(site, 1, 4, 2, 1.0f);
    SetTerm(site, 2, 5, 1, 0.5f);
    Input_MathsGrouping(f.Scan(), 10);
    EXPECT_FLOAT_EQ(f.Value(10).Integrated, 100.0f - 30.0f + 0.5f * 10.0f);
    EXPECT_FLOAT_EQ(f.Value(10).Current, 75.0f);

    // A + B × C is (A + B) × C; then ÷ (2 × 10).
    TagRecord& chain = MathsTag(f, 11);
    SetTerm(chain, 0, 3, 0, 1.0f);
    SetTerm(chain, 1, 4, 1, 1.0f);
    SetTerm(chain, 2, 200, 3, 9.0f);  // skipped wherever it stands
    SetTerm(chain, 3, 5, 3, 1.0f);
    SetTerm(chain, 4, 5, 4, 2.0f);
    Input_MathsGrouping(f.Scan(), 11);
    EXPECT_FLOAT_EQ(f.Value(11).Integrated, (100.0f + 30.0f) * 10.0f / (2.0f * 10.0f));

    // Tag 0 is the unused slot: adds nothing, multiplies to 0.
    TagRecord& zero = MathsTag(f, 12);
    SetTerm(zero, 0, 3, 0, 1.0f);
    SetTerm(zero, 1, 0, 1, 5.0f);
    Input_MathsGrouping(f.Scan(), 12);
    EXPECT_FLOAT_EQ(f.Value(12).Integrated, 100.0f);
    SetTerm(zero, 2, 0, 3, 5.0f);
    Input_MathsGrouping(f.Scan(), 12);
    EXPECT_FLOAT_EQ(f.Value(12).Integrated, 0.0f);
    EXPECT_TRUE(f.LogLines().empty());
}

TEST(MathsGrouping, FirstTermBeyondTheTableLeavesTheTagAlone) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Value(3).Integrated = 100;
    TagRecord& record = MathsTag(f, 10);
    SetTerm(record, 1, 3, 1, 1.0f);
    f.Value(10).Integrated = 8;
    f.Value(10).Current = 9;
    Input_MathsGrouping(f.Scan(), 10);
    EXPECT_FLOAT_EQ(f.Value(10).Integrated, 8.0f);
    EXPECT_FLOAT_EQ(f.Value(10).Current, 9.0f);
}

TEST(MathsGrouping, FaultsLeaveTheTagAtZeroWithOneLogLine) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Value(3).Integrated = 100;
    f.Value(4).Integrated = 0;
    f.Value(6).Integrated = 3e38f;

    TagRecord& divide = MathsTag(f, 10);
    SetTerm(divide, 0, 3, 0, 2.0f);
    SetTerm(divide, 1, 4, 4, 1.0f);
    f.Value(10).Integrated = f.Value(10).Current = 55;
    Input_MathsGrouping(f.Scan(), 10);
    EXPECT_EQ(f.Value(10).Integrated, 0.0f);
    EXPECT_EQ(f.Value(10).Current, 0.0f);
    EXPECT_EQ(f.LogLines(), std::vector<std::string>{"Input_MathsGrouping, Error 11/ Division by zero"});

    // Beyond float's range is an overflow, not an infinite value.
    TagRecord& big = MathsTag(f, 11);
    SetTerm(big, 0, 6, 0, 10.0f);
    f.Value(11).Integrated = 1;
    Input_MathsGrouping(f.Scan(), 11);
    EXPECT_EQ(f.Value(11).Integrated, 0.0f);
    EXPECT_EQ(f.LogLines().back(), "Input_MathsGrouping, Error 6/ Overflow");

    // A negative term tag names no slot.
    TagRecord& negative = MathsTag(f, 12);
    SetTerm(negative, 0, -1, 0, 1.0f);
    Input_MathsGrouping(f.Scan(), 12);
    EXPECT_EQ(f.LogLines().back(), "Input_MathsGrouping, Error 9/ Subscript out of range");
    EXPECT_EQ(f.LogLines().size(), 3u);
}

TEST(MathsGrouping, LogicGroupsCombineExactStates) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    f.Value(3).Current = 1;
    f.Value(4).Current = 0.5f;
    f.Value(5).Current = 1.0001f;
    f.Value(10).Integrated = 123;

    struct Case {
        int16_t first, second, op;
        float expected;
    };
    for (const Case& c : std::vector<Case>{{3, 4, 5, 0},       // AND
                                           {3, 4, 6, 1},       // OR
                                           {3, 4, 7, 2},       // two-level OR
                                           {4, 4, 7, 0},
                                           {4, 3, 6, 1},
                                           {3, 3, 5, 1},
                                           {3, 4, 2, 1},       // an arithmetic code: term 0's state stays
                                           {3, 200, 5, 1},     // only term 0 valid
                                           {5, 200, 5, 0}}) {  // 1.0001 is off
        TagRecord& record = MathsTag(f, 10);
        SetTerm(record, 0, c.first, 1, 7.0f);
        SetTerm(record, 1, c.second, c.op, 7.0f);
        SetTerm(record, 2, 3, 1, 1.0f);  // later terms play no part
        Input_MathsGrouping(f.Scan(), 10);
        EXPECT_EQ(f.Value(10).Current, c.expected) << c.first << " op " << c.op << " " << c.second;
        EXPECT_EQ(f.Value(10).Integrated, 123.0f);
    }
}
