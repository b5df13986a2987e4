// vtreport's command line, and the program itself run as a script would run it: exports of each
// view and the refusals of bad input.
#include <gtest/gtest.h>

#include <QImage>
#include <QRegularExpression>
#include <cstdlib>
#include <fstream>

#include "ReportTestStore.h"
#include "report/figures/ReportCommandLine.h"
#include "report/figures/ReportCsv.h"

using namespace reporttest;

namespace {

ReportRequest Parse(std::vector<std::string> args, std::string& problem)
{
    ReportRequest r;
    problem = ParseReportCommandLine(args, r);
    return r;
}

TEST(ReportCommandLine, ReadsExportsAndRefusesWhatCannotBeMeant)
{
    std::string problem;
    ReportRequest r = Parse({"--png", "a.png", "--store", "f.lum", "--day", "2024-03-05", "--tags", "1,2,17"}, problem);
    EXPECT_EQ(problem, "");
    EXPECT_EQ(r.View, ReportView::Day);
    EXPECT_EQ(r.Day, 5);
    EXPECT_EQ(r.Tags, (std::vector<int>{1, 2, 17}));
    r = Parse({"--csv", "a.csv", "--store", "f.lum", "--month", "2024-02", "--size", "640x480"}, problem);
    EXPECT_EQ(problem, "");
    EXPECT_EQ(r.View, ReportView::Month);
    EXPECT_EQ(r.Day, 0);
    EXPECT_EQ(r.Width, 640);
    r = Parse({"f.lum"}, problem);
    EXPECT_EQ(r.Store, "f.lum");
    EXPECT_FALSE(r.Exports());

    const std::vector<std::pair<std::vector<std::string>, std::string>> refused = {
        {{"--day", "2024-02-30"}, "is not a date"},
        {{"--day", "2024-3-05"}, "is not a date"},
        {{"--month", "2024-13"}, "is not a month"},
        {{"--tags", "1,,2"}, "is not a list of tag numbers"},
        {{"--tags", "1,x"}, "is not a list of tag numbers"},
        {{"--size", "50x50"}, "WIDTHxHEIGHT"},
        {{"--view", "week"}, "is not one of"},
        {{"--colour", "red"}, "unknown option '--colour'"},
        {{"--png"}, "needs a value"},
        {{"--png", "a.png", "--day", "2024-03-01"}, "exports need --store"},
        {{"--png", "a.png", "--store", "f.lum"}, "exports need --day"},
        {{"--day", "2024-03-01", "--month", "2024-03"}, "not both"},
        {{"--png", "a", "--store", "f", "--month", "2024-03", "--view", "site"}, "site view needs --day"},
        {{"a.lum", "b.lum"}, "more than one store file"},
    };
    for (const auto& [args, why] : refused) {
        Parse(args, problem);
        EXPECT_NE(problem.find(why), std::string::npos) << args[0] << ": " << problem;
    }
}

TEST(ReportCommandLine, TheAskedDateMustLieInTheFilesMonth)
{
    std::string problem;
    ReportRequest r = Parse({"--store", "Site2403.lum", "--month", "2023-03"}, problem);
    EXPECT_NE(CheckRequestedDate(r, 2024, 3, 31).find("month 2023-03 is outside"), std::string::npos);
    r = Parse({"--store", "Site2403.lum", "--day", "2024-03-31"}, problem);
    EXPECT_EQ(CheckRequestedDate(r, 2024, 3, 31), "");
}

// The built program on a store file the test writes.
class ReportProgramTest : public ::testing::Test {
protected:
    TempFolder folder;
    fs::path file = folder.Path() / "Site2403.lum";
    std::string program, err;

    void SetUp() override
    {
        const char* bin = std::getenv("VT_BIN_DIR");
        if (!bin || !fs::exists(fs::path(bin) / "vtreport"))
            GTEST_SKIP() << "vtreport not built beside the tests";
        program = (fs::path(bin) / "vtreport").string();
        ASSERT_TRUE(MakeStoreFile(file, 48, {{"Main kWh", true, true}, {"Boiler kWh", true, true}}));
        RecordWriter w(file);
        for (int p = 1; p <= 48; ++p)
            ASSERT_TRUE(w.Write(5, p, p == 1 ? 0 : 1, {10.0f + p, 50.0f - p}));
    }

    int Run(const std::string& args)
    {
        const fs::path e = folder.Path() / "err";
        // No display: the program must not need one.
        const std::string command =
            "env -u DISPLAY -u WAYLAND_DISPLAY " + program + " " + args + " > /dev/null 2> '" + e.string() + "'";
        const int status = std::system(command.c_str());
        err = ReadFile(e);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string At(const char* name) const { return (folder.Path() / name).string(); }
};

TEST_F(ReportProgramTest, ExportsEachViewAtTheAskedSize)
{
    struct Case {
        const char *view, *date;
        ReportView shown;
        int day;
    };
    StoreMonth month;
    ASSERT_EQ(LoadStoreMonth(file.string(), month, 0, 0), "");
    for (const Case& c : {Case{"day", "--day 2024-03-05", ReportView::Day, 5},
                          Case{"month", "--month 2024-03", ReportView::Month, 1},
                          Case{"site", "--day 2024-03-05", ReportView::Site, 5},
                          Case{"tags", "--month 2024-03", ReportView::Tags, 1}}) {
        SCOPED_TRACE(c.view);
        const std::string png = At("v.png"), svg = At("v.svg"), csv = At("v.csv");
        ASSERT_EQ(Run("--store " + file.string() + " " + c.date + " --view " + c.view + " --size 640x400 --png " + png +
                      " --svg " + svg + " --csv " + csv),
                  0)
            << err;
        EXPECT_EQ(ReadFile(csv), ViewCsv(month, c.shown, c.day, {1, 2}, {}));
        const QImage image(QString::fromStdString(png));
        ASSERT_FALSE(image.isNull());
        EXPECT_EQ(image.size(), QSize(640, 400));
        // Not blank: many colours, and the dark of text and bars as well as the white ground.
        QSet<QRgb> colours;
        int dark = 0;
        for (int y = 0; y < image.height(); y += 2)
            for (int x = 0; x < image.width(); x += 2) {
                colours.insert(image.pixel(x, y));
                dark += qGray(image.pixel(x, y)) < 100;
            }
        EXPECT_GT(colours.size(), 20);
        EXPECT_GT(dark, 100);

        const std::string svgText = ReadFile(svg);
        EXPECT_NE(svgText.find("width=\"169.333mm\""), std::string::npos) << svgText.substr(0, 400);
        EXPECT_NE(svgText.find("viewBox=\"0 0 640 400\""), std::string::npos);
        const auto drawn = QString::fromStdString(svgText).count(QRegularExpression("<(path|polyline|text|rect)"));
        EXPECT_GT(drawn, 20);
    }
}

// The refusals' texts are tested above and in ReportFiguresTest; here, the exit codes, and that
// a refused export leaves no file. --help and --version are in the package check.
TEST_F(ReportProgramTest, BadInputIsRefusedWithItsExitCode)
{
    const std::string csv = " --csv " + At("x.csv");
    const fs::path text = folder.Path() / "Text2403.lum";
    std::ofstream(text) << std::string(4000, 'x');
    EXPECT_EQ(Run("--store " + text.string() + " --day 2024-03-05" + csv), 1);
    EXPECT_NE(err.find("is not a store file"), std::string::npos) << err;
    EXPECT_EQ(Run("--store " + file.string() + " --day 2024-04-05" + csv), 1);
    EXPECT_NE(err.find("vtreport: day 2024-04-05 is outside " + file.string() + ", which holds March 2024\n"),
              std::string::npos) << err;
    EXPECT_EQ(Run("--store " + file.string() + " --day 2024-03-32" + csv), 2);
    EXPECT_NE(err.find("is not a date"), std::string::npos) << err;
    EXPECT_FALSE(fs::exists(At("x.csv")));
}

} // namespace
