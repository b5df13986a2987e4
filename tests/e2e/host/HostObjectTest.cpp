// The monitor's host object in this process against telvane-host in another: it finds the host,
// loads the installed libraries, reads what `telvane-host set` wrote, writes what `get` shows,
// and its close request ends the job.
#include <gtest/gtest.h>

#include "HostProcess.h"
#include "host/DdeLinkLabel.h"
#include "host/Telvane.h"
#include "platform/Dde.h"
#include "platform/Paths.h"
#include "platform/WindowRegistry.h"
#include "support/VbConvert.h"

namespace {

// A set-up value of the cursor's point: its getter, its setter and a value to write.
struct Param {
    float (TelvaneIO::*get)();
    void (TelvaneIO::*set)(float);
    float value;
};

}  // namespace

TEST(HostObject, V5HostSeenReadWrittenAndClosed) {
    TestPrefix prefix;
    std::string scenario = prefix.WriteFile("v5.scn", "[host]\njob = Plant\n\n[meter Incomer]\npoint = [P2L5]\nrate = 250\n");
    BackgroundHost host(prefix, {"--generation", "5", "--scenario", scenario});
    ASSERT_TRUE(host.WaitRunning()) << host.Output();
    auto status = Status(prefix);
    ASSERT_EQ(RunTool(prefix, {"set", "T50=12.5"}).ExitCode, 0);

    Telvane telvane;
    ASSERT_TRUE(telvane.V5()) << "version " << telvane.TelvaneVersion();
    EXPECT_EQ(telvane.Version(), "V5");
    EXPECT_EQ(telvane.TelvaneFolder(), status["host folder"]);
    EXPECT_EQ(telvane.JobDataFolder(), status["job data folder"]);
    EXPECT_EQ(telvane.JobSetupFolder(), status["job setup folder"]);
    EXPECT_EQ(telvane.JobTempFolder(), status["job temp folder"]);
    EXPECT_EQ(telvane.JobName(), "Plant");
    EXPECT_TRUE(telvane.JobRun());
    EXPECT_TRUE(telvane.TelvnRun());

    telvane.IO.Index(50);
    EXPECT_EQ(telvane.IO.Value(), 12.5f);
    EXPECT_EQ(telvane.IO.GetValueByIORef("[P2L5]"), 250.0f);  // the meter the host simulates
    // A rate the monitor writes back is what the host shows.
    telvane.IO.Index(60);
    telvane.IO.Value(33.25f);
    EXPECT_EQ(GetValue(prefix, "T60"), 33.25);
    telvane.IO.SetValueByIORef("[P9L9]", 4.5f);
    EXPECT_EQ(GetValue(prefix, "L89"), 4.5);

    // Line set-up and statistics go over DDE to recorder 1: page 13 lies beyond a V4 recorder's ten
    // pages, relay 40 beyond its 32 relays. Read back through the recorder library or DDE.
    DdeLink link;
    DdeLinkLabel label(link);
    telvane.DdeLabel(&label);
    TelvaneIO& io = telvane.IO;
    io.IndexReference("[P13L4]");
    ASSERT_TRUE(io.V5Line());
    const Param params[] = {{&TelvaneIO::Calibration, &TelvaneIO::Calibration, 1.5f},
                            {&TelvaneIO::Alarm1SetPoint, &TelvaneIO::Alarm1SetPoint, 90.0f},
                            {&TelvaneIO::Alarm2SetPoint, &TelvaneIO::Alarm2SetPoint, 10.0f},
                            {&TelvaneIO::DayMax, &TelvaneIO::DayMax, 77.25f},
                            {&TelvaneIO::GrandMin, &TelvaneIO::GrandMin, -3.0f}};
    for (const Param& p : params) (io.*p.set)(p.value);
    io.AlarmSetRelayState(40, 1.0f);
    for (const Param& p : params) EXPECT_FLOAT_EQ((io.*p.get)(), p.value);
    EXPECT_FLOAT_EQ(io.AlarmGetRelayState(40), 1.0f);
    EXPECT_FLOAT_EQ(io.AlarmGetRelayState(39), 0.0f);

    // The close request: the job stops and the windows close; the monitor's next look sees it.
    telvane.TelvnClose();
    EXPECT_EQ(host.Wait(10s), 0) << host.Output();
    EXPECT_FALSE(telvane.JobRun());
    EXPECT_FALSE(telvane.TelvnRun());
}

TEST(HostObject, V4LineWritesAndSetupGoOverDde) {
    TestPrefix prefix;
    BackgroundHost host(prefix, {"--generation", "4"});
    ASSERT_TRUE(host.WaitRunning()) << host.Output();
    ASSERT_EQ(RunTool(prefix, {"set", "T7=5", "T2005=1"}).ExitCode, 0);

    Telvane telvane;
    ASSERT_TRUE(telvane.V4()) << "version " << telvane.TelvaneVersion();
    EXPECT_TRUE(telvane.JobRun());
    // The monitor takes the V4 store folder in lower case; it still names the host's folder.
    EXPECT_EQ(LocalPath(telvane.JobDataFolder()), LocalPath(Status(prefix)["job data folder"]));
    DdeLink link;
    DdeLinkLabel label(link);
    telvane.DdeLabel(&label);

    telvane.IO.Index(7);
    EXPECT_EQ(telvane.IO.Value(), 5.0f);
    telvane.IO.Index(2005);
    EXPECT_EQ(telvane.IO.Value(), 1.0f);
    telvane.IO.Value(0.0f);  // the watchdog's output write
    EXPECT_EQ(GetValue(prefix, "T2005"), 0);

    // A V4 line value is poked to "Recorder 2|SetData", item "3,4".
    TelvaneIO& io = telvane.IO;
    io.IndexReference("[R2P3L4]");
    io.Value(42.5f);
    EXPECT_EQ(GetValue(prefix, "[R2P3L4]"), 42.5);

    // Tag set-up goes to the tag server, line set-up to the recorder's topics; both read back.
    io.Index(12);
    const Param tagParams[] = {{&TelvaneIO::Calibration, &TelvaneIO::Calibration, 2.5f},
                               {&TelvaneIO::Alarm1SetPoint, &TelvaneIO::Alarm1SetPoint, 80.0f},
                               {&TelvaneIO::Alarm2Differential, &TelvaneIO::Alarm2Differential, 0.5f}};
    for (const Param& p : tagParams) (io.*p.set)(p.value);
    for (const Param& p : tagParams) EXPECT_FLOAT_EQ((io.*p.get)(), p.value);
    io.IndexReference("[R5P10L10]");
    io.AlarmEnabled(true);
    const Param lineParams[] = {{&TelvaneIO::Alarm1Delay, &TelvaneIO::Alarm1Delay, 15.0f},
                                {&TelvaneIO::grandtotal, &TelvaneIO::grandtotal, 1234.0f},
                                {&TelvaneIO::GrandMax, &TelvaneIO::GrandMax, 99.5f}};
    for (const Param& p : lineParams) (io.*p.set)(p.value);
    EXPECT_TRUE(io.AlarmEnabled());
    for (const Param& p : lineParams) EXPECT_FLOAT_EQ((io.*p.get)(), p.value);
    io.AlarmSetRelayState(32, 1.0f);
    EXPECT_FLOAT_EQ(io.AlarmGetRelayState(32), 1.0f);

    telvane.TelvnClose();
    EXPECT_EQ(host.Wait(10s), 0) << host.Output();
    EXPECT_FALSE(telvane.JobRun());
}
