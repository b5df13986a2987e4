#include <gtest/gtest.h>

#include <vector>

#include "files/MathsEvaluation.h"

namespace {

std::array<MathsTerm, 8> Terms(std::vector<MathsTerm> given)
{
    std::array<MathsTerm, 8> terms{};
    for (auto& t : terms)
        t = MathsTerm{200, 0, 0};
    for (std::size_t k = 0; k < given.size(); ++k)
        terms[k] = given[k];
    return terms;
}

struct Values {
    std::vector<float> integrated = std::vector<float>(201, 0.0F);
    std::vector<float> current = std::vector<float>(201, 0.0F);
    MathsGroupResult Evaluate(const std::array<MathsTerm, 8>& terms, int self = 199)
    {
        return EvaluateMathsGroup(
            terms, 200, self, [this](int t) { return integrated[static_cast<std::size_t>(t)]; },
            [this](int t) { return current[static_cast<std::size_t>(t)]; });
    }
};

// Left to right without precedence, skipped terms, faults and logic states are checked through the
// scan (tests/unit/core/MathsGroupingTest.cpp); these are the finer points of the group itself.
TEST(MathsEvaluationTest, SelfTermsSinglePrecisionAndZeroOverZero)
{
    Values v;
    v.integrated[3] = 100;
    // A term naming the maths tag itself sees the result so far, not the last scan's value.
    v.integrated[9] = 50;
    EXPECT_EQ(v.Evaluate(Terms({{3, 0, 1.0F}, {9, 1, 1.0F}}), 9).Integrated, 200.0F);
    v.current[3] = 1;
    v.current[9] = 0;
    EXPECT_EQ(v.Evaluate(Terms({{3, 1, 1.0F}, {9, 5, 1.0F}}), 9).Current, 1.0F);

    // Operands and factors are single precision, every step rounded on its own.
    v.integrated[6] = 16777216.0F;
    v.integrated[5] = 10;
    EXPECT_EQ(v.Evaluate(Terms({{6, 0, 1.0F}, {0, 1, 1.0F}, {5, 1, 0.1F}})).Integrated, 16777216.0F);

    // 0 / 0 is an overflow, not a division by zero; neither result is set.
    v.integrated[3] = 0;
    const MathsGroupResult r = v.Evaluate(Terms({{3, 0, 2.0F}, {4, 4, 1.0F}}));
    EXPECT_EQ(r.Error.Number, 6);
    EXPECT_FALSE(r.SetsIntegrated || r.SetsCurrent);
}

// The import's rule on a record row: in tag order, terms up to and including MaxTags.
TEST(MathsEvaluationTest, RecordRowInTagOrder)
{
    std::vector<TagRecord> table(11);
    auto maths = [&](int tag, std::vector<MathsTerm> terms) {
        TagRecord& t = table[static_cast<std::size_t>(tag)];
        t.Online = 1;
        t.TagType = 1;
        t.ScanType = 8;
        const auto all = Terms(terms);
        for (std::size_t k = 0; k < 8; ++k)
            t.MathsTerms[k] = all[k];
        for (std::size_t k = terms.size(); k < 8; ++k)
            t.MathsTerms[k].TermTag = 11;  // beyond the row's 10 tags
    };
    maths(2, {{8, 0, 1.0F}});                          // sees tag 8 as read
    maths(8, {{1, 0, 3.0F}, {10, 1, 1.0F}});           // tag 10 = MaxTags takes part
    maths(9, {{8, 0, 1.0F}, {1, 3, 2.0F}, {1, 4, 4.0F}});
    table[5] = table[9];
    table[5].Online = 0;                               // off line: not a maths tag here

    std::vector<float> row{0, 2, 0, 0, 0, 55, 0, 0, 100, 0, 1};
    const MathsRowPlan plan(table, 10);
    ASSERT_FALSE(plan.Apply(row).Failed());
    EXPECT_EQ(row[2], 100.0F);
    EXPECT_EQ(row[8], 7.0F);
    EXPECT_EQ(row[9], 3.5F);  // 7 x (2 x 2) / (4 x 2)
    EXPECT_EQ(row[5], 55.0F);

    row[1] = 0;
    EXPECT_EQ(plan.Apply(row).Number, 6);  // 0 x ... / 0
    maths(9, {{12, 0, 1.0F}});
    EXPECT_EQ(MathsRowPlan(table, 10).Apply(row).Number, 9);
    EXPECT_TRUE(MathsRowPlan(table, 1).Empty());
}

} // namespace
