#pragma once
// A main window for the monitor's tests: records calls in order as readable lines ("Panel3D2
// Checking Setup File", "CloseMainWindow closed"), keeps the latest grid, panels and menus, answers
// message boxes as told, and closes as the real window does: by asking the monitor's closing rule.
#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/MonitorCommands.h"
#include "core/MonitorView.h"
#include "net/SocketTrace.h"
#include "platform/Paths.h"
#include "support/Log.h"

// The main log's lines without their time stamps.
inline std::vector<std::string> MainLogLines() {
    std::ifstream in(LocalPath(MainLogPath()), std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<std::string> lines;
    for (std::size_t start = 0, end = 0; start < text.size(); start = end + 2) {
        end = std::min(text.find("\r\n", start), text.size());
        const std::string line = text.substr(start, end - start);
        const std::size_t dash = line.find(" - ");
        lines.push_back(dash == std::string::npos ? line : line.substr(dash + 3));
    }
    return lines;
}

class RecordingMonitorView : public MonitorView, public SocketTrace {
public:
    struct Message {
        std::string Text, Title;
        MessageIcon Icon;
    };
    void SetCommands(MonitorCommands& commands) { commands_ = &commands; }

    std::vector<std::string> Calls, StatusTexts, CountdownTexts;  // Panel3D2 and Panel3D4 texts in order
    std::map<StatusPanel, std::string> Panels;
    std::map<StatusPanel, RgbColour> PanelColours;
    std::map<std::pair<int, int>, std::string> Cells;
    std::map<int, RgbColour> RowColours;  // of columns 1..5
    std::map<MenuItem, bool> Visible, Checked;
    std::vector<Message> Messages;
    int DoEventsCalls = 0;
    bool Closed = false, ViewLogAvailable = false;
    MessageAnswer AnswerYesNo = MessageAnswer::No;
    // Runs at every DoEvents: what a pending event would do in the middle of a scan.
    std::function<void()> OnDoEvents;

    std::string Cell(int row, int column) const {
        const auto found = Cells.find({row, column});
        return found == Cells.end() ? std::string("<unset>") : found->second;
    }
    int CountCalls(const std::string& call) const { return static_cast<int>(std::count(Calls.begin(), Calls.end(), call)); }
    void Clear() {
        Calls.clear();
        StatusTexts.clear();
        CountdownTexts.clear();
    }

    void ShowWait(const std::string& caption) override { Call("ShowWait " + caption); }
    void SetWaitProgress(const std::string&) override {}
    void DoEvents() override {
        ++DoEventsCalls;
        if (!OnDoEvents) return;
        // One event at a time, as the real loop: an action that lets events run does not recurse.
        auto action = std::move(OnDoEvents);
        action();
        if (!OnDoEvents) OnDoEvents = std::move(action);
    }
    void SetGridCell(int row, int column, const std::string& text) override { Cells[{row, column}] = text; }
    void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) override {
        Messages.push_back({text, title, icon});
    }
    void EndProgram() override {}
    void StartProgram(const std::string& program, const std::string&) override { Call("StartProgram " + program); }
    void CloseWait() override { Call("CloseWait"); }
    void SetStatusText(const std::string& text) override { SetPanelText(StatusPanel::Panel3D2, text); }
    void ShowWaitMessage(const std::string& text) override { Call("ShowWaitMessage " + text); }
    void SetViewLogAvailable(bool available) override { ViewLogAvailable = available; }
    void SetupGrid(int rows) override { Call("SetupGrid " + std::to_string(rows)); }
    void SetGridRowColour(int row, int from, int to, RgbColour colour) override {
        if (from == 1 && to == 5) RowColours[row] = colour;
    }
    void SetPanelText(StatusPanel panel, const std::string& text) override {
        Panels[panel] = text;
        if (panel == StatusPanel::Panel3D2) StatusTexts.push_back(text), Call("Panel3D2 " + text);
        if (panel == StatusPanel::Panel3D4) CountdownTexts.push_back(text);
    }
    void SetPanelColour(StatusPanel panel, RgbColour colour) override { PanelColours[panel] = colour; }
    void SetWatchdogLabel(bool on) override { Call(std::string("WatchDog ") + (on ? "on" : "off")); }
    MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                      MessageIcon icon) override {
        Messages.push_back({text, title, icon});
        return buttons == MessageButtons::YesNo ? AnswerYesNo : MessageAnswer::OK;
    }
    void SetMenuVisible(MenuItem item, bool visible) override { Visible[item] = visible; }
    void SetMenuChecked(MenuItem item, bool checked) override { Checked[item] = checked; }
    bool MenuChecked(MenuItem item) const override { return Checked.count(item) && Checked.at(item); }
    void CloseLogWindow() override { Call("CloseLogWindow"); }
    void CloseMainWindow() override {
        const bool close = commands_ == nullptr || commands_->QueryClose();
        Closed = Closed || close;
        Call(std::string("CloseMainWindow ") + (close ? "closed" : "cancelled"));
    }
    bool Tracing() const override { return false; }
    void AddLog(const std::string&) override {}

private:
    void Call(std::string line) { Calls.push_back(std::move(line)); }
    MonitorCommands* commands_ = nullptr;
};
