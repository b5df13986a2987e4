#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include <utime.h>

#include <QLabel>
#include <QPushButton>

#include "common/TempPrefix.h"
#include "ui/AboutText.h"
#include "ui/Twips.h"
#include "ui/WindowPlacement.h"
#include "ui/frmAbout.h"
#include "ui/frmMain.h"
#include "UiTestSupport.h"

namespace {

class frmAboutTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UiApp(); }

    // A program file of the given size, last changed on 5 Mar 2024 at 14:07:09 local time.
    std::string ProgramFile(std::size_t bytes) {
        const auto path = prefix.ProgramDir() / "voltamon";
        TempPrefix::Write(path, std::string(bytes, 'x'));
        std::tm when{};
        when.tm_year = 124;
        when.tm_mon = 2;
        when.tm_mday = 5;
        when.tm_hour = 14;
        when.tm_min = 7;
        when.tm_sec = 9;
        when.tm_isdst = -1;
        const utimbuf times{std::mktime(&when), std::mktime(&when)};
        utime(path.c_str(), &times);
        return path.string();
    }

    TempPrefix prefix;
};

std::string Version() {
    return "Version " + std::to_string(VT_VERSION_MAJOR) + "." + std::to_string(VT_VERSION_MINOR) + "." +
           std::to_string(VT_VERSION_PATCH);
}

TEST_F(frmAboutTest, CaptionVersionLinesAndProgramFile) {
    AboutInfo info{"5.20", "C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini", "C:\\Telvane\\Job1\\Setup\\Site.MTG", 1007,
                   true};
    frmAbout about(info, ProgramFile(1500));
    EXPECT_EQ(about.windowTitle(), "About Voltaris Monitor");
    EXPECT_EQ(Version(), "Version 0.1.0");
    EXPECT_EQ(about.lblVersion()->text().toStdString(),
              Version() +
                  "\n(Telvane Version = 5.20)"
                  "\n(C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini)"
                  "\n(C:\\Telvane\\Job1\\Setup\\Site.MTG)"
                  "\nWindows Socket Local Port 1007 is listening.");
    const std::string description = about.lblDescription()->text().toStdString();
    const std::string ending = "\n\nVOLTAMON.EXE, 05/03/2024 14:07:09, 1.5Kb.";
    ASSERT_GE(description.size(), ending.size());
    EXPECT_EQ(description.substr(description.size() - ending.size()), ending);
}

TEST_F(frmAboutTest, SocketNotListeningAndSizesInThousands) {
    AboutInfo info;
    info.SocketPort = 2001;
    info.SocketListening = false;
    const std::string lines = AboutVersionText(1, 2, 3, info);
    EXPECT_EQ(lines, "Version 1.2.3\r\n(Telvane Version = )\r\n()\r\n()\r\nWindows Socket Local Port 2001 is NOT listening.");

    EXPECT_EQ(AboutFileText(ProgramFile(1234567)).Value, "VOLTAMON.EXE, 05/03/2024 14:07:09, 1234.567Kb.");
    EXPECT_EQ(AboutFileText(ProgramFile(1000)).Value, "VOLTAMON.EXE, 05/03/2024 14:07:09, 1Kb.");
    EXPECT_EQ(AboutFileText(ProgramFile(0)).Value, "VOLTAMON.EXE, 05/03/2024 14:07:09, 0Kb.");
}

TEST_F(frmAboutTest, MissingProgramFileLeavesTheLineOutAndIsLogged) {
    const std::string missing = (prefix.ProgramDir() / "gone").string();
    const std::string description = AboutDescriptionText(missing);
    EXPECT_EQ(description.find(".EXE"), std::string::npos);
    EXPECT_EQ(description.find("\r\n"), std::string::npos);
    const std::string log = TempPrefix::Read(prefix.ProgramDir() / "voltamon.log");
    EXPECT_NE(log.find(" - frmAbout.Form_Load, Error 53/ File not found\r\n"), std::string::npos) << log;
}

TEST_F(frmAboutTest, HelpAboutShowsTheBoxModalOnTop) {
    FakeCommands commands;
    commands.Info.TelvaneVersion = "4.1";
    auto window = CreateMainWindow(commands);
    window->show();
    QString title;
    QString version;
    bool modal = false;
    bool onTop = false;
    int leftOffCentre = -1;
    WhenModalAppears([&](QWidget* box) {
        title = box->windowTitle();
        leftOffCentre = std::abs(PixelsToTwipsX(box->frameGeometry().left()) -
                                 (ScreenWidthTwips() - WindowWidthTwips(*box)) / 2);
        modal = box->isModal();
        onTop = box->windowFlags().testFlag(Qt::WindowStaysOnTopHint);
        if (auto* about = dynamic_cast<frmAbout*>(box)) {
            version = about->lblVersion()->text();
            about->cmdOK()->click();
        } else {
            box->close();
        }
    });
    window->findChild<QAction*>("abt")->trigger();
    EXPECT_EQ(title, "About Voltaris Monitor");
    EXPECT_TRUE(modal);
    EXPECT_TRUE(onTop);
    EXPECT_GE(leftOffCentre, 0);
    EXPECT_LE(leftOffCentre, TwipsPerPixelX());
    EXPECT_TRUE(version.contains("(Telvane Version = 4.1)"));
}

} // namespace
