// The report window's four views under a virtual X display, on a month the test writes: a day
// with a gap, a start-up and two peak periods.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>

#include "unit/report/ReportTestStore.h"

using namespace reporttest;

namespace {

TEST(ReportScreenshot, EachViewOnTheScreen)
{
    TempFolder folder;
    const fs::path store = folder.Path() / "Site2403.lum";
    ASSERT_TRUE(MakeStoreFile(store, 48,
                              {{"Main incomer kWh", true, true}, {"Boiler house (kWh)", true, true},
                               {"Gas m3", true, false}, {"Chiller kWh", true, true}}));
    RecordWriter w(store);
    for (int d = 1; d <= 20; ++d)
        for (int p = 1; p <= 48; ++p) {
            if (d == 5 && (p == 20 || p == 21))
                continue;  // the monitor was not running
            const float base = 20.0f + 15.0f * static_cast<float>(std::sin((p - 12) * M_PI / 24)) + d % 3;
            ASSERT_TRUE(w.Write(d, p, d == 5 && p == 22 ? 0 : 1,
                                {base, base / 2 + 3, static_cast<float>(p % 5), 8.0f}));
        }
    const fs::path settings = folder.Path() / "VoltarisSetup.ini";
    std::ofstream(settings) << "[Peaks]\r\n1PeakValue=66.5\r\n1PeakTime=Mar 05, 24. 12:00\r\n"
                               "2PeakValue=66.3\r\n2PeakTime=Mar 05, 24. 12:30\r\n";
    const std::string command = std::string(REPORT_SCREENSHOT_SCRIPT) + " " + VTREPORT_PROGRAM + " " +
                                store.string() + " " + settings.string() + " 2024-03-05 " + SCREENSHOT_DIR;
    const int status = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 77)
        GTEST_SKIP() << "Xvfb or ImageMagick missing";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
