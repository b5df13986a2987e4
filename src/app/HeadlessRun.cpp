#include "app/HeadlessRun.h"

#include <QCoreApplication>
#include <cstdio>

#include "core/HeadlessView.h"
#include "core/Monitor.h"
#include "platform/Programs.h"
#include "platform/TermSignals.h"

int RunHeadless(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(Monitor::Caption);
    HeadlessView view;
    Monitor monitor(view, view);
    view.SetCommands(monitor);
    bool signalled = false;
    // A stop asked by the service manager or Ctrl-C is Log > Exit: the monitor ends, the host stays.
    OnTermSignal([&monitor, &view, &signalled] {
        signalled = true;
        monitor.RequestExit();
        view.CloseMainWindow();
    });
    monitor.Form_Load();
    if (view.Closed() || monitor.Ended()) return view.ExitCode();
    monitor.StartTimer();
    const int code = app.exec();
    if (!signalled && !monitor.HostJobRunning())
        std::fprintf(stderr, "%s: the host job is not running: the monitor ends with it\n", ProgramName().c_str());
    return view.Closed() ? view.ExitCode() : code;
}
