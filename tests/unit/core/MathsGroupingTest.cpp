// Maths tags: arithmetic groups chained strictly left to right, skipped and zero terms, faults that
// leave the tag at 0 with one log line, and logic groups on exact on/off states.
#include "ScanFixture.h"
#include "core/MathsGrouping.h"

namespace {

class MathsGrouping : public ScanTest {
protected:
    // Evaluates maths tag n with the terms given; the others name tag 200 (skipped).
    TagValue& Evaluate(int n, std::vector<MathsTerm> terms) {
        TagRecord& record = Measured(n, ScanTypeMaths);
        for (std::size_t k = 0; k < 7; ++k) record.MathsTerms[k] = k < terms.size() ? terms[k] : MathsTerm{200, 0, 0};
        Input_MathsGrouping(Scan(), static_cast<int16_t>(n));
        return Value(n);
    }
};

TEST_F(MathsGrouping, ArithmeticTermsApplyLeftToRightWithoutPrecedence) {
    Value(3).Integrated = 100;
    Value(4).Integrated = 30;
    Value(5).Integrated = 10;
    const TagValue& site = Evaluate(10, {{3, 0, 1}, {4, 2, 1}, {5, 1, 0.5f}});
    EXPECT_FLOAT_EQ(site.Integrated, 75.0f);
    EXPECT_FLOAT_EQ(site.Current, 75.0f);
    // A + B × C is (A + B) × C, then ÷ (2 × 10); a term naming tag 200 is skipped wherever it stands.
    EXPECT_FLOAT_EQ(Evaluate(11, {{3, 0, 1}, {4, 1, 1}, {200, 3, 9}, {5, 3, 1}, {5, 4, 2}}).Integrated, 65.0f);
    // Tag 0 is the unused slot: adds nothing, multiplies to 0.
    EXPECT_FLOAT_EQ(Evaluate(12, {{3, 0, 1}, {0, 1, 5}}).Integrated, 100.0f);
    EXPECT_FLOAT_EQ(Evaluate(12, {{3, 0, 1}, {0, 1, 5}, {0, 3, 5}}).Integrated, 0.0f);
    // A first term beyond the table leaves the tag alone.
    Value(13).Integrated = 8;
    Value(13).Current = 9;
    const TagValue& alone = Evaluate(13, {{200, 0, 1}, {3, 1, 1}});
    EXPECT_FLOAT_EQ(alone.Integrated, 8.0f);
    EXPECT_FLOAT_EQ(alone.Current, 9.0f);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(MathsGrouping, FaultsLeaveTheTagAtZeroWithOneLogLine) {
    Value(3).Integrated = 100;
    Value(6).Integrated = 3e38f;
    Value(10).Integrated = Value(10).Current = 55;
    const TagValue& divide = Evaluate(10, {{3, 0, 2}, {4, 4, 1}});
    EXPECT_EQ(divide.Integrated, 0.0f);
    EXPECT_EQ(divide.Current, 0.0f);
    EXPECT_EQ(LogLines(), std::vector<std::string>{"Input_MathsGrouping, Error 11/ Division by zero"});
    // Beyond float's range is an overflow, not an infinite value.
    Value(11).Integrated = 1;
    EXPECT_EQ(Evaluate(11, {{6, 0, 10}}).Integrated, 0.0f);
    EXPECT_EQ(LogLines().back(), "Input_MathsGrouping, Error 6/ Overflow");
    // A negative term tag names no slot.
    Evaluate(12, {{-1, 0, 1}});
    EXPECT_EQ(LogLines().back(), "Input_MathsGrouping, Error 9/ Subscript out of range");
    EXPECT_EQ(LogLines().size(), 3u);
}

TEST_F(MathsGrouping, LogicGroupsCombineExactStates) {
    Value(3).Current = 1;
    Value(4).Current = 0.5f;
    Value(5).Current = 1.0001f;
    Value(10).Integrated = 123;
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
        // Factors and later terms play no part.
        const TagValue& value = Evaluate(10, {{c.first, 1, 7}, {c.second, c.op, 7}, {3, 1, 1}});
        EXPECT_EQ(value.Current, c.expected) << c.first << " op " << c.op << " " << c.second;
        EXPECT_EQ(value.Integrated, 123.0f);
    }
}

}  // namespace
