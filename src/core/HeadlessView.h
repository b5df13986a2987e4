#pragma once
// The monitor's screen when there is none: panels and grid go nowhere, message boxes go to the
// main log and are answered with their default button, and closing the window ends the event
// loop when the monitor's closing rule lets it.
#include <array>
#include <cstdint>
#include <map>
#include <string>

#include "core/MonitorCommands.h"
#include "core/MonitorView.h"
#include "net/SocketTrace.h"

class HeadlessView : public MonitorView, public SocketTrace {
public:
    HeadlessView() : MonitorView(false) {}
    void SetCommands(MonitorCommands& commands) { commands_ = &commands; }

    // SetupLoadView
    void ShowWait(const std::string& caption) override;
    void SetWaitProgress(const std::string& text) override;
    void DoEvents() override;
    void SetGridCell(int row, int column, const std::string& text) override;
    void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) override;
    void EndProgram() override;
    void StartProgram(const std::string& program, const std::string& arguments) override;
    // StoreFileView
    void CloseWait() override;
    void SetStatusText(const std::string& text) override;
    // SettingsView
    void ShowWaitMessage(const std::string& text) override;
    void SetViewLogAvailable(bool available) override;
    // MonitorView
    void SetupGrid(int rows) override;
    void SetGridRowColour(int row, int columnFrom, int columnTo, RgbColour colour) override;
    void SetPanelText(StatusPanel panel, const std::string& text) override;
    bool ScanStep(const char* step, int tag) override;
    // DoEvents, telling whether events ran this time. Only every fourth request looks.
    bool LetEventsIn() { return ++eventRequests_ % 4 == 1 && LookForEvents(); }
    void SetPanelColour(StatusPanel panel, RgbColour textColour) override;
    void SetWatchdogLabel(bool on) override;
    MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                      MessageIcon icon) override;
    void SetMenuVisible(MenuItem item, bool visible) override;
    void SetMenuChecked(MenuItem item, bool checked) override;
    bool MenuChecked(MenuItem item) const override;
    void CloseLogWindow() override;
    void CloseMainWindow() override;
    // SocketTrace: there is no socket log window to trace into.
    bool Tracing() const override { return false; }
    void AddLog(const std::string&) override {}

    // The latest text of a status panel.
    std::string PanelText(StatusPanel panel) const;
    // True once the window has closed (the event loop was asked to end); the exit code then.
    bool Closed() const { return closed_; }
    int ExitCode() const { return exitCode_; }

private:
    bool LookForEvents();
    void Quit(int exitCode);

    MonitorCommands* commands_ = nullptr;
    std::array<std::string, 3> panels_;  // by StatusPanel
    // The scan's latest step while it is newer than Panel3D2's text; its text is made when asked for.
    const char* step_ = nullptr;
    int stepTag_ = 0;
    int64_t lastEventsMs_ = -1;  // CoarseMonotonicMs of the last DoEvents that let events in
    uint32_t eventRequests_ = 0;
    std::map<MenuItem, bool> checked_;
    bool closed_ = false;
    int exitCode_ = 0;
};
