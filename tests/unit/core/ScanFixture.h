#pragma once
// A scan's surroundings for the acquisition and calculation tests: the stand-in host installed in a
// temporary prefix, a simulated PC clock that stands still unless a test moves it, a tag table of
// 200 slots, and a view that records what the scan shows.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "../host/HostFixture.h"
#include "RecordingView.h"
#include "core/DdeInputLinks.h"
#include "core/ScanContext.h"
#include "host/Telvane.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"

// Times the tests start from: 19 November 2026, 10:00:00.
inline DateTime TestStart() { return MakeDateTime(2026, 11, 19, 10, 0, 0); }
inline DateTime Seconds(double n) { return n / 86400.0; }

class ScanTest : public ::testing::Test {
protected:
    explicit ScanTest(int generation = 5) : generation_(generation) {}

    void SetUp() override {
        if (!HostFixture::LibrariesBuilt()) GTEST_SKIP() << "host libraries not built in VT_BIN_DIR";
        ASSERT_TRUE(host_.Install(generation_));
        // Frozen for the test's purposes: a billionth of real speed.
        ClockSimulate(TestStart(), 1e-9);
        telvane_ = std::make_unique<Telvane>();
        setup.MaxTags = SetupTagSlots;
        setup.TagTable.assign(SetupTagSlots + 1, TagRecord{});
        // As start-up leaves them: every tag last read now.
        values.assign(SetupTagSlots + 1, TagValue{});
        for (TagValue& value : values) value.LastReadTime = TestStart();
        setup.TagCount = 20;
        settings.AverageScans = 5;
        state.StartingUp = 0;
        scan_ = std::make_unique<ScanContext>(ScanContext{setup, values, settings, state, *telvane_, view, dde, csvOnlyMode});
    }

    HostState& Host() { return host_.State(); }
    ScanContext& Scan() { return *scan_; }
    Telvane& Telvn() { return *telvane_; }
    static DateTime Now() { return ClockNow(); }
    static void SetNow(DateTime when) { ClockSet(when); }
    static void At(double seconds) { ClockSet(TestStart() + Seconds(seconds)); }
    static std::vector<std::string> LogLines() { return MainLogLines(); }

    TagRecord& Tag(int n) { return setup.TagTable[n]; }
    TagValue& Value(int n) { return values[n]; }
    // An online measured tag of the scan type, units per pulse 1.
    TagRecord& Measured(int n, int16_t scanType) {
        TagRecord& record = setup.TagTable[n];
        record.Online = 1;
        record.TagType = TagTypeMeasured;
        record.ScanType = scanType;
        record.UnitsPerPulse = 1;
        return record;
    }

    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    MonitorState state;
    RecordingMonitorView view;
    DdeInputLinks dde;
    int16_t csvOnlyMode = 0;

private:
    int generation_;
    HostFixture host_;
    std::unique_ptr<Telvane> telvane_;
    std::unique_ptr<ScanContext> scan_;
};

// The same against a V4 host.
class ScanTestV4 : public ScanTest {
protected:
    ScanTestV4() : ScanTest(4) {}
};
