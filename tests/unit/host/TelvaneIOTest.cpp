// The point cursor over the real libraries: numbering and references both ways, ranges, value
// reads and writes by point kind, the insert stack, status, set-up parameters, totals.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "HostFixture.h"
#include "host/HostDdeLabel.h"
#include "host/HostNumbering.h"
#include "host/Telvane.h"

namespace {

// Records the DDE exchanges and answers every request with Answer.
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

using Getter = float (TelvaneIO::*)();
// A set-up parameter of the cursor's point: its getter, its setter and a value to write.
struct Param {
    Getter get;
    void (TelvaneIO::*set)(float);
    float value;
};

}  // namespace

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

// Round trips of every reference and the cursor's ranges under any text are the fuzz_ioref target's.
TEST(HostNumbering, LineNumbersReferencesAndSplitsAgree) {
    for (int32_t line = 1; line <= 500; ++line) {
        LineSplit s = SplitLineV4(line);
        EXPECT_EQ((s.Recorder - 1) * 100 + (s.Page - 1) * 10 + s.LineOnPage, line);
    }
    EXPECT_EQ(LineReferenceV4(124), "[R2P3L4]");
    EXPECT_EQ(LineReferenceV5(1000), "[P100L10]");
    // Whole numbers take a path of their own; a number past a Long (21474837 recorders) selects nothing.
    for (int recorder : {-1, 0, 1, 2, 9, 32767, 21474837, 21474838, INT32_MAX})
        for (int page : {-3, 0, 1, 3, 10, 12, INT32_MAX})
            for (int line : {-32768, 0, 1, 4, 10, 11, 47, 48, INT32_MAX}) {
                const std::string text =
                    "R" + std::to_string(recorder) + "P" + std::to_string(page) + "L" + std::to_string(line);
                const IOReferenceTarget direct = RecorderLineTarget(recorder, page, line);
                EXPECT_TRUE(direct.IsLine) << text;
                EXPECT_EQ(direct.Number, ParseIOReference(text).Number) << text;
                EXPECT_EQ(RecorderLineNumber(recorder, page, line), direct.Number) << text;
            }
}

TEST_F(V4Host, RangesAndKinds) {
    TelvaneIO& io = this->io();
    EXPECT_EQ(std::vector<int32_t>({io.IndexMinInputTag(), io.IndexMaxInputTag(), io.IndexMinOutputTag(),
                                    io.IndexMaxOutputTag(), io.IndexMaxRecLine()}),
              std::vector<int32_t>({1, 1024, 2001, 4048, 500}));
    io.Index(2001);
    EXPECT_TRUE(io.V4OutputTag());
    EXPECT_EQ(io.IndexReference(), "[T2001]");
    // Between the ranges, beyond them, or nowhere: nothing selected.
    for (int32_t index : {1500, -501, 4049, INT32_MIN}) {
        io.Index(index);
        EXPECT_EQ(io.Index(), 0) << index;
        EXPECT_FALSE(io.V4InputTag() || io.V4OutputTag() || io.V4Line()) << index;
    }
    io.IndexReference("[R2P3L4]");
    EXPECT_EQ(io.IndexRecLine(), 124);
    EXPECT_EQ(std::vector<int32_t>({io.IndexRecorderNumberV4(), io.IndexPageNumberV4(), io.IndexLineNumberV4()}),
              std::vector<int32_t>({2, 3, 4}));
    io.IndexReference("R2P0L4");
    EXPECT_EQ(io.Index(), 0);
    EXPECT_EQ(io.IndexReference(), "");
}

TEST_F(V5Host, RangesAndNumbering) {
    TelvaneIO& io = this->io();
    EXPECT_EQ(io.IndexMaxOutputTag(), 5000);
    EXPECT_EQ(io.IndexMaxRecLine(), 1000);
    io.Index(-124);
    EXPECT_TRUE(io.V5Line());
    EXPECT_EQ(io.IndexReference(), "[P13L4]");
    EXPECT_EQ(std::vector<int32_t>({io.IndexRecorderNumberV5(), io.IndexPageNumberV5(), io.IndexLineNumberV5()}),
              std::vector<int32_t>({1, 13, 4}));
    io.IndexReference("R2P1L1");  // the V4 formula even on V5
    EXPECT_EQ(io.IndexRecLine(), 101);
    io.Index(5001);
    EXPECT_EQ(io.Index(), 0);
}

// Tag and line values read and written through a running host are in tests/e2e/host.
TEST_F(V4Host, LineWritesArePokesWithoutSaveAndNothingWithoutALabel) {
    RecordingDdeLabel dde;
    host->DdeLabel(&dde);
    s.SetReading(HostTable::Lines, 123, 55.5f);
    io().SetValueByIORef("[R2P3L4]", 9.5f);
    EXPECT_EQ(dde.Calls, std::vector<std::string>{"poke Recorder 2|SetData 3,4 9.5"});
    EXPECT_FLOAT_EQ(s.Reading(HostTable::Lines, 123), 55.5f) << "not written to the library";
    host->DdeLabel(nullptr);
    io().Value(1.0f);
    EXPECT_EQ(dde.Calls.size(), 1u);
}

TEST_F(V4Host, InsertStackIsOneShot) {
    s.SetReading(HostTable::OutputTags, 0, 4.5f);
    io().Index(2001);
    io().ValueInsertStack(true);
    EXPECT_FLOAT_EQ(io().Value(), 4.5f);
    EXPECT_EQ(s.LastInsertStack(HostTable::OutputTags, 0), 1);
    EXPECT_FALSE(io().ValueInsertStack());
    io().Value(2.0f);
    EXPECT_EQ(s.LastInsertStack(HostTable::OutputTags, 0), 0);
    // Reset even when the cursor designates nothing.
    io().ValueInsertStack(true);
    io().Index(0);
    io().Value();
    EXPECT_FALSE(io().ValueInsertStack());
}

TEST_F(V4Host, StatusNameLengthsAndTheLastEnabledTag) {
    s.SetName(HostTable::Tags, 0, std::string(100, 'a'));
    s.SetName(HostTable::Lines, 0, std::string(100, 'b'));
    s.SetFlag(HostTable::OutputTags, 0, HostFlag::InAlarm, true);
    s.SetFlag(HostTable::Lines, 123, HostFlag::InError, true);
    io().Index(1);
    EXPECT_EQ(io().Name(), std::string(80, 'a'));
    io().Index(-1);
    EXPECT_EQ(io().Name(), std::string(40, 'b'));
    io().Index(-124);
    EXPECT_TRUE(io().Error());
    io().Index(2001);
    EXPECT_FALSE(io().AlarmOn()) << "not served for V4 outputs";

    for (int index : {9, 499, 1024}) s.SetFlag(HostTable::Tags, index, HostFlag::Active, true);  // 1025: beyond inputs
    EXPECT_EQ(io().MaxTagEnabled(), 500);
    EXPECT_EQ(io().Index(), 1024) << "the cursor is left on the last tag";
}

// V5 lines and V4 points round trip through a running host in tests/e2e/host.
TEST_F(V5Host, TagSetupParametersRoundTripThroughTheLibraries) {
    const Param tagParams[] = {{&TelvaneIO::Calibration, &TelvaneIO::Calibration, 1.25f},
                               {&TelvaneIO::Alarm1SetPoint, &TelvaneIO::Alarm1SetPoint, 90.0f},
                               {&TelvaneIO::Alarm2SetPoint, &TelvaneIO::Alarm2SetPoint, 10.0f},
                               {&TelvaneIO::Alarm1Delay, &TelvaneIO::Alarm1Delay, 5.0f},
                               {&TelvaneIO::Alarm2Delay, &TelvaneIO::Alarm2Delay, 6.0f},
                               {&TelvaneIO::Alarm1Differential, &TelvaneIO::Alarm1Differential, 0.5f},
                               {&TelvaneIO::Alarm2Differential, &TelvaneIO::Alarm2Differential, 0.75f}};
    io().Index(30);
    io().AlarmEnabled(true);
    for (const Param& p : tagParams) (io().*p.set)(p.value);
    EXPECT_EQ(s.Param(HostTable::Tags, 29, 33), "Yes");
    for (const Param& p : tagParams) EXPECT_FLOAT_EQ((io().*p.get)(), p.value);
}

TEST_F(V4Host, SetupWritesArePokesFollowedBySave) {
    RecordingDdeLabel dde;
    host->DdeLabel(&dde);
    io().Index(2005);
    io().Calibration(2.5f);
    io().Alarm1Delay(1.0f);  // not written for V4 tags
    io().Index(12);
    io().Alarm1SetPoint(80.0f);
    io().Index(-124);
    io().AlarmEnabled(true);
    io().Alarm2SetPoint(3.0f);
    io().Alarm1Differential(1.0f);  // not written for lines
    const std::vector<std::string> expected = {
        "poke TagServer|Tags 2005,Calibration 2.5", "execute TagServer|Tags Save",
        "poke TagServer|Tags 12,AL1Setpoint 80",    "execute TagServer|Tags Save",
        "poke Recorder 2|SetAlarmEnable 3,4 1",     "execute Recorder 2|SetAlarmEnable Save",
        "poke Recorder 2|SetLoSetpoint 3,4 3",      "execute Recorder 2|SetLoSetpoint Save"};
    EXPECT_EQ(dde.Calls, expected);
}

TEST_F(V5Host, TotalsAndLineStatistics) {
    RecordingDdeLabel dde;
    dde.Answer = "42.5";
    host->DdeLabel(&dde);
    io().Index(3);
    io().daytotal(1234.5f);
    EXPECT_DOUBLE_EQ(s.Total(HostTable::Tags, 2, HostTotal::DayTotal), 1234.5);
    EXPECT_EQ(io().DayMin(), 0.0f) << "no statistics for tags";
    io().Index(-11);
    io().grandtotal(6.0f);
    EXPECT_DOUBLE_EQ(s.Total(HostTable::Lines, 10, HostTotal::GrandTotal), 6.0);
    EXPECT_FLOAT_EQ(io().DayMax(), 42.5f);
    EXPECT_EQ(io().AlarmTimer(), 0.0f) << "V4 lines only";
    io().GrandMin(1.0f);
    EXPECT_EQ(dde.Calls, (std::vector<std::string>{"request Recorder 1|GetDayMax 2,1", "poke Recorder 1|SetGrandMin 2,1 1",
                                                   "execute Recorder 1|SetGrandMin Save"}));
}

TEST_F(V4Host, LineTotalsComeFromTheRecorderLibraryAndTagsHaveNone) {
    s.SetTotal(HostTable::Lines, 123, HostTotal::DayTotal, 77.0);
    s.SetTotal(HostTable::Tags, 4, HostTotal::DayTotal, 77.0);
    io().IndexReference("[R2P3L4]");
    EXPECT_FLOAT_EQ(io().daytotal(), 77.0f);
    io().Index(5);
    EXPECT_EQ(io().daytotal(), 0.0f);
}

TEST_F(V4Host, TypeAndAddressTexts) {
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
    // {index, type, address}; a null text is not looked at.
    for (auto [index, type, address] : {std::tuple{1, "Counter", "PLC1:40001"}, {2, "Custom", nullptr},
                                        {2001, "Relay", "PLC1:00017"}, {-1, "Math", "Math;91;92;93;94"},
                                        {-2, nullptr, "[T12]"}, {-4, "No Recorder Scanning", nullptr}}) {
        io().Index(index);
        if (type) {
            EXPECT_EQ(io().IOType(), type) << index;
        }
        if (address) {
            EXPECT_EQ(io().Address(), address) << index;
        }
    }
    io().Index(-3);
    EXPECT_EQ(io().Address(), std::string(40, 'x'));
}

TEST_F(V4Host, OutputTagsReadOnlyCalibrationWithTheOutputNumber) {
    // The tag text call has no kind argument: output 2005 asks for index 4, which for a code both
    // kinds share is input tag 5's text on this host.
    s.SetParam(HostTable::Tags, 4, 20, "1.75");
    s.SetParam(HostTable::Tags, 2004, 20, "8");
    for (int code : {33, 50, 51, 52, 66, 67, 68}) s.SetParam(HostTable::Tags, 4, code, code == 33 ? "Yes" : "5");
    io().Index(2005);
    EXPECT_FLOAT_EQ(io().Calibration(), 1.75f);
    EXPECT_FALSE(io().AlarmEnabled());
    for (Getter get : {Getter{&TelvaneIO::Alarm1SetPoint}, &TelvaneIO::Alarm2SetPoint, &TelvaneIO::Alarm1Delay,
                     &TelvaneIO::Alarm2Delay, &TelvaneIO::Alarm1Differential, &TelvaneIO::Alarm2Differential})
        EXPECT_EQ((io().*get)(), 0.0f);
    // The input tag of the same index reads them all.
    io().Index(5);
    EXPECT_TRUE(io().AlarmEnabled());
    EXPECT_FLOAT_EQ(io().Alarm2Differential(), 5.0f);
}
