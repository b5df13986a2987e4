#pragma once
// The one QApplication of the ui tests (offscreen), a recording MonitorCommands, and a helper that
// answers the next modal box.
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <QWidget>

#include "core/MonitorCommands.h"

inline QApplication& UiApp() {
    static int argc = 1;
    static char name[] = "test_ui";
    static char* argv[] = {name, nullptr};
    static QApplication* app = [] {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        return new QApplication(argc, argv);
    }();
    return *app;
}

class FakeCommands : public MonitorCommands {
public:
    bool QueryClose() override {
        Calls.push_back("QueryClose");
        return AllowClose;
    }
    void RequestExit() override { Calls.push_back("RequestExit"); }
    void ReloadSetup() override { Calls.push_back("ReloadSetup"); }
    void StartSetupProgram() override { Calls.push_back("StartSetupProgram"); }
    void StartReportProgram() override { Calls.push_back("StartReportProgram"); }
    void ViewLog() override { Calls.push_back("ViewLog"); }
    AboutInfo About() const override { return Info; }

    bool AllowClose = true;
    AboutInfo Info;
    std::vector<std::string> Calls;
};

// Runs the event loop for ms milliseconds.
inline void Pump(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Once a modal window appears, hands it to act (which should close it). Polls, since the
// window only appears inside the exec() that the test then calls.
inline void WhenModalAppears(std::function<void(QWidget*)> act) {
    auto* poll = new QTimer;
    poll->setInterval(10);
    QObject::connect(poll, &QTimer::timeout, [poll, act] {
        if (QWidget* modal = QApplication::activeModalWidget()) {
            poll->stop();
            poll->deleteLater();
            act(modal);
        }
    });
    poll->start();
}
