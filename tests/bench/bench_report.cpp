// vtreport on a full 96-period, 200-tag month: opening the file and drawing a day, and opening it
// and drawing the month, each against `vt-store records` reading the same file in the same run.
// Goals: a day under 0.3 s, a month under 0.5 s.
#include <QApplication>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

#include "report/figures/ReportFigures.h"
#include "report/views/ReportCharts.h"
#include "unit/report/ReportTestStore.h"

using namespace reporttest;

namespace {

double Seconds(const std::function<void()>& run)
{
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The median of runs.
double Median(int runs, const std::function<void()>& run)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i)
        times.push_back(Seconds(run));
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// Opens the file and draws one view the way the window does, at a window's size: with the tags a
// chart starts with, or every tag when all is true.
void OpenAndDraw(const fs::path& file, ReportView view, bool all = false)
{
    StoreMonth month;
    if (!LoadStoreMonth(file.string(), month, 0, 0).empty())
        std::abort();
    const std::vector<int> tags = all ? OnlineTags(month) : DefaultChartTagList(month);
    std::unique_ptr<QWidget> widget(MakeViewWidget(month, view, 15, tags, {}));
    widget->setAttribute(Qt::WA_DontShowOnScreen);
    widget->resize(1200, 700);
    widget->show();
    QCoreApplication::processEvents();
    QImage image(widget->size(), QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    widget->render(&painter);
}

} // namespace

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication app(argc, argv);
    const fs::path bin = fs::canonical("/proc/self/exe").parent_path();
    const fs::path vtStore = bin / "vt-store";
    if (!fs::exists(vtStore)) {
        std::fprintf(stderr, "bench_report: %s not built\n", vtStore.c_str());
        return 1;
    }
    TempFolder folder;
    const fs::path file = folder.Path() / "Site2403.lum";
    std::vector<TestTag> tags;
    for (int t = 1; t <= 198; ++t)
        tags.push_back({"Meter " + std::to_string(t) + " kWh", true, t <= 100});
    if (!MakeStoreFile(file, 96, tags))
        return 1;
    {
        RecordWriter w(file);
        std::vector<float> values(198);
        for (int d = 1; d <= 31; ++d)
            for (int p = 1; p <= 96; ++p) {
                for (int t = 0; t < 198; ++t)
                    values[static_cast<std::size_t>(t)] = static_cast<float>((d * 7 + p * 3 + t) % 97) / 4.0f;
                if (!w.Write(d, p, 1, values))
                    return 1;
            }
    }
    const std::string records = vtStore.string() + " records " + file.string() + " > /dev/null";
    OpenAndDraw(file, ReportView::Day);  // fonts and plugins loaded once, as in a running window
    const double baseline = Median(5, [&] {
        if (std::system(records.c_str()) != 0)
            std::abort();
    });
    const double day = Median(5, [&] { OpenAndDraw(file, ReportView::Day); });
    const double month = Median(5, [&] { OpenAndDraw(file, ReportView::Month); });
    std::printf("report day: open and draw %.3f s (goal under 0.3 s), vt-store records %.3f s, ratio %.2f\n", day,
                baseline, day / baseline);
    std::printf("report month: open and draw %.3f s (goal under 0.5 s), vt-store records %.3f s, ratio %.2f\n",
                month, baseline, month / baseline);
    // Asked for every tag, the month chart draws 198 x 31 bars: shown for what it is, without a goal.
    const double everyTag = Seconds([&] { OpenAndDraw(file, ReportView::Month, true); });
    std::printf("report month of all 198 tags: open and draw %.3f s (no goal), vt-store records %.3f s, ratio %.2f\n",
                everyTag, baseline, everyTag / baseline);
    return day < 0.3 && month < 0.5 ? 0 : 1;
}
