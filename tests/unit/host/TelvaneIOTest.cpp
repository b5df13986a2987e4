// The point cursor over the real libraries: numbering and references both ways, ranges, value
// reads and writes by point kind, the insert stack, status, set-up parameters, totals.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HostFixture.h"
#include "host/HostDdeLabel.h"
#include "host/HostNumbering.h"
#include "host/Telvane.h"

#define REQUIRE_LIBRARIES() \
    if (!HostFixture::LibrariesBuilt()) GTEST_SKIP() << "host libraries not built in VT_BIN_DIR"

namespace {

// Records the DDE exchanges and answers requests from a table.
class RecordingDdeLabel : public HostDdeLabel {
public:
    std::vector<std::string> Calls;
    std::string Answer = "0";

    VbError Poke(const std::string& topic, const std::string& item, const std::string& data) override {
        Calls.push_back("poke " + topic + " " + item + " " + data);
        return {};
    }
    VbResult<std::string> Request(const std::string& topic, const std::string& item) override {
        Calls.push_back("request " + topic + " " + item);
        return {Answer, {}};
    }
    VbError Execute(const std::string& topic, const std::string& command) override {
        Calls.push_back("execute " + topic + " " + command);
        return {};
    }
};

}  // namespace

TEST(HostNumbering, LinesSplitAndJoinBothWays) {
    for (int32_t line = 1; line <= 500; ++line) {
        LineSplit s = SplitLineV4(line);
        EXPECT_EQ(ParseIOReference(LineReferenceV4(line)).Number, line);
        EXPECT_EQ((s.Recorder - 1) * 100 + (s.Page - 1) * 10 + s.LineOnPage, line);
    }
    for (int32_t line = 1; line <= 1000; ++line) EXPECT_EQ(ParseIOReference(LineReferenceV5(line)).Number, line);
    EXPECT_EQ(LineReferenceV4(124), "[R2P3L4]");
    EXPECT_EQ(LineReferenceV4(500), "[R5P10L10]");
    EXPECT_EQ(LineReferenceV5(124), "[P13L4]");
    EXPECT_EQ(LineReferenceV5(1000), "[P100L10]");
}

TEST(HostNumbering, MalformedReferencesSelectNothing) {
    struct Case {
        const char* text;
        bool isLine;
        int32_t number;
    };
    for (const Case& c : std::vector<Case>{
             {"[T17]", false, 17}, {"T", false, 0}, {"[R2P3L4]", true, 124}, {"xx[R2P3L4]yy", true, 124},
             {"R2P0L4", true, 0}, {"[R2P3L", true, 0}, {"R2P3L", true, 0}, {"RP3L4", true, 0}, {"R2PL4", true, 0},
             {"R2L4P3", true, 0}, {"P13L4", true, 124}, {"PL4", true, 0}, {"P0L4", true, 0}, {"", false, 0},
             {"[", false, 0}, {"]", false, 0}, {"t17", false, 0}, {"X17", false, 0}, {"T99999999999", false, 0},
             {"R1P1L99999999999", true, 0}, {"R-1P2L3", true, 0}, {"[T5]R1P1L1", false, 5}}) {
        IOReferenceTarget t = ParseIOReference(c.text);
        EXPECT_EQ(t.IsLine, c.isLine) << c.text;
        EXPECT_EQ(t.Number, c.number) << c.text;
    }
}

TEST(HostNumbering, RecorderLineNumbersSelectWhatTheirTextSelects) {
    for (int recorder : {-1, 0, 1, 2, 9, 32767})
        for (int page : {-3, 0, 1, 3, 10, 12})
            for (int line : {-32768, 0, 1, 4, 10, 11}) {
                const std::string text =
                    "R" + std::to_string(recorder) + "P" + std::to_string(page) + "L" + std::to_string(line);
                const IOReferenceTarget parsed = ParseIOReference(text);
                const IOReferenceTarget direct = RecorderLineTarget(recorder, page, line);
                EXPECT_TRUE(direct.IsLine) << text;
                EXPECT_EQ(direct.Number, parsed.Number) << text;
            }
}

TEST(TelvaneIO, V4RangesAndKinds) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    TelvaneIO& io = t.IO;
    EXPECT_EQ(io.IndexMinInputTag(), 1);
    EXPECT_EQ(io.IndexMaxInputTag(), 1024);
    EXPECT_EQ(io.IndexMinOutputTag(), 2001);
    EXPECT_EQ(io.IndexMaxOutputTag(), 4048);
    EXPECT_EQ(io.IndexMaxRecLine(), 500);
    io.Index(1024);
    EXPECT_TRUE(io.V4InputTag());
    io.Index(2001);
    EXPECT_TRUE(io.V4OutputTag());
    EXPECT_EQ(io.IndexReference(), "[T2001]");
    io.Index(1500);
    EXPECT_EQ(io.Index(), 0) << "between the ranges";
    EXPECT_FALSE(io.V4InputTag() || io.V4OutputTag());
    io.Index(-500);
    EXPECT_TRUE(io.V4Line());
    io.Index(-501);
    EXPECT_EQ(io.Index(), 0);
    io.Index(4049);
    EXPECT_EQ(io.Index(), 0);
    io.Index(INT32_MIN);
    EXPECT_EQ(io.Index(), 0);
    io.IndexReference("[R2P3L4]");
    EXPECT_EQ(io.IndexRecLine(), 124);
    EXPECT_EQ(io.IndexTag(), 0);
    EXPECT_EQ(io.IndexRecorderNumberV4(), 2);
    EXPECT_EQ(io.IndexPageNumberV4(), 3);
    EXPECT_EQ(io.IndexLineNumberV4(), 4);
    EXPECT_EQ(io.IndexReference(), "[R2P3L4]");
    io.IndexReference("R2P0L4");
    EXPECT_EQ(io.Index(), 0);
    EXPECT_EQ(io.IndexReference(), "");
}

TEST(TelvaneIO, V5RangesAndNumbering) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(5));
    Telvane t;
    TelvaneIO& io = t.IO;
    EXPECT_EQ(io.IndexMinOutputTag(), 1);
    EXPECT_EQ(io.IndexMaxOutputTag(), 5000);
    EXPECT_EQ(io.IndexMaxRecLine(), 1000);
    io.Index(2001);
    EXPECT_TRUE(io.V5Tag());
    f.State().SetReading(HostTable::Tags, 2000, 17.25f);
    EXPECT_FLOAT_EQ(io.Value(), 17.25f);
    io.Index(-124);
    EXPECT_TRUE(io.V5Line());
    EXPECT_EQ(io.IndexReference(), "[P13L4]");
    EXPECT_EQ(io.IndexPageNumberV5(), 13);
    EXPECT_EQ(io.IndexLineNumberV5(), 4);
    EXPECT_EQ(io.IndexRecorderNumberV5(), 1);
    io.IndexReference("R1P13L4");  // the V4 formula even on V5
    EXPECT_EQ(io.IndexRecLine(), 124);
    io.IndexReference("R2P1L1");
    EXPECT_EQ(io.IndexRecLine(), 101);
    io.Index(5001);
    EXPECT_EQ(io.Index(), 0);
}

TEST(TelvaneIO, NoHostHasNoRangeAndNeverCrashes) {
    HostFixture f;
    Telvane t;
    TelvaneIO& io = t.IO;
    EXPECT_EQ(io.IndexMaxInputTag(), 0);
    for (const char* ref : {"[T1]", "T", "R2P0L4", "[R2P3L", "[R1P1L1]", "P1L1", "garbage"}) {
        io.IndexReference(ref);
        EXPECT_EQ(io.Index(), 0) << ref;
        EXPECT_EQ(io.Value(), 0.0f);
        io.Value(5.0f);
        EXPECT_EQ(io.Name(), "");
        EXPECT_FALSE(io.Enabled());
        EXPECT_EQ(io.Address(), "");
    }
    EXPECT_EQ(io.MaxTagEnabled(), 0);
}

TEST(TelvaneIO, ValuesByPointKindReachTheSharedState) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    RecordingDdeLabel dde;
    t.DdeLabel(&dde);
    EXPECT_EQ(t.IO.DdeLabel(), &dde);
    TelvaneIO& io = t.IO;
    HostState& s = f.State();

    s.SetReading(HostTable::Tags, 11, 123.5f);
    io.Index(12);
    EXPECT_FLOAT_EQ(io.Value(), 123.5f);
    io.Value(7.0f);
    EXPECT_FLOAT_EQ(s.Reading(HostTable::Tags, 11), 7.0f);

    io.Index(2005);
    io.Value(1.0f);
    EXPECT_FLOAT_EQ(s.Reading(HostTable::OutputTags, 4), 1.0f);

    s.SetReading(HostTable::Lines, 123, 55.5f);
    EXPECT_FLOAT_EQ(io.GetValueByIORef("[R2P3L4]"), 55.5f);
    io.SetValueByIORef("[R2P3L4]", 9.5f);
    ASSERT_EQ(dde.Calls.size(), 1u) << "a V4 line is written over DDE, without Save";
    EXPECT_EQ(dde.Calls[0], "poke Recorder 2|SetData 3,4 9.5");
    EXPECT_FLOAT_EQ(s.Reading(HostTable::Lines, 123), 55.5f);

    t.DdeLabel(nullptr);
    io.Value(1.0f);  // no label: nothing happens
    EXPECT_EQ(dde.Calls.size(), 1u);
}

TEST(TelvaneIO, V5WritesGoToTheLibraries) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(5));
    Telvane t;
    HostState& s = f.State();
    t.IO.Index(4000);
    t.IO.Value(3.5f);
    EXPECT_FLOAT_EQ(s.Reading(HostTable::Tags, 3999), 3.5f);
    t.IO.Index(-1000);
    s.SetReading(HostTable::Lines, 999, 8.0f);
    EXPECT_FLOAT_EQ(t.IO.Value(), 8.0f);
    t.IO.Value(12.0f);
    EXPECT_FLOAT_EQ(s.Reading(HostTable::Lines, 999), 12.0f);
}

TEST(TelvaneIO, InsertStackIsOneShot) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    HostState& s = f.State();
    s.SetReading(HostTable::OutputTags, 0, 4.5f);
    t.IO.Index(2001);
    t.IO.ValueInsertStack(true);
    EXPECT_TRUE(t.IO.ValueInsertStack());
    EXPECT_FLOAT_EQ(t.IO.Value(), 4.5f);
    EXPECT_EQ(s.LastInsertStack(HostTable::OutputTags, 0), 1);
    EXPECT_FALSE(t.IO.ValueInsertStack());
    t.IO.Value();
    EXPECT_EQ(s.LastInsertStack(HostTable::OutputTags, 0), 0);
    t.IO.ValueInsertStack(true);
    t.IO.Value(2.0f);
    EXPECT_EQ(s.LastInsertStack(HostTable::OutputTags, 0), 1);
    t.IO.Value(2.0f);
    EXPECT_EQ(s.LastInsertStack(HostTable::OutputTags, 0), 0);
    // Reset even when the cursor designates nothing.
    t.IO.ValueInsertStack(true);
    t.IO.Index(0);
    t.IO.Value();
    EXPECT_FALSE(t.IO.ValueInsertStack());
}

TEST(TelvaneIO, StatusAndNameLengths) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    HostState& s = f.State();
    s.SetName(HostTable::Tags, 0, std::string(100, 'a'));
    s.SetName(HostTable::Lines, 0, std::string(100, 'b'));
    s.SetName(HostTable::OutputTags, 0, "Watchdog");
    s.SetFlag(HostTable::Tags, 0, HostFlag::InAlarm, true);
    s.SetFlag(HostTable::Lines, 123, HostFlag::InError, true);
    s.SetFlag(HostTable::OutputTags, 0, HostFlag::Active, true);
    t.IO.Index(1);
    EXPECT_EQ(t.IO.Name(), std::string(80, 'a'));
    EXPECT_TRUE(t.IO.AlarmOn());
    EXPECT_FALSE(t.IO.Error());
    t.IO.Index(-1);
    EXPECT_EQ(t.IO.Name(), std::string(40, 'b'));
    t.IO.Index(-124);
    EXPECT_TRUE(t.IO.Error());
    t.IO.Index(2001);
    EXPECT_EQ(t.IO.Name(), "Watchdog");
    EXPECT_TRUE(t.IO.Enabled());
    EXPECT_FALSE(t.IO.AlarmOn()) << "not served for V4 outputs";
}

TEST(TelvaneIO, MaxTagEnabledLeavesTheCursorOnTheLastTag) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    f.State().SetFlag(HostTable::Tags, 9, HostFlag::Active, true);
    f.State().SetFlag(HostTable::Tags, 499, HostFlag::Active, true);
    f.State().SetFlag(HostTable::Tags, 1024, HostFlag::Active, true);  // tag 1025: beyond V4's inputs
    EXPECT_EQ(t.IO.MaxTagEnabled(), 500);
    EXPECT_EQ(t.IO.Index(), 1024);
}

TEST(TelvaneIO, V5SetupParametersRoundTripThroughTheLibraries) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(5));
    Telvane t;
    TelvaneIO& io = t.IO;
    io.Index(30);
    io.AlarmEnabled(true);
    io.Calibration(1.25f);
    io.Alarm1SetPoint(90.0f);
    io.Alarm2SetPoint(10.0f);
    io.Alarm1Delay(5.0f);
    io.Alarm2Delay(6.0f);
    io.Alarm1Differential(0.5f);
    io.Alarm2Differential(0.75f);
    EXPECT_EQ(f.State().Param(HostTable::Tags, 29, 33), "Yes");
    EXPECT_TRUE(io.AlarmEnabled());
    EXPECT_FLOAT_EQ(io.Calibration(), 1.25f);
    EXPECT_FLOAT_EQ(io.Alarm1SetPoint(), 90.0f);
    EXPECT_FLOAT_EQ(io.Alarm2SetPoint(), 10.0f);
    EXPECT_FLOAT_EQ(io.Alarm1Delay(), 5.0f);
    EXPECT_FLOAT_EQ(io.Alarm2Delay(), 6.0f);
    EXPECT_FLOAT_EQ(io.Alarm1Differential(), 0.5f);
    EXPECT_FLOAT_EQ(io.Alarm2Differential(), 0.75f);
    io.AlarmEnabled(false);
    EXPECT_FALSE(io.AlarmEnabled());

    io.Index(-7);  // V5 line
    io.AlarmEnabled(true);
    io.Alarm1Delay(3.0f);
    io.Alarm2Delay(4.0f);
    EXPECT_TRUE(io.AlarmEnabled());
    EXPECT_FLOAT_EQ(io.Alarm1Delay(), 3.0f);
    EXPECT_FLOAT_EQ(io.Alarm2Delay(), 4.0f);
}

TEST(TelvaneIO, V4SetupWritesArePokesFollowedBySave) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    RecordingDdeLabel dde;
    t.DdeLabel(&dde);
    TelvaneIO& io = t.IO;
    io.Index(2005);
    io.Calibration(2.5f);
    io.Alarm1Delay(1.0f);  // not written for V4 tags
    io.Index(12);
    io.Alarm1SetPoint(80.0f);
    io.Index(-124);
    io.AlarmEnabled(true);
    io.Alarm2SetPoint(3.0f);
    io.Alarm1Differential(1.0f);  // not written for lines
    std::vector<std::string> expected = {
        "poke TagServer|Tags 2005,Calibration 2.5",     "execute TagServer|Tags Save",
        "poke TagServer|Tags 12,AL1Setpoint 80",        "execute TagServer|Tags Save",
        "poke Recorder 2|SetAlarmEnable 3,4 1",         "execute Recorder 2|SetAlarmEnable Save",
        "poke Recorder 2|SetLoSetpoint 3,4 3",          "execute Recorder 2|SetLoSetpoint Save",
    };
    EXPECT_EQ(dde.Calls, expected);
}

TEST(TelvaneIO, TotalsAndLineStatistics) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(5));
    Telvane t;
    RecordingDdeLabel dde;
    dde.Answer = "42.5";
    t.DdeLabel(&dde);
    TelvaneIO& io = t.IO;
    HostState& s = f.State();
    io.Index(3);
    io.daytotal(1234.5f);
    io.grandtotal(99999.0f);
    EXPECT_DOUBLE_EQ(s.Total(HostTable::Tags, 2, HostTotal::DayTotal), 1234.5);
    EXPECT_FLOAT_EQ(io.grandtotal(), 99999.0f);
    EXPECT_EQ(io.DayMin(), 0.0f) << "no statistics for tags";
    io.Index(-11);
    io.daytotal(5.0f);
    io.grandtotal(6.0f);
    EXPECT_FLOAT_EQ(io.daytotal(), 5.0f);
    EXPECT_DOUBLE_EQ(s.Total(HostTable::Lines, 10, HostTotal::GrandTotal), 6.0);
    EXPECT_FLOAT_EQ(io.DayMax(), 42.5f);
    EXPECT_FLOAT_EQ(io.AlarmGetRelayState(7), 42.5f);
    EXPECT_EQ(io.AlarmTimer(), 0.0f) << "V4 lines only";
    io.GrandMin(1.0f);
    std::vector<std::string> expected = {
        "request Recorder 1|GetDayMax 2,1",    "request Recorder 1|GetRelayState 7",
        "poke Recorder 1|SetGrandMin 2,1 1",   "execute Recorder 1|SetGrandMin Save",
    };
    EXPECT_EQ(dde.Calls, expected);
}

TEST(TelvaneIO, V4LineTotalsComeFromTheRecorderLibrary) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    f.State().SetTotal(HostTable::Lines, 123, HostTotal::DayTotal, 77.0);
    t.IO.IndexReference("[R2P3L4]");
    EXPECT_FLOAT_EQ(t.IO.daytotal(), 77.0f);
    t.IO.Index(5);
    f.State().SetTotal(HostTable::Tags, 4, HostTotal::DayTotal, 77.0);
    EXPECT_EQ(t.IO.daytotal(), 0.0f) << "V4 tags have no totals";
}

TEST(TelvaneIO, TypeAndAddressTexts) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    HostState& s = f.State();
    s.SetParam(HostTable::Tags, 0, 3, "4");
    s.SetParam(HostTable::Tags, 1, 3, "Custom");
    s.SetParam(HostTable::Tags, 0, 11, "PLC1:40001");
    s.SetParam(HostTable::OutputTags, 0, 102, "Relay");
    s.SetParam(HostTable::OutputTags, 0, 106, "PLC1:00017");
    s.SetParam(HostTable::Lines, 0, 3, "Math");
    for (int code : {91, 92, 93, 94}) s.SetParam(HostTable::Lines, 0, code, std::to_string(code));
    s.SetParam(HostTable::Lines, 1, 3, "Tag Analogue");
    s.SetParam(HostTable::Lines, 1, 8, "Tag 12");
    s.SetParam(HostTable::Lines, 2, 3, "Analogue Input");
    s.SetAddress(HostTable::Lines, 2, std::string(60, 'x'));
    s.SetParam(HostTable::Lines, 3, 10, "No Recorder Scanning");
    s.SetParam(HostTable::Lines, 3, 3, "Analogue Input");

    t.IO.Index(1);
    EXPECT_EQ(t.IO.IOType(), "Counter");
    EXPECT_EQ(t.IO.Address(), "PLC1:40001");
    t.IO.Index(2);
    EXPECT_EQ(t.IO.IOType(), "Custom");
    t.IO.Index(2001);
    EXPECT_EQ(t.IO.IOType(), "Relay");
    EXPECT_EQ(t.IO.Address(), "PLC1:00017");
    t.IO.Index(-1);
    EXPECT_EQ(t.IO.IOType(), "Math");
    EXPECT_EQ(t.IO.Address(), "Math;91;92;93;94");
    t.IO.Index(-2);
    EXPECT_EQ(t.IO.Address(), "[T12]");
    t.IO.Index(-3);
    EXPECT_EQ(t.IO.Address(), std::string(40, 'x'));
    t.IO.Index(-4);
    EXPECT_EQ(t.IO.IOType(), "No Recorder Scanning");
}

TEST(TelvaneIO, V4OutputTagsReadOnlyCalibrationWithTheOutputNumber) {
    REQUIRE_LIBRARIES();
    HostFixture f;
    ASSERT_TRUE(f.Install(4));
    Telvane t;
    HostState& s = f.State();
    // The tag text call has no kind argument: output 2005 asks for index 4, which for a code both
    // kinds share is input tag 5's text on this host.
    s.SetParam(HostTable::Tags, 4, 20, "1.75");
    s.SetParam(HostTable::Tags, 2004, 20, "8");
    for (int code : {33, 50, 51, 52, 66, 67, 68}) s.SetParam(HostTable::Tags, 4, code, code == 33 ? "Yes" : "5");
    t.IO.Index(2005);
    EXPECT_FLOAT_EQ(t.IO.Calibration(), 1.75f);
    EXPECT_FALSE(t.IO.AlarmEnabled());
    EXPECT_EQ(t.IO.Alarm1SetPoint(), 0.0f);
    EXPECT_EQ(t.IO.Alarm2SetPoint(), 0.0f);
    EXPECT_EQ(t.IO.Alarm1Delay(), 0.0f);
    EXPECT_EQ(t.IO.Alarm2Delay(), 0.0f);
    EXPECT_EQ(t.IO.Alarm1Differential(), 0.0f);
    EXPECT_EQ(t.IO.Alarm2Differential(), 0.0f);
    // The input tag of the same index reads them all.
    t.IO.Index(5);
    EXPECT_TRUE(t.IO.AlarmEnabled());
    EXPECT_FLOAT_EQ(t.IO.Alarm2Differential(), 5.0f);
}
