#include <gtest/gtest.h>

#include "ui/MainLayout.h"

namespace {

// The start layout is checked on the window itself (frmMainTest).
TEST(MainLayoutTest, TooNarrowOrTooLowKeepsThatDimension) {
    const MainLayout start = InitialMainLayout();
    const MainLayout narrow = LayoutMainWindow(start, 3000, 5000);
    EXPECT_EQ(narrow.Grid, (TwipsRect{0, 0, 7880, 3675}));
    EXPECT_EQ(narrow.Panel3D2, (TwipsRect{1800, 3675, 4280, 645}));
    EXPECT_EQ(narrow.Panel3D1, (TwipsRect{6080, 3675, 1800, 645}));
    EXPECT_DOUBLE_EQ(narrow.DataColumnUnits, start.DataColumnUnits);

    // The limits are exclusive.
    EXPECT_EQ(LayoutMainWindow(start, 4000, 1000), start);
    const MainLayout justOver = LayoutMainWindow(start, 4001, 1001);
    EXPECT_EQ(justOver.Grid, (TwipsRect{0, 0, 3881, 1001 - 1325}));
    EXPECT_EQ(justOver.Panel3D2.Width, 3881 - 3600);
    EXPECT_EQ(justOver.Panel3D1, (TwipsRect{3881 - 1800, 1001 - 1325, 1800, 645}));
}

// The log window's layout is checked on the window itself (frmLogTest).

} // namespace
