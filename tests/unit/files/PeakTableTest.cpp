#include "FilesTestSupport.h"
#include "files/PeakTable.h"
#include "support/Profile.h"

#include <limits>

using namespace filestest;

namespace {

class PeakTableTest : public TempPrefixTest {
protected:
    const std::string ini = "C:\\Setup\\VoltarisSetup.ini";

    void SetUp() override
    {
        TempPrefixTest::SetUp();
        fs::create_directories(drive / "Setup");
    }

    // "value at time" of rank n.
    std::string Rank(int n) const
    {
        const PeakEntry p = ReadPeaks(ini)[static_cast<std::size_t>(n)];
        return p.Value + " at " + p.Time;
    }

    // Ranks 1..24 holding 2400, 2300, ... 100.
    void FillDescending()
    {
        std::string text = "[general]\r\ntimer1scan=30\r\n[Peaks]\r\n";
        for (int n = 1; n <= 24; ++n)
            text += std::to_string(n) + "PeakValue=" + std::to_string((25 - n) * 100) + "\r\n" + std::to_string(n) +
                    "PeakTime=T" + std::to_string(n) + "\r\n";
        WriteBytes(drive / "Setup" / "VoltarisSetup.ini", text);
    }
};

TEST_F(PeakTableTest, EmptyTableTakesTheFirstTotal)
{
    EXPECT_FALSE(UpdatePeaks(12.5F, "Mar 03, 24. 10:00", ini).Failed());
    EXPECT_EQ(Rank(1), "12.5 at Mar 03, 24. 10:00");
    EXPECT_EQ(Rank(2), "0 at 0");
    EXPECT_EQ(Rank(24), "0 at 0");

    // A zero total equals the missing ranks' "0", so it ranks below all of them and is not entered.
    EXPECT_FALSE(UpdatePeaks(0.0F, "x", ini).Failed());
    EXPECT_EQ(Rank(2), "0 at 0");
}

TEST_F(PeakTableTest, TiesRankBelowAndTheTopPushesAllDown)
{
    FillDescending();
    UpdatePeaks(100.0F, "tie with 24th", ini);
    EXPECT_EQ(Rank(24), "100 at T24");

    UpdatePeaks(1500.0F, "tie with 10th", ini);
    EXPECT_EQ(Rank(10), "1500 at T10");
    EXPECT_EQ(Rank(11), "1500 at tie with 10th");
    EXPECT_EQ(Rank(12), "1400 at T11");
    EXPECT_EQ(Rank(24), "200 at T23");

    UpdatePeaks(123456.789F, "top", ini);
    EXPECT_EQ(Rank(1), "123456.8 at top");  // seven significant digits
    EXPECT_EQ(Rank(2), "2400 at T1");
    EXPECT_EQ(Rank(3), "2300 at T2");
    EXPECT_EQ(Rank(24), "300 at T22");
    // Other sections are left alone.
    EXPECT_EQ(GetPrivateProfileString("general", "timer1scan", "", 80, ini), "30");
}

TEST_F(PeakTableTest, ValuesWithTextAfterTheNumber)
{
    FillDescending();
    WritePrivateProfileString("Peaks", "5PeakValue", "2000.5 kW", ini);
    UpdatePeaks(2000.25F, "between", ini);
    EXPECT_EQ(Rank(5), "2000.5 kW at T5");
    EXPECT_EQ(Rank(6), "2000.25 at between");
}

TEST_F(PeakTableTest, TotalThatIsNoFiniteNumberLeavesTheFileAsItWas)
{
    FillDescending();
    const fs::path file = drive / "Setup" / "VoltarisSetup.ini";
    const std::string before = ReadBytes(file);
    for (float total : {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                        std::numeric_limits<float>::quiet_NaN()}) {
        EXPECT_EQ(UpdatePeaks(total, "never", ini).Number, 6) << total;
        EXPECT_EQ(ReadBytes(file), before) << total;
    }
    // The largest float is a number like any other.
    EXPECT_FALSE(UpdatePeaks(std::numeric_limits<float>::max(), "top", ini).Failed());
    EXPECT_EQ(Rank(1), "3.402823E+38 at top");
    EXPECT_EQ(Rank(2), "2400 at T1");
}

TEST_F(PeakTableTest, ReadsEveryKeyAsTheProfileFunctionsDo)
{
    // Any case, quotes, a value past the buffer, the first of duplicates and of sections, a mark.
    const fs::path file = root / "prefix" / "drives" / "c" / "Setup" / "VoltarisSetup.ini";
    WriteBytes(file, "\xEF\xBB\xBF[peaks]\r\n1peakvalue = 12.5 \r\n1PEAKTIME='Mar 03, 24. 10:00'\r\n1PeakValue=99\r\n"
                     "2PeakValue=" + std::string(300, '7') + "\r\n[general]\r\n3PeakValue=8\r\n[Peaks]\r\n4PeakValue=5\r\n");
    std::vector<PeakEntry> peaks = ReadPeaks(ini);
    for (int n = 1; n <= 24; ++n) {
        EXPECT_EQ(peaks[n].Value, GetPrivateProfileString("Peaks", std::to_string(n) + "PeakValue", "0", 256, ini)) << n;
        EXPECT_EQ(peaks[n].Time, GetPrivateProfileString("Peaks", std::to_string(n) + "PeakTime", "0", 256, ini)) << n;
    }
    EXPECT_EQ(peaks[1].Value, "12.5");
    EXPECT_EQ(peaks[1].Time, "Mar 03, 24. 10:00");
    EXPECT_EQ(peaks[2].Value, std::string(255, '7'));
    EXPECT_EQ(peaks[3].Value, "0");
    EXPECT_EQ(peaks[4].Value, "0");
    fs::remove(file);
    peaks = ReadPeaks(ini);
    EXPECT_EQ(peaks[1].Value, "0");
    EXPECT_EQ(peaks[24].Time, "0");
}

} // namespace
