// voltamon: the monitor. With a display it shows its main window; with --headless, or with no
// display at all, the same monitor runs on the event loop alone, its messages going to stderr
// and the log.
#include <QApplication>
#include <cstdlib>

#include "app/HeadlessRun.h"
#include "app/MonitorCommandLine.h"
#include "core/Monitor.h"
#include "platform/Programs.h"
#include "platform/TermSignals.h"
#include "ui/frmMain.h"

namespace {

bool HasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') return true;
    }
    return false;
}

int RunWindowed(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(Monitor::Caption);
    frmMain window;
    Monitor monitor(window, window);
    window.SetCommands(monitor);
    monitor.SetStage2Hook([&window] { window.Stage2Begun(); });
    OnTermSignal([&monitor, &window] {
        monitor.RequestExit();
        window.CloseMainWindow();
    });
    monitor.Form_Load();
    if (monitor.Ended()) return 1;
    window.show();
    monitor.StartTimer();
    return app.exec();
}

}  // namespace

int main(int argc, char** argv) {
    const MonitorCommandLine line = ReadMonitorCommandLine(argc, argv, true);
    if (line.Action == CommandLineAction::Exit) return line.ExitCode;
    SetCommandLine(argc, argv);
    if (line.Headless || !HasDisplay()) return RunHeadless(argc, argv);
    return RunWindowed(argc, argv);
}
