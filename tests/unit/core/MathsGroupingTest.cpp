// Maths tags in a scan. The arithmetic itself is tested in files/MathsEvaluationTest; here, what a
// scan makes of the result: both values set, a fault leaving the tag at 0 with one log line, a
// logic group setting Current alone.
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

TEST_F(MathsGrouping, ResultsFaultsAndLogicStates) {
    Value(3).Integrated = 100;
    Value(4).Integrated = 30;
    Value(5).Integrated = 10;
    // A + B x C is (A + B) x C.
    const TagValue& site = Evaluate(10, {{3, 0, 1}, {4, 2, 1}, {5, 1, 0.5f}, {5, 3, 1}});
    EXPECT_FLOAT_EQ(site.Integrated, 750.0f);
    EXPECT_FLOAT_EQ(site.Current, 750.0f);
    EXPECT_TRUE(LogLines().empty());

    const TagValue& divide = Evaluate(10, {{3, 0, 2}, {6, 4, 1}});
    EXPECT_EQ(divide.Integrated, 0.0f);
    EXPECT_EQ(divide.Current, 0.0f);
    EXPECT_EQ(LogLines(), std::vector<std::string>{"Input_MathsGrouping, Error 11/ Division by zero"});
    Value(6).Integrated = 3e38f;
    Value(11).Integrated = 1;
    EXPECT_EQ(Evaluate(11, {{6, 0, 10}}).Integrated, 0.0f);  // beyond float's range: no infinity
    EXPECT_EQ(LogLines().back(), "Input_MathsGrouping, Error 6/ Overflow");
    Evaluate(12, {{-1, 0, 1}});  // a negative term tag names no slot
    EXPECT_EQ(LogLines().back(), "Input_MathsGrouping, Error 9/ Subscript out of range");
    EXPECT_EQ(LogLines().size(), 3u);

    // Exact on/off states; Integrated is left alone.
    Value(3).Current = 1;
    Value(5).Current = 1.0001f;  // not on
    Value(13).Integrated = 123;
    EXPECT_EQ(Evaluate(13, {{3, 1, 7}, {3, 5, 7}}).Current, 1.0f);
    EXPECT_EQ(Evaluate(13, {{3, 1, 7}, {5, 6, 7}}).Current, 1.0f);
    EXPECT_EQ(Evaluate(13, {{5, 1, 7}, {5, 6, 7}}).Current, 0.0f);
    EXPECT_EQ(Value(13).Integrated, 123.0f);
}

}  // namespace
