#pragma once
// The monitor's main window: the tag grid, the three status panels, the watchdog label and the
// menus. It shows what the monitor tells it (MonitorView) and passes menu commands and close
// requests on (MonitorCommands); it decides none of the monitor's rules itself.
#include <memory>
#include <string>

#include <QMainWindow>

#include "core/MonitorCommands.h"
#include "core/MonitorView.h"
#include "net/SocketTrace.h"
#include "ui/MainLayout.h"

class QAction;
class QLabel;
class QMenu;
class QTableWidget;
class Pleasewait;
class frmLog;

class frmMain : public QMainWindow, public MonitorView, public SocketTrace {
public:
    explicit frmMain(MonitorCommands* commands = nullptr);
    ~frmMain() override;

    void SetCommands(MonitorCommands& commands) { commands_ = &commands; }

    // Start-up stage 2 has begun: from now on the please-wait window's timer closes it.
    void Stage2Begun() { stage2Begun_ = true; }

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
    void SetPanelColour(StatusPanel panel, RgbColour textColour) override;
    void SetWatchdogLabel(bool on) override;
    MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                      MessageIcon icon) override;
    void SetMenuVisible(MenuItem item, bool visible) override;
    void SetMenuChecked(MenuItem item, bool checked) override;
    bool MenuChecked(MenuItem item) const override;
    void CloseLogWindow() override;
    void CloseMainWindow() override;
    // SocketTrace
    bool Tracing() const override;
    void AddLog(const std::string& text) override;

    // Lays the window out as for this outer size in twips (what every resize does).
    void LayoutFor(int windowWidth, int windowHeight);
    const MainLayout& Layout() const { return layout_; }

    QTableWidget* Grid1() const { return grid_; }
    QLabel* Panel(StatusPanel panel) const;
    QLabel* lblWatchDog() const { return watchdog_; }
    Pleasewait* PleasewaitWindow() const { return pleasewait_; }
    frmLog* LogWindow() const { return log_; }
    QMenu* opts() const { return opts_; }
    QMenu* mnuHelp() const { return help_; }
    QMenu* mnuLog() const { return logMenu_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void BuildMenus();
    void BuildPanels(QWidget* inner);
    QAction* Action(MenuItem item) const;
    void ShowSocketLog();
    void HideSocketLog();
    void ShowAbout();
    void ApplyColumnWidths();

    MonitorCommands* commands_ = nullptr;
    MainLayout layout_;
    bool stage2Begun_ = false;
    bool endingProgram_ = false;
    bool shownOnce_ = false;

    QTableWidget* grid_ = nullptr;
    QLabel* panel3D4_ = nullptr;
    QLabel* panel3D2_ = nullptr;
    QLabel* panel3D1_ = nullptr;
    QLabel* watchdog_ = nullptr;
    Pleasewait* pleasewait_ = nullptr;
    frmLog* log_ = nullptr;

    QMenu* opts_ = nullptr;
    QMenu* help_ = nullptr;
    QMenu* logMenu_ = nullptr;
    QAction* ldstup_ = nullptr;
    QAction* setcontrolit_ = nullptr;
    QAction* viewLog_ = nullptr;
    QAction* helpHelp_ = nullptr;
    QAction* windowsSocket_ = nullptr;
};

// The main window the program shows, answering to the monitor's commands.
std::unique_ptr<frmMain> CreateMainWindow(MonitorCommands& commands);
