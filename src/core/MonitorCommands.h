#pragma once
// What the main window's menus and its close button ask of the monitor. The monitor implements it;
// the ui calls it and never decides these rules itself.
#include <string>

// Everything the About box shows that only the monitor knows.
struct AboutInfo {
    std::string TelvaneVersion;   // the host object's Version text
    std::string SetupIniFile;
    std::string SetupMtgFile;
    int SocketPort = 0;           // local port of the socket server
    bool SocketListening = false;
};

class MonitorCommands {
public:
    virtual ~MonitorCommands() = default;
    // The closing rule, asked whenever the main window is about to close. True: the window closes and
    // the process ends. False: the close is cancelled (the host has been asked to close instead).
    virtual bool QueryClose() = 0;
    // Log > Exit: the next close ends the monitor whatever the host does.
    virtual void RequestExit() = 0;
    // Options > Reload setup (hidden item).
    virtual void ReloadSetup() = 0;
    // Options > Start Setup... / Start vtreport... / View Log.
    virtual void StartSetupProgram() = 0;
    virtual void StartReportProgram() = 0;
    virtual void ViewLog() = 0;
    virtual AboutInfo About() const = 0;
};
