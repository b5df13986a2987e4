#pragma once
// The one offscreen QApplication of the ui tests, a recording MonitorCommands, and a helper that
// answers the next modal window.
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

#include "core/MonitorCommands.h"
#include "ui/Twips.h"
#include "ui/WindowPlacement.h"

inline QApplication& UiApp() {
    static int argc = 1;
    static char name[] = "test_ui";
    static char* argv[] = {name, nullptr};
    static QApplication* app = (setenv("QT_QPA_PLATFORM", "offscreen", 1), new QApplication(argc, argv));
    return *app;
}

class FakeCommands : public MonitorCommands {
public:
    bool QueryClose() override { return Calls.push_back("QueryClose"), AllowClose; }
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

inline void Pump(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Hands the next modal window to act (which closes it). Polls, since the window appears only
// inside the exec() the test calls next.
inline void WhenModalAppears(std::function<void(QWidget*)> act) {
    auto* poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, act] {
        if (QWidget* modal = QApplication::activeModalWidget()) {
            poll->deleteLater();
            poll->stop();
            act(modal);
        }
    });
    poll->start(10);
}

// Centred across the screen, and 1/down of the way down (0: not checked), within a pixel.
inline void ExpectPlaced(const QWidget& w, int down) {
    EXPECT_NEAR(PixelsToTwipsX(w.frameGeometry().left()), (ScreenWidthTwips() - WindowWidthTwips(w)) / 2, TwipsPerPixelX());
    if (down) {
        EXPECT_NEAR(PixelsToTwipsY(w.frameGeometry().top()), (ScreenHeightTwips() - WindowHeightTwips(w)) / down,
                    TwipsPerPixelY());
    }
}
