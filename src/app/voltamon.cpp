// voltamon: the monitor. With a display it shows its main window; with --headless, or with no
// display at all, the same monitor runs on the event loop alone, its messages going to the log.
#include <QApplication>
#include <QCoreApplication>
#include <cstdlib>
#include <cstring>

#include "core/HeadlessView.h"
#include "core/Monitor.h"
#include "platform/Programs.h"
#include "ui/frmMain.h"

namespace {

bool HasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') return true;
    }
    return false;
}

bool HeadlessAsked(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--headless") == 0) return true;
    return false;
}

int RunHeadless(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(Monitor::Caption);
    HeadlessView view;
    Monitor monitor(view, view);
    view.SetCommands(monitor);
    monitor.Form_Load();
    if (view.Closed() || monitor.Ended()) return view.ExitCode();
    monitor.StartTimer();
    const int code = app.exec();
    return view.Closed() ? view.ExitCode() : code;
}

int RunWindowed(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(Monitor::Caption);
    frmMain window;
    Monitor monitor(window, window);
    window.SetCommands(monitor);
    monitor.SetStage2Hook([&window] { window.Stage2Begun(); });
    monitor.Form_Load();
    if (monitor.Ended()) return 1;
    window.show();
    monitor.StartTimer();
    return app.exec();
}

}  // namespace

int main(int argc, char** argv) {
    SetCommandLine(argc, argv);
    if (HeadlessAsked(argc, argv) || !HasDisplay()) return RunHeadless(argc, argv);
    return RunWindowed(argc, argv);
}
