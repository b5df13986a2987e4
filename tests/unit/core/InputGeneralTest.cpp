// One acquisition pass against the stand-in host: host tags and recorder lines of both generations
// read into Current, rates and display values written back to host points, the order of the three
// passes, the grid cells, the scan log line, and a fault that ends the pass.
#include "ScanFixture.h"
#include "core/InputGeneral.h"
#include "core/MonitorTagAccess.h"
#include "net/SocketProtocol.h"
#include "support/VbText.h"

namespace {

constexpr int16_t ScanRateRecorder = 17;
constexpr int16_t ScanRateTag = 24;
constexpr int16_t ScanPulseTag = 22;
constexpr int16_t ScanTotalRecorder = 21;

class InputGeneral : public ScanTest {
protected:
    TagRecord& Display(int n, int16_t isTag, int16_t source) {
        TagRecord& record = Tag(n);
        record.Online = 1;
        record.TagType = TagTypeDisplay;
        record.DisplaySourceIsTag = isTag;
        record.DisplaySource = source;
        return record;
    }
};
class InputGeneralV4 : public ScanTestV4 {};

void LineFields(TagRecord& record, int16_t recorder, int16_t page, int16_t line) {
    record.RecorderNo = recorder;
    record.PageNo = page;
    record.LineNo = line;
}

}  // namespace

TEST_F(InputGeneral, ReadsHostTagsAndLinesOfAV5Host) {
    TagRecord& tag = Measured(1, ScanRateTag);
    tag.PageNo = 12;  // the host tag number
    tag.HostTagNumber = 50;
    LineFields(Measured(2, ScanRateRecorder), 1, 2, 3);  // line 13: page 2, line 3
    Host().SetReading(HostTable::Tags, 11, 42.5f);
    Host().SetReading(HostTable::Lines, 12, 7.25f);
    At(60);

    Input_General(Scan());

    EXPECT_FLOAT_EQ(Value(1).Current, 42.5f);
    EXPECT_FLOAT_EQ(Value(2).Current, 7.25f);
    EXPECT_FLOAT_EQ(Host().Reading(HostTable::Tags, 49), 42.5f);  // the rate, back to the host
    EXPECT_EQ(view.Cell(1, 2), "42.50");
    EXPECT_EQ(view.Cell(2, 2), "7.25");
    // A minute at 42.5 an hour.
    EXPECT_NEAR(Value(1).Integrated, 42.5 / 60, 1e-4);
    EXPECT_EQ(view.Cell(1, 3), "0.71");
    EXPECT_NEAR(Value(1).LastReadTime, TestStart() + Seconds(60), Seconds(0.01));
    EXPECT_TRUE(LogLines().empty());
}

// A socket request served while the pass lets events run sees the tags done so far with this
// scan's values and the rest with the previous scan's.
TEST_F(InputGeneral, RequestsBetweenStepsSeeTheScanAsFarAsItHasGot) {
    for (int n : {1, 2}) {
        Measured(n, ScanRateTag).PageNo = static_cast<int16_t>(10 + n);
        Host().SetReading(HostTable::Tags, 9 + n, 100.0f * n);  // zero-based host tag
        Value(n).Current = static_cast<float>(n);
    }
    MonitorTagAccess access(setup, values);
    std::vector<std::string> replies;
    view.OnDoEvents = [&] {
        if (replies.empty() && view.Panels[StatusPanel::Panel3D2] == "Get Data for Tag 2")
            for (const char* request : {"[M1];Input", "[M2];Input"})
                replies.push_back(HandleRequest(request, "127.0.0.1", "1", access).Reply.value_or("none"));
    };
    At(10);
    Input_General(Scan());
    EXPECT_EQ(replies, (std::vector<std::string>{"[M1];Input;100.00", "[M2];Input;2.00"}));
    EXPECT_FLOAT_EQ(Value(2).Current, 200.0f);
}

TEST_F(InputGeneralV4, ReadsLinesByRecorderPageAndLineOfAV4Host) {
    LineFields(Measured(1, ScanTotalRecorder), 2, 3, 4);  // line 124
    Measured(2, ScanRateTag).PageNo = 12;
    Host().SetReading(HostTable::Lines, 123, 3.5f);
    Host().SetReading(HostTable::Tags, 11, 9.0f);

    Input_General(Scan());
    EXPECT_FLOAT_EQ(Value(1).Current, 3.5f);
    EXPECT_FLOAT_EQ(Value(1).Integrated, 3.5f);
    EXPECT_FLOAT_EQ(Value(2).Current, 9.0f);
}

TEST_F(InputGeneral, MeasuredThenMathsThenDisplayTags) {
    // Three pulse meters in the site total or not, one in center 2.
    for (int n : {1, 2, 3}) {
        TagRecord& meter = Measured(n, ScanPulseTag);
        meter.PageNo = static_cast<int16_t>(100 + n);
        meter.InTotal = n == 2 ? 0 : 1;
        meter.CenterNo = n == 3 ? 2 : 1;
        Value(n).PulseTime = TestStart();
    }
    Host().SetReading(HostTable::Tags, 100, 10);
    Host().SetReading(HostTable::Tags, 101, 20);
    Host().SetReading(HostTable::Tags, 102, 40);
    // Tag 5 = tag 1 + tag 3 (this scan's values); display tag 6 shows it, 7 the site, 8 center 2.
    // A maths tag and a display tag count in no total whatever their settings; a log-file tag
    // does, and keeps the imported values. An off-line tag's cells are emptied.
    TagRecord& maths = Measured(5, ScanTypeMaths);
    for (auto& term : maths.MathsTerms) term.TermTag = 200;
    maths.MathsTerms[0] = {1, 0, 1.0f};
    maths.MathsTerms[1] = {3, 1, 1.0f};
    TagRecord& shown = Display(6, 1, 5);
    LineFields(shown, 1, 5, 1);  // line 41
    Display(7, 0, 0);
    Display(8, 0, 2);
    TagRecord& logged = Measured(9, ScanTypeFromLogFile);
    for (TagRecord* r : {&maths, &shown, &logged}) r->InTotal = 1, r->CenterNo = 2;
    Value(9).Current = 4;
    Value(9).Integrated = 11;
    view.Cells[{10, 2}] = "old";
    view.Cells[{10, 3}] = "old";
    At(60);

    Input_General(Scan());

    EXPECT_FLOAT_EQ(Value(5).Integrated, 10.0f + 40.0f);
    EXPECT_EQ(view.Cell(5, 3), "50.00");
    EXPECT_FLOAT_EQ(Value(6).Integrated, 50.0f);
    EXPECT_FLOAT_EQ(Value(6).Current, 0.0f);
    EXPECT_FLOAT_EQ(Host().Reading(HostTable::Lines, 40), 50.0f);
    EXPECT_FLOAT_EQ(Value(7).Integrated, 10.0f + 40.0f + 11.0f);  // tag 2 is not in the total
    EXPECT_FLOAT_EQ(Value(8).Integrated, 40.0f + 11.0f);
    EXPECT_EQ(view.Cell(7, 2), "");
    EXPECT_EQ(view.Cell(7, 3), "61.00");
    EXPECT_EQ(view.Cell(9, 2), "4.00");
    EXPECT_EQ(view.Cell(9, 3), "11.00");
    EXPECT_EQ(view.Cell(10, 2), "");
    EXPECT_EQ(view.Cell(10, 3), "");

    // Each text shown between two rounds of pending events; off-line tags 4 and 10 show none.
    const std::vector<int> online{1, 2, 3, 5, 6, 7, 8, 9};
    std::vector<std::string> expected;
    for (int n : online) expected.push_back("Get Data for Tag " + std::to_string(n));
    for (int n : online) expected.push_back("Calc Maths for Tag " + std::to_string(n));
    for (int n = 6; n <= 8; ++n) expected.push_back("Display Data for Tag " + std::to_string(n));
    EXPECT_EQ(view.StatusTexts, expected);
    EXPECT_EQ(view.DoEventsCalls, 2 * static_cast<int>(expected.size()));
}

TEST_F(InputGeneral, ScanLogLineHoldsEveryOnlineMeasuredTag) {
    settings.ScanLogging = 1;
    Measured(2, ScanRateTag).PageNo = 1;
    Measured(3, ScanRateTag).PageNo = 2;
    Display(4, 1, 2);
    Tag(5).TagType = TagTypeMeasured;  // off line
    Host().SetReading(HostTable::Tags, 0, 12.5f);
    Host().SetReading(HostTable::Tags, 1, -3.0f);
    Value(2).Integrated = 1043.2f;
    At(3600);

    Input_General(Scan());
    EXPECT_EQ(LogLines(), std::vector<std::string>{"M2,12.50,1055.70,12.50;M3,-3.00,-3.00,-3.00;"});

    settings.ScanLogging = 0;
    Input_General(Scan());
    EXPECT_EQ(LogLines().size(), 1u);
}

TEST_F(InputGeneral, ATableShorterThanTagCountEndsThePass) {
    Measured(1, ScanRateTag).PageNo = 1;
    Measured(7, ScanRateTag).PageNo = 1;
    Host().SetReading(HostTable::Tags, 0, 5);
    values.resize(5);

    Input_General(Scan());
    EXPECT_FLOAT_EQ(Value(1).Current, 5.0f);
    EXPECT_EQ(LogLines(), std::vector<std::string>{"Input_General, Error 9/ Subscript out of range"});
    EXPECT_TRUE(view.StatusTexts.size() == 1u && view.StatusTexts[0] == "Get Data for Tag 1");
}

// Whatever time events take between two tags shows in the later tag's time stamp and rate; and a
// display total added up before events ran is added up again after them.
TEST_F(InputGeneral, EventsBetweenTagsMoveTheTimeAndTheTotalsOn) {
    for (int n : {1, 2}) {
        TagRecord& meter = Measured(n, ScanRateTag);
        meter.PageNo = static_cast<int16_t>(10 + n);
        meter.InTotal = 1;
        Host().SetReading(HostTable::Tags, 9 + n, 60.0f);
    }
    Display(3, 0, 0);
    Display(4, 0, 0);
    At(60);
    view.OnDoEvents = [&] {
        const std::string& status = view.Panels[StatusPanel::Panel3D2];
        if (status == "Get Data for Tag 2") At(120);
        if (status == "Display Data for Tag 4") Value(1).Integrated = 100;
    };

    Input_General(Scan());

    EXPECT_NEAR(Value(1).LastReadTime, TestStart() + Seconds(60), Seconds(0.01));
    EXPECT_NEAR(Value(2).LastReadTime, TestStart() + Seconds(120), Seconds(0.01));
    EXPECT_NEAR(Value(2).Integrated, 2.0, 1e-4);  // two minutes at 60 an hour; tag 1 had one
    EXPECT_NEAR(Value(3).Integrated, 1.0 + 2.0, 1e-4);
    EXPECT_NEAR(Value(4).Integrated, 100 + 2.0, 1e-4);
}
