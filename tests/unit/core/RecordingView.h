#pragma once
// A main window for the monitor's tests: records every call in order as one readable line
// ("Panel3D2 Checking Setup File", "CloseMainWindow closed"), keeps the latest state of grid,
// panels and menus, answers message boxes as told, and closes as the real window does: by
// asking the monitor's closing rule.
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/MonitorCommands.h"
#include "core/MonitorView.h"
#include "net/SocketTrace.h"

class RecordingMonitorView : public MonitorView, public SocketTrace {
public:
    struct Message {
        std::string Text, Title;
        MessageIcon Icon;
    };

    void SetCommands(MonitorCommands& commands) { commands_ = &commands; }

    // Every call, in order.
    std::vector<std::string> Calls;
    // Panel3D2 texts in order, from SetPanelText and SetStatusText alike.
    std::vector<std::string> StatusTexts;
    std::vector<std::string> CountdownTexts;  // Panel3D4
    std::map<StatusPanel, std::string> Panels;
    std::map<StatusPanel, RgbColour> PanelColours;
    std::map<std::pair<int, int>, std::string> Cells;
    std::map<MenuItem, bool> Visible, Checked;
    std::vector<Message> Messages;
    int GridRows = -1;
    int DoEventsCalls = 0;
    bool Closed = false;     // the closing rule let the window close
    bool ProgramEnded = false;
    bool ViewLogAvailable = false;
    bool WaitOpen = false;   // the please-wait window is showing
    MessageAnswer AnswerYesNo = MessageAnswer::No;
    // Runs at every DoEvents: what a pending event would do in the middle of a scan.
    std::function<void()> OnDoEvents;

    std::string Cell(int row, int column) const {
        const auto found = Cells.find({row, column});
        return found == Cells.end() ? std::string("<unset>") : found->second;
    }
    int CountCalls(const std::string& call) const {
        int n = 0;
        for (const std::string& c : Calls) n += c == call ? 1 : 0;
        return n;
    }
    void Clear() {
        Calls.clear();
        StatusTexts.clear();
        CountdownTexts.clear();
    }

    void ShowWait(const std::string& caption) override {
        WaitOpen = true;
        Calls.push_back("ShowWait " + caption);
    }
    void SetWaitProgress(const std::string& text) override { Calls.push_back("SetWaitProgress " + text); }
    void DoEvents() override {
        ++DoEventsCalls;
        if (OnDoEvents) {
            // One event at a time, as the real loop: an action that lets events run does not recurse.
            auto action = std::move(OnDoEvents);
            action();
            if (!OnDoEvents) OnDoEvents = std::move(action);
        }
    }
    void SetGridCell(int row, int column, const std::string& text) override { Cells[{row, column}] = text; }
    void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) override {
        Messages.push_back({text, title, icon});
        Calls.push_back("ShowMessage " + title + ": " + text);
    }
    void EndProgram() override {
        ProgramEnded = true;
        Calls.push_back("EndProgram");
    }
    void StartProgram(const std::string& program, const std::string& arguments) override {
        Calls.push_back("StartProgram " + program + " " + arguments);
    }
    void CloseWait() override {
        WaitOpen = false;
        Calls.push_back("CloseWait");
    }
    void SetStatusText(const std::string& text) override {
        Panels[StatusPanel::Panel3D2] = text;
        StatusTexts.push_back(text);
        Calls.push_back("Panel3D2 " + text);
    }
    void ShowWaitMessage(const std::string& text) override { Calls.push_back("ShowWaitMessage " + text); }
    void SetViewLogAvailable(bool available) override {
        ViewLogAvailable = available;
        Calls.push_back(std::string("ViewLog ") + (available ? "on" : "off"));
    }
    void SetupGrid(int rows) override {
        GridRows = rows;
        Calls.push_back("SetupGrid " + std::to_string(rows));
    }
    void SetGridRowColour(int, int, int, RgbColour) override {}
    void SetPanelText(StatusPanel panel, const std::string& text) override {
        Panels[panel] = text;
        if (panel == StatusPanel::Panel3D2) {
            StatusTexts.push_back(text);
            Calls.push_back("Panel3D2 " + text);
        } else if (panel == StatusPanel::Panel3D4) {
            CountdownTexts.push_back(text);
            Calls.push_back("Panel3D4 " + text);
        }
    }
    void SetPanelColour(StatusPanel panel, RgbColour colour) override { PanelColours[panel] = colour; }
    void SetWatchdogLabel(bool on) override { Calls.push_back(std::string("WatchDog ") + (on ? "on" : "off")); }
    MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                      MessageIcon icon) override {
        Messages.push_back({text, title, icon});
        Calls.push_back("Ask " + title + ": " + text);
        return buttons == MessageButtons::YesNo ? AnswerYesNo : MessageAnswer::OK;
    }
    void SetMenuVisible(MenuItem item, bool visible) override { Visible[item] = visible; }
    void SetMenuChecked(MenuItem item, bool checked) override { Checked[item] = checked; }
    bool MenuChecked(MenuItem item) const override {
        const auto found = Checked.find(item);
        return found != Checked.end() && found->second;
    }
    void CloseLogWindow() override { Calls.push_back("CloseLogWindow"); }
    void CloseMainWindow() override {
        const bool close = commands_ == nullptr || commands_->QueryClose();
        if (close) Closed = true;
        Calls.push_back(std::string("CloseMainWindow ") + (close ? "closed" : "cancelled"));
    }
    bool Tracing() const override { return false; }
    void AddLog(const std::string&) override {}

private:
    MonitorCommands* commands_ = nullptr;
};
