#pragma once
// A scan's surroundings for the acquisition and calculation tests: the stand-in host installed in a
// temporary prefix, a simulated PC clock that stands still unless a test moves it, a tag table of
// 200 slots, and a view that records what the scan shows.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "../host/HostFixture.h"
#include "core/DdeInputLinks.h"
#include "core/MonitorView.h"
#include "core/ScanContext.h"
#include "files/MonitorSettings.h"
#include "files/SetupData.h"
#include "files/StoreContext.h"
#include "files/TagValues.h"
#include "host/Telvane.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "platform/Paths.h"
#include "support/Log.h"

#define REQUIRE_HOST_LIBRARIES() \
    if (!HostFixture::LibrariesBuilt()) GTEST_SKIP() << "host libraries not built in VT_BIN_DIR"

class RecordingView : public MonitorView {
public:
    std::map<std::pair<int, int>, std::string> Cells;
    std::map<int, RgbColour> RowColours;    // colour of columns 1..5 by row
    std::vector<std::string> StatusTexts;   // Panel3D2, in order
    std::vector<bool> WatchdogLabels;
    int DoEventsCalls = 0;

    bool HasCell(int row, int column) const { return Cells.count({row, column}) != 0; }
    std::string Cell(int row, int column) const {
        auto found = Cells.find({row, column});
        return found == Cells.end() ? std::string("<unset>") : found->second;
    }

    void ShowWait(const std::string&) override {}
    void SetWaitProgress(const std::string&) override {}
    void DoEvents() override { ++DoEventsCalls; }
    void SetGridCell(int row, int column, const std::string& text) override { Cells[{row, column}] = text; }
    void ShowMessage(const std::string&, const std::string&, MessageIcon) override {}
    void EndProgram() override {}
    void StartProgram(const std::string&, const std::string&) override {}
    void CloseWait() override {}
    void SetStatusText(const std::string& text) override { StatusTexts.push_back(text); }
    void ShowWaitMessage(const std::string&) override {}
    void SetViewLogAvailable(bool) override {}
    void SetupGrid(int) override {}
    void SetGridRowColour(int row, int columnFrom, int columnTo, RgbColour colour) override {
        if (columnFrom == 1 && columnTo == 5) RowColours[row] = colour;
    }
    void SetPanelText(StatusPanel panel, const std::string& text) override {
        if (panel == StatusPanel::Panel3D2) StatusTexts.push_back(text);
    }
    void SetPanelColour(StatusPanel, RgbColour) override {}
    void SetWatchdogLabel(bool on) override { WatchdogLabels.push_back(on); }
    MessageAnswer Ask(const std::string&, const std::string&, MessageButtons, MessageIcon) override {
        return MessageAnswer::No;
    }
    void SetMenuVisible(MenuItem, bool) override {}
    void SetMenuChecked(MenuItem, bool) override {}
    bool MenuChecked(MenuItem) const override { return false; }
    void CloseLogWindow() override {}
    void CloseMainWindow() override {}
};

// Times the tests start from: 19 November 2026, 10:00:00.
inline DateTime TestStart() { return MakeDateTime(2026, 11, 19, 10, 0, 0); }
inline DateTime Seconds(double n) { return n / 86400.0; }

class ScanFixture {
public:
    explicit ScanFixture(int generation = 5) {
        installed_ = host_.Install(generation);
        // Frozen for the test's purposes: a billionth of real speed.
        ClockSimulate(TestStart(), 1e-9);
        telvane_ = std::make_unique<Telvane>();
        setup.MaxTags = SetupTagSlots;
        setup.TagTable.assign(SetupTagSlots + 1, TagRecord{});
        values.assign(SetupTagSlots + 1, TagValue{});
        // As start-up leaves them: every tag last read now.
        for (TagValue& value : values) value.LastReadTime = TestStart();
        setup.TagCount = 20;
        settings.AverageScans = 5;
        state.StartingUp = 0;
        scan_ = std::make_unique<ScanContext>(
            ScanContext{setup, values, settings, state, *telvane_, view, dde, csvOnlyMode});
    }

    bool Installed() const { return installed_; }
    HostState& Host() { return host_.State(); }
    HostFixture& Fixture() { return host_; }
    ScanContext& Scan() { return *scan_; }
    Telvane& Telvn() { return *telvane_; }

    static DateTime Now() { return ClockNow(); }
    static void SetNow(DateTime when) { ClockSet(when); }

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

    // The main log's lines written since the fixture began, without their time stamps.
    std::vector<std::string> LogLines() const {
        std::vector<std::string> lines;
        std::ifstream in(LocalPath(MainLogPath()), std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::size_t start = 0;
        while (start < text.size()) {
            std::size_t end = text.find("\r\n", start);
            if (end == std::string::npos) end = text.size();
            std::string line = text.substr(start, end - start);
            const std::size_t dash = line.find(" - ");
            lines.push_back(dash == std::string::npos ? line : line.substr(dash + 3));
            start = end + 2;
        }
        return lines;
    }

    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    MonitorState state;
    RecordingView view;
    DdeInputLinks dde;
    int16_t csvOnlyMode = 0;

private:
    HostFixture host_;
    bool installed_ = false;
    std::unique_ptr<Telvane> telvane_;
    std::unique_ptr<ScanContext> scan_;
};
