
#include "FilesTestSupport.h"
#include "files/SetupDescription.h"
#include "files/SetupUseChecks.h"

using namespace filestest;

namespace {

std::vector<std::string> Problems(const std::string& text)
{
    const SetupDescriptionResult parsed = ReadSetupDescription(text);
    EXPECT_EQ(parsed.Error, "");
    return SetupUseProblems(parsed);
}

using Texts = std::vector<std::string>;

TEST(SetupUseChecksTest, HeaderValuesTheMonitorCannotUse)
{
    for (int periods : {24, 48, 96})
        EXPECT_EQ(Problems("[Header]\nSetupVersion = 250\nPeriodsPerDay = " + std::to_string(periods) + "\n"), Texts{});
    EXPECT_EQ(Problems("[Header]\nSetupVersion = 251\nPeriodsPerDay = 48\n"), Texts{});
    EXPECT_EQ(Problems("# old\n[Header]\nSetupVersion = 249\nPeriodsPerDay = 30\n"),
              (Texts{"line 3: SetupVersion 249: the monitor loads version 250 and later only",
                     "line 4: PeriodsPerDay 30: the monitor divides the day into 24, 48 or 96 periods"}));
    // Left out, they read as 0 and the [Header] line is named.
    EXPECT_EQ(Problems("\n[Header]\nCenterCount = 1\n"),
              (Texts{"line 2: SetupVersion 0 (not given): the monitor loads version 250 and later only",
                     "line 2: PeriodsPerDay 0 (not given): the monitor divides the day into 24, 48 or 96 periods"}));
    EXPECT_EQ(Problems("[Header]\nPeriodsPerDay = -48\nSetupVersion = 250\n"),
              Texts{"line 2: PeriodsPerDay -48: the monitor divides the day into 24, 48 or 96 periods"});
}

TEST(SetupUseChecksTest, ScanTypesOfOnlineMeasuredTags)
{
    const std::string head = "[Header]\nSetupVersion = 250\nPeriodsPerDay = 48\n";  // lines 1-3
    auto tag = [](int t, const std::string& keys) {
        return "[Tag " + std::to_string(t) + "]\nOnline = 1\nTagType = 1\n" + keys;
    };
    // Every known scan type passes; "Scada Tag" ones need a host tag in PageNo.
    for (int scan : {8, 17, 21, 23, 25, 26, 27, 29})
        EXPECT_EQ(Problems(head + tag(1, "ScanType = " + std::to_string(scan) + "\n")), Texts{}) << scan;
    for (int scan : {22, 24, 28})
        EXPECT_EQ(Problems(head + tag(1, "ScanType = " + std::to_string(scan) + "\nPageNo = 7\n")), Texts{}) << scan;

    EXPECT_EQ(Problems(head + tag(4, "ScanType = 99\n") + tag(5, "ScanType = 24\nPageNo = 0\n") + tag(6, "ScanType = 28\n")),
              (Texts{"line 7: [Tag 4] ScanType 99 is not a scan type the monitor knows",
                     "line 12: [Tag 5] ScanType 24 (Rate - Scada Tag) reads the host tag numbered by PageNo, and PageNo is 0",
                     "line 13: [Tag 6] ScanType 28 (Total - Scada Tag) reads the host tag numbered by PageNo, and PageNo is 0"
                     " (not given)"}));
    EXPECT_EQ(Problems(head + tag(2, "RecorderNo = 1\n")),
              Texts{"line 4: [Tag 2] ScanType 0 (not given) is not a scan type the monitor knows"});
    // HostTagNumber is where the rate goes, not what is read.
    EXPECT_EQ(Problems(head + tag(1, "ScanType = 22\nHostTagNumber = 12\n")).size(), 1u);

    // The scan never reads off-line tags or display tags: their scan type does not matter.
    EXPECT_EQ(Problems(head + "[Tag 1]\nOnline = 0\nTagType = 1\nScanType = 99\n"), Texts{});
    EXPECT_EQ(Problems(head + "[Tag 1]\nOnline = 1\nTagType = 3\nScanType = 24\n"), Texts{});
}

TEST(SetupUseChecksTest, ShippedDescriptionsAreUsable)
{
    const fs::path source = VT_TEST_SOURCE_DIR;
    EXPECT_EQ(Problems(ReadBytes(source / ".." / "demo" / "demo.vtm")), Texts{});
    EXPECT_EQ(Problems(ReadBytes(source / "unit" / "files" / "data" / "site.mtg.txt")), Texts{});
}

} // namespace
