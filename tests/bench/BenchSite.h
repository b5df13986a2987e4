#pragma once
// The 200-tag site the scan and socket benchmarks run against: 180 meters of every host kind on a V5
// stand-in host, 10 maths tags over them and 10 display tags showing them.
#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>

#include "common/QuietViews.h"
#include "core/DdeInputLinks.h"
#include "core/InputGeneral.h"
#include "core/MonitorView.h"
#include "core/ScanContext.h"
#include "host/Telvane.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "unit/host/HostFixture.h"

inline constexpr int Tags = 200;
inline constexpr int MeasuredTags = 180;  // then 10 maths tags and 10 display tags
inline constexpr int16_t ScanTypes[] = {17, 24, 23, 22, 21, 28};

// The scan's screen: nothing shown; DoEvents runs what the benchmark hooks there (pending Qt events, or nothing).
class QuietView : public QuietSetupLoad<MonitorView> {
public:
    std::function<void()> OnDoEvents;
    void DoEvents() override {
        if (OnDoEvents) OnDoEvents();
    }
    void CloseWait() override {}
    void SetStatusText(const std::string&) override {}
    void ShowWaitMessage(const std::string&) override {}
    void SetViewLogAvailable(bool) override {}
    void SetupGrid(int) override {}
    void SetGridRowColour(int, int, int, RgbColour) override {}
    void SetPanelText(StatusPanel, const std::string&) override {}
    void SetPanelColour(StatusPanel, RgbColour) override {}
    void SetWatchdogLabel(bool) override {}
    MessageAnswer Ask(const std::string&, const std::string&, MessageButtons, MessageIcon) override {
        return MessageAnswer::No;
    }
    void SetMenuVisible(MenuItem, bool) override {}
    void SetMenuChecked(MenuItem, bool) override {}
    bool MenuChecked(MenuItem) const override { return false; }
    void CloseLogWindow() override {}
    void CloseMainWindow() override {}
};

// 200 online tags on a V5 stand-in host: 180 meters of every host kind, 10 maths tags, 10 display tags.
struct ScanSite {
    HostFixture host;
    bool ready = false;
    std::unique_ptr<Telvane> telvane;
    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    MonitorState state;
    QuietView view;
    DdeInputLinks dde;
    int16_t csvOnly = 0;
    std::unique_ptr<ScanContext> scan;
    float step = 0;
    int scans = 0;

    static bool ReadsLine(int16_t scanType) { return scanType == 17 || scanType == 23 || scanType == 21; }

    ScanSite() {
        if (!HostFixture::LibrariesBuilt() || !host.Install(5)) return;
        ClockSimulate(MakeDateTime(2026, 11, 19, 10, 0, 0), 1);
        telvane = std::make_unique<Telvane>();
        setup.MaxTags = Tags;
        setup.TagCount = Tags;
        setup.TagTable.assign(Tags + 1, TagRecord{});
        values.assign(Tags + 1, TagValue{});
        settings.AverageScans = 5;
        state.StartingUp = 0;
        for (int n = 1; n <= Tags; ++n) {
            TagRecord& record = setup.TagTable[n];
            record.Online = 1;
            record.TagType = TagTypeMeasured;
            record.UnitsPerPulse = 1;
            record.InTotal = 1;
            if (n <= MeasuredTags) {
                record.ScanType = ScanTypes[n % 6];
                if (ReadsLine(record.ScanType)) {
                    record.RecorderNo = 1;
                    record.PageNo = static_cast<int16_t>((n - 1) / 10 + 1);
                    record.LineNo = static_cast<int16_t>((n - 1) % 10 + 1);
                } else {
                    record.PageNo = static_cast<int16_t>(n);
                }
                record.HostTagNumber = static_cast<int16_t>(1000 + n);
                record.RolloverValue = 1e6f;
            } else if (n <= MeasuredTags + 10) {
                record.ScanType = ScanTypeMaths;
                for (auto& term : record.MathsTerms) term = {static_cast<int16_t>(Tags), 0, 0};
                record.MathsTerms[0] = {static_cast<int16_t>(n - MeasuredTags), 0, 1.0f};
                record.MathsTerms[1] = {static_cast<int16_t>(n - MeasuredTags + 20), 2, 0.5f};
            } else {
                record.TagType = TagTypeDisplay;
                record.DisplaySourceIsTag = n % 2;
                record.DisplaySource = static_cast<int16_t>(n % 2 ? n - 10 : 0);
                record.RecorderNo = 1;
                record.PageNo = 50;
                record.LineNo = static_cast<int16_t>(n - MeasuredTags - 10);
            }
            values[n].LastReadTime = ClockNow();
            values[n].PulseTime = values[n].LastReadTime;
        }
        scan = std::make_unique<ScanContext>(ScanContext{setup, values, settings, state, *telvane, view, dde, csvOnly});
        ready = true;
    }

    // The same site scanned onto another view.
    std::unique_ptr<ScanContext> ScanOn(MonitorView& screen) {
        return std::make_unique<ScanContext>(ScanContext{setup, values, settings, state, *telvane, screen, dde, csvOnly});
    }

    // The meters move on between scans, as the host's own scan would move them.
    void Advance() {
        step += 1;
        HostState& points = host.State();
        for (int i = 0; i < MeasuredTags; ++i) {
            points.SetReading(HostTable::Tags, i, step * 0.5f + static_cast<float>(i));
            points.SetReading(HostTable::Lines, i, step * 0.5f + static_cast<float>(i));
        }
    }

    void ScanOnce() {
        Advance();
        Input_General(*scan);
        ++scans;
    }

    // What the pass asks of the host, without the pass: one read per meter, one rate write per meter,
    // one value write per display tag.
    void BareHostCalls() {
        HostLibraries& libs = telvane->Libraries();
        float sum = 0;
        for (int n = 1; n <= MeasuredTags; ++n) {
            const TagRecord& record = setup.TagTable[n];
            if (ReadsLine(record.ScanType)) sum += libs.GetLineReadingEx(record.PageNo, record.LineNo).Value;
            else sum += libs.GetTagReading(record.PageNo - 1).Value;
            libs.SetTagOutputValueEx(record.HostTagNumber - 1, sum, 0, 0);
        }
        for (int line = 491; line <= 500; ++line) libs.SetLineParamData(line - 1, 101, sum);
        benchmark::DoNotOptimize(sum);
    }
};

