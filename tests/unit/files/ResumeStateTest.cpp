// The resume file: every value comes back exactly, and a file that is not a whole state of this
// version (cut short, edited, of another version, too long) is refused rather than half taken.
#include <cmath>
#include <limits>

#include "FilesTestSupport.h"
#include "files/ResumeState.h"
#include "platform/DateSerial.h"

using namespace filestest;

namespace {

ResumeState Sample()
{
    ResumeState s;
    s.PeriodsPerDay = 96;
    s.PeriodEnd = MakeDateTime(2026, 11, 19, 10, 15, 0);
    s.Written = MakeDateTime(2026, 11, 19, 10, 7, 31) + 0.123 / 86400;
    s.Tags.push_back({1, 24, 120.5F, 0, 13.333333F, 0, 0, 120.5F, s.Written, 0});
    s.Tags.push_back({7, 22, 16777215.0F, 16777210.0F, 1e-7F, 0.1F, 3.4e38F, -0.0F, s.Written - 1e-9, s.Written});
    s.Tags.push_back({200, 28, -5, 0, std::numeric_limits<float>::denorm_min(), 0, 0, 0, 0, 0});
    return s;
}

void ExpectSame(const ResumeState& a, const ResumeState& b)
{
    EXPECT_EQ(a.PeriodsPerDay, b.PeriodsPerDay);
    EXPECT_EQ(a.PeriodEnd, b.PeriodEnd);
    EXPECT_EQ(a.Written, b.Written);
    ASSERT_EQ(a.Tags.size(), b.Tags.size());
    for (std::size_t i = 0; i < a.Tags.size(); ++i) {
        const ResumeTag& x = a.Tags[i];
        const ResumeTag& y = b.Tags[i];
        EXPECT_EQ(x.Tag, y.Tag);
        EXPECT_EQ(x.ScanType, y.ScanType);
        for (auto [p, q] : {std::pair{x.Current, y.Current}, {x.Previous, y.Previous}, {x.Integrated, y.Integrated},
                            {x.LastGoodDelta, y.LastGoodDelta}, {x.LastGoodRate, y.LastGoodRate}, {x.Rate, y.Rate}}) {
            EXPECT_EQ(p, q) << "tag " << x.Tag;
            EXPECT_EQ(std::signbit(p), std::signbit(q)) << "tag " << x.Tag;
        }
        EXPECT_EQ(x.LastReadTime, y.LastReadTime);
        EXPECT_EQ(x.PulseTime, y.PulseTime);
    }
}

class ResumeStateTest : public TempPrefixTest {};

} // namespace

TEST_F(ResumeStateTest, EveryValueComesBackExactly)
{
    const std::string text = FormatResumeState(Sample());
    const std::optional<ResumeState> back = ParseResumeState(text);
    ASSERT_TRUE(back) << text;
    ExpectSame(Sample(), *back);

    // The file beside the store files; its round trip through the monitor is in the core's tests.
    const std::string store = "C:\\Telvane\\Job1\\Data\\Voltaris\\Vtrs2611.lum";
    EXPECT_EQ(ResumeFilePath(store), "C:\\Telvane\\Job1\\Data\\Voltaris\\voltamon.resume");
    fs::create_directories(drive / "Telvane" / "Job1" / "Data" / "Voltaris");
    EXPECT_EQ(ReadResumeState(ResumeFilePath(store)).Error.Number, ErrFileNotFound);
}

TEST_F(ResumeStateTest, AnythingButAWholeStateIsRefused)
{
    const std::string good = FormatResumeState(Sample());
    ASSERT_TRUE(ParseResumeState(good));
    // Cut short anywhere: before the end mark, inside a line, or without the last line break.
    for (std::size_t cut : {std::size_t{0}, good.size() / 3, good.size() - 5, good.size() - 1})
        EXPECT_FALSE(ParseResumeState(good.substr(0, cut))) << cut;
    const auto edited = [&](const std::string& from, const std::string& to) {
        std::string text = good;
        const std::size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return text.replace(at, from.size(), to);
    };
    EXPECT_FALSE(ParseResumeState(edited("Version=1", "Version=2")));
    EXPECT_FALSE(ParseResumeState(edited("Tags=3", "Tags=4")));  // a line lost
    EXPECT_FALSE(ParseResumeState(edited("T7=22,", "T7=22,nan,")));
    EXPECT_FALSE(ParseResumeState(edited("T7=22,", "T7=22, ")));
    EXPECT_FALSE(ParseResumeState(edited("T7=", "T9999=")));
    EXPECT_FALSE(ParseResumeState(edited("T7=22,", "T7=22,1,")));  // one field too many
    EXPECT_FALSE(ParseResumeState(edited("End\n", "End\nT8=24,0,0,0,0,0,0,0,0\n")));
    EXPECT_FALSE(ParseResumeState(std::string(2 << 20, '\n')));

    // Too long to be one: refused without reading it.
    const std::string store = "C:\\Data\\Vtrs2611.lum";
    fs::create_directories(drive / "Data");
    WriteBytes(drive / "Data" / "voltamon.resume", std::string((1 << 20) + 1, ';'));
    EXPECT_EQ(ReadResumeState(ResumeFilePath(store)).Error.Number, ErrBadRecordLength);
}
