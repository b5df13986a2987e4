#include <gtest/gtest.h>

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include "common/TempPrefix.h"
#include "ui/Pleasewait.h"
#include "ui/Twips.h"
#include "ui/WindowPlacement.h"
#include "ui/frmMain.h"
#include "UiTestSupport.h"

namespace {

class PleasewaitTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UiApp(); }
    void SetUp() override { window = CreateMainWindow(commands); }
    TempPrefix prefix;
    FakeCommands commands;
    std::unique_ptr<frmMain> window;
};

TEST_F(PleasewaitTest, ShownAThirdDownWithTheLoadProgress) {
    Pleasewait* wait = window->PleasewaitWindow();
    EXPECT_EQ(wait->findChild<QLabel*>()->text(), "Please wait while loading");
    window->ShowWait("Get Setup File Data");
    ASSERT_TRUE(wait->isVisible());
    EXPECT_EQ(wait->windowTitle(), "Get Setup File Data");
    const int top = PixelsToTwipsY(wait->frameGeometry().top());
    const int left = PixelsToTwipsX(wait->frameGeometry().left());
    EXPECT_NEAR(top, (ScreenHeightTwips() - WindowHeightTwips(*wait)) / 3, TwipsPerPixelY());
    EXPECT_NEAR(left, (ScreenWidthTwips() - WindowWidthTwips(*wait)) / 2, TwipsPerPixelX());

    window->ShowWaitMessage("Getting INI Data");
    EXPECT_EQ(wait->lblMessage()->text(), "Getting INI Data");
    window->SetWaitProgress("45%");
    EXPECT_EQ(wait->Gauge1()->value(), 45);
    EXPECT_EQ(wait->Gauge1()->text(), "45%");
    EXPECT_EQ(wait->lblMessage()->text(), "45%");
    window->SetWaitProgress("100%");
    EXPECT_EQ(wait->Gauge1()->value(), 100);

    window->CloseWait();
    EXPECT_FALSE(wait->isVisible());
}

TEST_F(PleasewaitTest, ItsTimerClosesItOnceStageTwoHasBegun) {
    Pleasewait* wait = window->PleasewaitWindow();
    window->ShowWait("Please wait");
    EXPECT_EQ(wait->Timer1()->interval(), 500);
    EXPECT_TRUE(wait->Timer1()->isActive());
    Pump(700);
    EXPECT_TRUE(wait->isVisible());

    window->Stage2Begun();
    Pump(700);
    EXPECT_FALSE(wait->isVisible());
    EXPECT_FALSE(wait->Timer1()->isActive());
}

TEST_F(PleasewaitTest, OkClosesItAtOnce) {
    Pleasewait* wait = window->PleasewaitWindow();
    window->ShowWait("Store File Data");
    wait->cmdOK()->click();
    EXPECT_FALSE(wait->isVisible());
}

} // namespace
