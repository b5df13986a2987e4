#include "net/SocketProtocol.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

#include "net/ParseMeterRef.h"
#include "unit/net/NetFakes.h"

namespace {

TEST(ParseMeterRefTest, UpperCaseBracketMThenANumberRoundedHalvesToEven) {
    const std::vector<std::pair<std::string_view, int32_t>> cases{
        {"[M3]", 3}, {"[m3]", 0}, {"M3", 0}, {" [M3]", 0}, {"", 0}, {"[M0]", 0}, {"[M]", 0}, {"[Mabc]", 0},
        // Every "[M" and "]" is removed, blanks are ignored, the number read as far as it goes.
        {"[M 3]", 3}, {"[M\t3\n]", 3}, {"[M]3]", 3}, {"[M3", 3}, {"[M1[M2]", 12}, {"[M12x]", 12}, {"[M-4]", -4},
        {"[M3.4]", 3}, {"[M2.5]", 2}, {"[M3.5]", 4},
        // A single pass: "[[MM" keeps the "[M" its removal leaves behind, which stops the number.
        {"[M[[MM5]", 0},
        {"[M2147483647]", 2147483647}, {"[M2147483648]", 0}, {"[M1e300]", 0}};
    for (const auto& [field, tagNo] : cases) EXPECT_EQ(ParseMeterRef(field), tagNo) << field;
}

// Field counts, trace forms and writes only to real tags under any request are the fuzz_request target's.
class SocketProtocolTest : public ::testing::Test {
protected:
    SocketProtocolTest() : tags(200) {
        tags.values[3] = {1234.567f, 12.25f, -0.5f};
        tags.values[200] = {7, 8, 9};
    }
    RequestOutcome Serve(std::string_view request) { return HandleRequest(request, "10.1.2.3", "17", tags); }

    FakeTagValues tags;
};

TEST_F(SocketProtocolTest, ReadAnswersTheRequestThenTheFieldToTwoDecimalsOrNothing) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"[M3];Value", "1234.57"}, {"[M3];Rate", "12.25"}, {"[M3];Input", "-0.50"}, {"[M4];Value", "0.00"},
        {"[M200];Input", "9.00"}, {"[M]3 ];Rate", "12.25"}, {"[M3.5];Value", "0.00"},
        // No tag, or no such keyword (exact case, no blanks, a line end belongs to the keyword).
        {"[m3];Value", ""}, {"[M0];Rate", ""}, {"[M-3];Rate", ""}, {"[M201];Rate", ""}, {"[M3];value", ""},
        {"[M3];Volume", ""}, {"[M3]; Value", ""}, {";", ""}, {"[M3];Value\n", ""}, {"[M3];Value\r\n", ""},
        {"[M3];Valu\xe9", ""}, {std::string("[M3]\0;Rate", 10), "12.25"}};
    for (const auto& [request, value] : cases) {
        const RequestOutcome out = Serve(request);
        EXPECT_EQ(out.Reply, request + ";" + value) << request;
        EXPECT_EQ(out.Trace, (std::vector<std::string>{"Received: " + request + " from 10.1.2.3(17)",
                                                       "Sending: " + request + ";" + value + " to 10.1.2.3"}));
    }
    EXPECT_EQ(tags.writes, 0);
}

TEST_F(SocketProtocolTest, SetStoresTheNumberAsASingleAndSendsNothing) {
    using F = TagField;
    const std::vector<std::tuple<std::string, int, TagField, float>> cases{
        {"[M3];Value;1.5", 3, F::Integrated, 1.5f}, {"[M3];Rate;12abc", 3, F::Rate, 12.0f},
        {"[M3];Input;abc", 3, F::Current, 0.0f},     {"[M5];Input; - 2 . 5", 5, F::Current, -2.5f},
        {"[M5];Rate;0.1", 5, F::Rate, 0.1f},         {"[M3.5];Value;3e2\r\n", 4, F::Integrated, 300.0f},
        {"[M200];Value;-1", 200, F::Integrated, -1.0f}};
    for (const auto& [request, tagNo, field, value] : cases) {
        const int writes = tags.writes;
        const RequestOutcome out = Serve(request);
        EXPECT_FALSE(out.Reply) << request;
        EXPECT_EQ(tags.writes, writes + 1) << request;
        EXPECT_EQ(tags.ReadField(tagNo, field), value) << request;
        EXPECT_EQ(out.Trace.back(), "Set Data: " + request + " from 10.1.2.3");
    }
}

TEST_F(SocketProtocolTest, SetOfNoFiniteSingleOrFromAnAddressNotAllowedIsRefusedAndTraced) {
    // Beyond the float range, however it is written; the largest floats themselves are taken.
    for (std::string_view request : {"[M3];Value;1e39", "[M3];Rate;-1e39", "[M3];Input;3.5e38", "[M3];Value;1e400",
                                     "[M3];Value;1D309", "[M3];Value;-" "9999999999999999999999999999999999999999"}) {
        const RequestOutcome out = Serve(request);
        EXPECT_FALSE(out.Reply) << request;
        EXPECT_EQ(out.Trace, (std::vector<std::string>{
                                 "Received: " + std::string(request) + " from 10.1.2.3(17)",
                                 "Set Refused: " + std::string(request) + " from 10.1.2.3 (not a finite 32-bit number)"}));
    }
    EXPECT_EQ(tags.writes, 0);
    EXPECT_EQ(tags.values[3].Integrated, 1234.567f);
    Serve("[M3];Value;3.4e38");
    Serve("[M4];Value;-3.4028235e38");
    EXPECT_EQ(tags.values[3].Integrated, 3.4e38f);
    EXPECT_EQ(tags.values[4].Integrated, -std::numeric_limits<float>::max());

    // Not allowed to set: nothing is looked at, reads are answered as ever.
    const int writes = tags.writes;
    for (std::string_view request : {"[M3];Rate;1", "[M0];Rate;1", "[M3];Volume;1e39"}) {
        const RequestOutcome out = HandleRequest(request, "10.9.9.9", "5", tags, /*setsAllowed=*/false);
        EXPECT_TRUE(out.Understood);
        EXPECT_EQ(out.Trace.back(), "Set Refused: " + std::string(request) + " from 10.9.9.9 (this address may not set values)");
    }
    EXPECT_EQ(tags.writes, writes);
    EXPECT_EQ(HandleRequest("[M3];Rate", "10.9.9.9", "5", tags, false).Reply, "[M3];Rate;12.25");
}

}  // namespace
