// vtreport: charts and tables of the demand periods the monitor saved.
//   vtreport [FILE.lum]              the window, on a file or on the running job's current month
//   vtreport --store FILE.lum --day YYYY-MM-DD | --month YYYY-MM [--png|--svg|--csv OUT] ...
//                                    the exports of one view, drawn without a display
#include <QApplication>
#include <QDate>
#include <QMessageBox>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>

#include "platform/Clock.h"
#include "files/StoreFileReader.h"
#include "platform/DateSerial.h"
#include "platform/Files.h"
#include "platform/Programs.h"
#include "report/job/JobStoreFile.h"
#include "report/figures/ReportCsv.h"
#include "report/figures/ReportFigures.h"
#include "report/views/ReportCharts.h"
#include "report/views/ReportExport.h"
#include "report/views/ReportWindow.h"
#include "support/ProgramInfo.h"

namespace {

constexpr const char* Program = "vtreport";

// Paths of the command line as absolute local paths: a bare name would be read as the settings
// functions read one (in the system folder), and finding the job moves into the host's folder.
std::string Absolute(const std::string& path)
{
    if (path.empty() || path[0] == '/' || (path.size() > 1 && path[1] == ':'))
        return path;
    return std::filesystem::absolute(path).string();
}

int Fail(const std::string& why)
{
    std::cerr << Program << ": " << why << "\n";
    return 1;
}

int Export(const ReportRequest& request, std::string settingsFile)
{
    StoreMonth month;
    if (std::string problem = LoadStoreMonth(request.Store, month, request.Year, request.Month); !problem.empty())
        return Fail(problem);
    if (std::string problem = CheckRequestedDate(request, month.Year, month.Month, month.Days); !problem.empty())
        return Fail(problem);
    // Without --tags: the tag table lists every online tag, the charts the first few.
    const std::vector<int> tags = !request.Tags.empty()                ? request.Tags
                                  : request.View == ReportView::Tags ? OnlineTags(month)
                                                                     : DefaultChartTagList(month);
    if (std::string problem = TagListProblem(month, tags); !problem.empty())
        return Fail(problem);
    if (!request.Settings.empty() && !FileExists(request.Settings))
        return Fail("cannot open " + request.Settings + ": File not found");
    const std::vector<PeakEntry> peaks = SettingsFilePeaks(settingsFile);
    const int day = request.Day > 0 ? request.Day : 1;
    const QSize size(request.Width, request.Height);
    if (!request.Csv.empty())
        if (std::string problem = SaveText(QString::fromStdString(request.Csv),
                                           ViewCsv(month, request.View, day, tags, peaks));
            !problem.empty())
            return Fail(problem);
    const QString title = QString("vtreport - %1 view of %2").arg(ViewName(request.View)).arg(
        QString::fromStdString(request.Store));
    if (!request.Png.empty()) {
        std::unique_ptr<QWidget> view(MakeViewWidget(month, request.View, day, tags, peaks));
        if (std::string problem = SavePng(*view, QString::fromStdString(request.Png), size); !problem.empty())
            return Fail(problem);
    }
    if (!request.Svg.empty()) {
        std::unique_ptr<QWidget> view(MakeViewWidget(month, request.View, day, tags, peaks));
        if (std::string problem = SaveSvg(*view, QString::fromStdString(request.Svg), size, title); !problem.empty())
            return Fail(problem);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    SetCommandLine(argc, argv);
    std::vector<std::string> args(argv + 1, argv + argc);
    ReportRequest request;
    if (std::string problem = ParseReportCommandLine(args, request); !problem.empty())
        return RefuseCommandLine(Program, problem, ReportUsage);
    if (request.Help)
        return PrintUsage(ReportUsage);
    if (request.Version)
        return PrintVersion(Program);
    request.Store = Absolute(request.Store);
    request.Settings = Absolute(request.Settings);

    // Exports are drawn off the screen: scripts and mailers have no display.
    if (request.Exports())
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication app(argc, argv);
    QApplication::setApplicationName(Program);

    std::string settingsFile = request.Settings;
    if (request.Exports())
        return Export(request, settingsFile);

    std::string store = request.Store;
    if (store.empty() || settingsFile.empty()) {
        const JobFiles job = FindJobFiles(ClockNow());
        if (store.empty())
            store = job.StoreFile;
        if (settingsFile.empty())
            settingsFile = job.SettingsFile;
    }
    ReportWindow window(settingsFile);
    int day = request.Day;
    if (day == 0 && request.Year == 0) {
        // The current month opens at today.
        const CivilTime now = ToCivil(ClockNow());
        int year = 0, month = 0;
        if (StoreFileMonth(store, year, month) && year == now.Year && month == now.Month)
            day = now.Day;
    }
    std::string problem = window.OpenStore(store, day, request.Tags);
    if (problem.empty() && request.Year != 0) {
        ReportRequest asked = request;
        asked.Store = store;
        problem = CheckRequestedDate(asked, window.Month().Year, window.Month().Month, window.Month().Days);
    }
    if (!problem.empty()) {
        std::cerr << Program << ": " << problem << "\n";
        QMessageBox::warning(&window, Program, QString::fromStdString(problem) + "\n\nUse File > Open to choose a store file.");
    }
    window.ShowView(request.View);
    window.show();
    return app.exec();
}
