#include <gtest/gtest.h>

#include "ui/LogWindowLayout.h"
#include "ui/MainLayout.h"

namespace {

TEST(MainLayoutTest, StartSizeGivesTheGridAndPanelsUnderIt) {
    const MainLayout l = LayoutMainWindow(MainLayout{}, 8000, 4000);
    EXPECT_EQ(l.Grid, (TwipsRect{0, 0, 7880, 2675}));
    EXPECT_EQ(l.Panel3D4, (TwipsRect{0, 2675, 1800, 645}));
    EXPECT_EQ(l.Panel3D2, (TwipsRect{1800, 2675, 4280, 645}));
    EXPECT_EQ(l.Panel3D1, (TwipsRect{6080, 2675, 1800, 645}));
    EXPECT_DOUBLE_EQ(l.Column0Units, 5.0);
    EXPECT_DOUBLE_EQ(l.DataColumnUnits, (7880.0 - 908.0) / 480.0);
    EXPECT_NEAR(l.DataColumnUnits, 14.525, 1e-9);
    // Five data columns of 96-twip units fill the grid less its heading column and scroll bar.
    EXPECT_NEAR(5 * l.DataColumnUnits * GridColumnUnitTwips, 7880 - 908, 1e-6);
    EXPECT_EQ(InitialMainLayout(), l);
}

TEST(MainLayoutTest, TooNarrowOrTooLowKeepsThatDimension) {
    const MainLayout start = LayoutMainWindow(MainLayout{}, 8000, 4000);

    // 3000 wide, 5000 high: widths and the clock panel's place stay, heights follow.
    const MainLayout narrow = LayoutMainWindow(start, 3000, 5000);
    EXPECT_EQ(narrow.Grid, (TwipsRect{0, 0, 7880, 3675}));
    EXPECT_EQ(narrow.Panel3D2, (TwipsRect{1800, 3675, 4280, 645}));
    EXPECT_EQ(narrow.Panel3D1, (TwipsRect{6080, 3675, 1800, 645}));
    EXPECT_DOUBLE_EQ(narrow.DataColumnUnits, start.DataColumnUnits);

    // The limits are exclusive: 4000 wide and 1000 high change nothing.
    const MainLayout atLimits = LayoutMainWindow(start, 4000, 1000);
    EXPECT_EQ(atLimits, start);

    const MainLayout justOver = LayoutMainWindow(start, 4001, 1001);
    EXPECT_EQ(justOver.Grid, (TwipsRect{0, 0, 3881, 1001 - 1325}));
    EXPECT_EQ(justOver.Panel3D2.Width, 3881 - 3600);
    EXPECT_EQ(justOver.Panel3D1.Left, 3881 - 1800);
    EXPECT_EQ(justOver.Panel3D4.Top, 1001 - 1325);
}

TEST(LogWindowLayoutTest, ListFillsTheWindowDownToTheMinimumSize) {
    const LogWindowLayout big = LayoutLogWindow(6000, 4000);
    EXPECT_EQ(big.ListWidth, 5760);
    EXPECT_EQ(big.ListHeight, 3205);
    EXPECT_FALSE(big.WindowWidth);
    EXPECT_FALSE(big.WindowHeight);

    const LogWindowLayout atMinimum = LayoutLogWindow(4800, 3435);
    EXPECT_EQ(atMinimum.ListWidth, 4560);
    EXPECT_EQ(atMinimum.ListHeight, 2640);

    const LogWindowLayout small = LayoutLogWindow(4799, 3434);
    EXPECT_FALSE(small.ListWidth);
    EXPECT_FALSE(small.ListHeight);
    EXPECT_EQ(small.WindowWidth, 4800);
    EXPECT_EQ(small.WindowHeight, 3435);
}

} // namespace
