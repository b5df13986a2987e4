#include "net/SocketProtocol.h"

#include <gtest/gtest.h>

#include "net/ParseMeterRef.h"
#include "unit/net/NetFakes.h"

namespace {

TEST(ParseMeterRefTest, OnlyUpperCaseBracketMStartsAReference) {
    EXPECT_EQ(ParseMeterRef("[M3]"), 3);
    EXPECT_EQ(ParseMeterRef("[m3]"), 0);
    EXPECT_EQ(ParseMeterRef("M3"), 0);
    EXPECT_EQ(ParseMeterRef(" [M3]"), 0);
    EXPECT_EQ(ParseMeterRef(""), 0);
    EXPECT_EQ(ParseMeterRef("[M0]"), 0);
    EXPECT_EQ(ParseMeterRef("[M]"), 0);
    EXPECT_EQ(ParseMeterRef("[Mabc]"), 0);
}

TEST(ParseMeterRefTest, EveryBracketAndBlankIsIgnoredAndHalvesRoundToEven) {
    EXPECT_EQ(ParseMeterRef("[M 3]"), 3);
    EXPECT_EQ(ParseMeterRef("[M\t3\n]"), 3);
    EXPECT_EQ(ParseMeterRef("[M]3]"), 3);
    EXPECT_EQ(ParseMeterRef("[M3"), 3);
    EXPECT_EQ(ParseMeterRef("[M1[M2]"), 12);
    EXPECT_EQ(ParseMeterRef("[M3.4]"), 3);
    EXPECT_EQ(ParseMeterRef("[M2.5]"), 2);
    EXPECT_EQ(ParseMeterRef("[M3.5]"), 4);
    EXPECT_EQ(ParseMeterRef("[M12x]"), 12);
    EXPECT_EQ(ParseMeterRef("[M-4]"), -4);
    // A single pass: "[[MM" keeps the "[M" its removal leaves behind, which stops the number.
    EXPECT_EQ(ParseMeterRef("[M[[MM5]"), 0);
}

TEST(ParseMeterRefTest, NumbersBeyondThirtyTwoBitsNameNoTag) {
    EXPECT_EQ(ParseMeterRef("[M2147483647]"), 2147483647);
    EXPECT_EQ(ParseMeterRef("[M2147483648]"), 0);
    EXPECT_EQ(ParseMeterRef("[M1e300]"), 0);
}

class SocketProtocolTest : public ::testing::Test {
protected:
    SocketProtocolTest() : tags(200) {
        tags.values[3] = {1234.567f, 12.25f, -0.5f};
        tags.values[200] = {7, 8, 9};
    }
    RequestOutcome Serve(std::string_view request) { return HandleRequest(request, "10.1.2.3", "17", tags); }
    std::string Reply(std::string_view request) {
        const RequestOutcome out = Serve(request);
        EXPECT_TRUE(out.Reply.has_value()) << request;
        return out.Reply.value_or("<none>");
    }

    FakeTagValues tags;
};

TEST_F(SocketProtocolTest, ReadAnswersTheRequestWithTheFieldToTwoDecimals) {
    EXPECT_EQ(Reply("[M3];Value"), "[M3];Value;1234.57");
    EXPECT_EQ(Reply("[M3];Rate"), "[M3];Rate;12.25");
    EXPECT_EQ(Reply("[M3];Input"), "[M3];Input;-0.50");
    EXPECT_EQ(Reply("[M4];Value"), "[M4];Value;0.00");
    EXPECT_EQ(Reply("[M200];Input"), "[M200];Input;9.00");
    // Any reference form that addresses tag 3 is echoed exactly as sent.
    EXPECT_EQ(Reply("[M]3 ];Rate"), "[M]3 ];Rate;12.25");
    EXPECT_EQ(tags.writes, 0);
}

TEST_F(SocketProtocolTest, ReadOfNoTagOrUnknownKeywordEndsWithTheSeparator) {
    EXPECT_EQ(Reply("[m3];Value"), "[m3];Value;");
    EXPECT_EQ(Reply("[M0];Rate"), "[M0];Rate;");
    EXPECT_EQ(Reply("[M-3];Rate"), "[M-3];Rate;");
    EXPECT_EQ(Reply("[M201];Rate"), "[M201];Rate;");
    EXPECT_EQ(Reply("[M3];value"), "[M3];value;");
    EXPECT_EQ(Reply("[M3];Volume"), "[M3];Volume;");
    EXPECT_EQ(Reply("[M3]; Value"), "[M3]; Value;");
    EXPECT_EQ(Reply(";"), ";;");
    // A line end sent by the client belongs to the keyword.
    EXPECT_EQ(Reply("[M3];Value\n"), "[M3];Value\n;");
    EXPECT_EQ(Reply("[M3];Value\r\n"), "[M3];Value\r\n;");
}

TEST_F(SocketProtocolTest, SetStoresTheNumberAsASingleAndSendsNothing) {
    RequestOutcome out = Serve("[M3];Value;1.5");
    EXPECT_FALSE(out.Reply);
    EXPECT_EQ(tags.values[3].Integrated, 1.5f);

    EXPECT_FALSE(Serve("[M3];Rate;12abc").Reply);
    EXPECT_EQ(tags.values[3].Rate, 12.0f);
    EXPECT_FALSE(Serve("[M3];Input;abc").Reply);
    EXPECT_EQ(tags.values[3].Current, 0.0f);

    Serve("[M5];Input; - 2 . 5");
    EXPECT_EQ(tags.values[5].Current, -2.5f);
    Serve("[M5];Rate;0.1");
    EXPECT_EQ(tags.values[5].Rate, 0.1f);
    Serve("[M3.5];Value;3e2\r\n");
    EXPECT_EQ(tags.values[4].Integrated, 300.0f);
    Serve("[M200];Value;-1");
    EXPECT_EQ(tags.values[200].Integrated, -1.0f);

    // Untouched neighbours.
    EXPECT_EQ(tags.values[3].Integrated, 1.5f);
    EXPECT_EQ(tags.values[5].Integrated, 0.0f);
}

TEST_F(SocketProtocolTest, SetWithoutTagKeywordOrRepresentableValueChangesNothing) {
    const std::vector<FakeTagValues::Fields> before = tags.values;
    for (std::string_view request : {"[m3];Value;1", "[M0];Value;1", "[M201];Value;1", "[M-1];Value;1",
                                     "[M3];value;1", "[M3];Volume;1", "[M3];Value;1e39", "[M3];Rate;-1e39"}) {
        const RequestOutcome out = Serve(request);
        EXPECT_FALSE(out.Reply) << request;
    }
    EXPECT_EQ(tags.writes, 0);
    EXPECT_EQ(tags.values[3].Integrated, before[3].Integrated);
    EXPECT_EQ(tags.values[3].Rate, before[3].Rate);
}

TEST_F(SocketProtocolTest, OtherFieldCountsAreIgnored) {
    for (std::string_view request : {"", "[M3]", "[M3]Value", "[M3];Value;1;2", "[M3];Value;;", ";;;;", "\n"}) {
        const RequestOutcome out = Serve(request);
        EXPECT_FALSE(out.Reply) << request;
        ASSERT_EQ(out.Trace.size(), 1u) << request;
        EXPECT_EQ(out.Trace[0], "Received: " + std::string(request) + " from 10.1.2.3(17)");
    }
    EXPECT_EQ(tags.writes, 0);
}

TEST_F(SocketProtocolTest, TraceNamesRequestReplyPeerAndLabel) {
    EXPECT_EQ(Serve("[M3];Rate").Trace,
              (std::vector<std::string>{"Received: [M3];Rate from 10.1.2.3(17)",
                                        "Sending: [M3];Rate;12.25 to 10.1.2.3"}));
    EXPECT_EQ(Serve("[M3];Rate;4").Trace,
              (std::vector<std::string>{"Received: [M3];Rate;4 from 10.1.2.3(17)",
                                        "Set Data: [M3];Rate;4 from 10.1.2.3"}));
    // A set that changes nothing is still traced as received and set.
    EXPECT_EQ(Serve("[M0];Rate;4").Trace.back(), "Set Data: [M0];Rate;4 from 10.1.2.3");
}

TEST_F(SocketProtocolTest, BytesAboveAsciiPassThroughUnchanged) {
    const std::string request = "[M3];Valu\xe9";
    EXPECT_EQ(Reply(request), request + ";");
    const std::string withNul("[M3]\0;Rate", 10);
    EXPECT_EQ(Reply(withNul), withNul + ";12.25");
}

}  // namespace
