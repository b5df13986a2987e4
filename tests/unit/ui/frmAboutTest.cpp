#include <gtest/gtest.h>

#include <ctime>
#include <tuple>

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
        std::tie(when.tm_year, when.tm_mon, when.tm_mday, when.tm_hour, when.tm_min, when.tm_sec) =
            std::tuple(124, 2, 5, 14, 7, 9);
        when.tm_isdst = -1;
        const utimbuf times{std::mktime(&when), std::mktime(&when)};
        utime(path.c_str(), &times);
        return path.string();
    }

    TempPrefix prefix;
};

TEST_F(frmAboutTest, VersionLinesAndProgramFileLine) {
    const AboutInfo info{"5.20", "C:\\Job1\\Setup\\VoltarisSetup.ini", "C:\\Job1\\Setup\\Site.MTG", 1007, true};
    EXPECT_EQ(AboutVersionText(1, 2, 3, info), "Version 1.2.3\r\n(Telvane Version = 5.20)\r\n"
                                               "(C:\\Job1\\Setup\\VoltarisSetup.ini)\r\n(C:\\Job1\\Setup\\Site.MTG)\r\n"
                                               "Windows Socket Local Port 1007 is listening.");
    EXPECT_TRUE(AboutVersionText(1, 2, 3, AboutInfo{"", "", "", 2001, false})
                    .ends_with("\r\nWindows Socket Local Port 2001 is NOT listening."));

    // A thousand bytes to the Kb, in the general number format.
    for (auto [bytes, size] : {std::pair<std::size_t, const char*>{1500, "1.5"}, {1234567, "1234.567"}, {1000, "1"},
                               {0, "0"}}) {
        EXPECT_EQ(AboutFileText(ProgramFile(bytes)).Value,
                  std::string("VOLTAMON.EXE, 05/03/2024 14:07:09, ") + size + "Kb.");
    }

    const std::string description = frmAbout(info, ProgramFile(1500)).lblDescription()->text().toStdString();
    EXPECT_TRUE(description.ends_with("\n\nVOLTAMON.EXE, 05/03/2024 14:07:09, 1.5Kb.")) << description;
}

TEST_F(frmAboutTest, MissingProgramFileLeavesTheLineOutAndIsLogged) {
    const std::string description = AboutDescriptionText((prefix.ProgramDir() / "gone").string());
    EXPECT_EQ(description.find(".EXE"), std::string::npos);
    EXPECT_EQ(description.find("\r\n"), std::string::npos);
    const std::string log = TempPrefix::Read(prefix.ProgramDir() / "voltamon.log");
    EXPECT_NE(log.find(" - frmAbout.Form_Load, Error 53/ File not found\r\n"), std::string::npos) << log;
}

TEST_F(frmAboutTest, HelpAboutShowsTheBoxModalCentredOnTop) {
    FakeCommands commands;
    commands.Info.TelvaneVersion = "4.1";
    auto window = CreateMainWindow(commands);
    window->show();
    bool shown = false;
    WhenModalAppears([&](QWidget* box) {
        shown = true;
        EXPECT_EQ(box->windowTitle(), "About Voltaris Monitor");
        EXPECT_TRUE(box->isModal() && box->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        ExpectPlaced(*box, 0);
        const auto* about = dynamic_cast<frmAbout*>(box);
        const QString lines = QString("Version %1.%2.%3\n(Telvane Version = 4.1)\n")
                                  .arg(VT_VERSION_MAJOR).arg(VT_VERSION_MINOR).arg(VT_VERSION_PATCH);
        EXPECT_TRUE(about && about->lblVersion()->text().startsWith(lines));
        box->close();
    });
    window->findChild<QAction*>("abt")->trigger();
    EXPECT_TRUE(shown);
}

} // namespace
