#include "report/views/ReportWindow.h"

#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QMessageBox>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTabWidget>
#include <QTime>
#include <QTimer>
#include <cstdio>

#include "files/StoreFileReader.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "report/figures/ReportCsv.h"
#include "report/figures/ReportFigures.h"
#include "report/views/ReportCharts.h"
#include "report/views/ReportExport.h"

namespace {

constexpr ReportView Views[] = {ReportView::Day, ReportView::Month, ReportView::Site, ReportView::Tags};
const char* const TabNames[] = {"&Day profile", "&Month", "&Site total", "&Tags"};

} // namespace

ReportWindow::ReportWindow(std::string settingsFile) : settingsFile_(std::move(settingsFile))
{
    setWindowTitle("vtreport");
    tagList_ = new QListWidget;
    tagList_->setFocusPolicy(Qt::NoFocus);  // the arrow keys move days, not list rows
    tagList_->setToolTip("The tags the charts and the table show");
    tabs_ = new QTabWidget;
    tabs_->setFocusPolicy(Qt::NoFocus);
    for (const char* name : TabNames) {
        auto* page = new QStackedWidget;
        pages_.push_back(page);
        tabs_->addTab(page, name);
    }
    auto* splitter = new QSplitter;
    splitter->addWidget(tagList_);
    splitter->addWidget(tabs_);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({200, 900});
    setCentralWidget(splitter);
    status_ = new QLabel;
    statusBar()->addWidget(status_, 1);
    BuildMenus();

    watcher_ = new QFileSystemWatcher(this);
    reloadTimer_ = new QTimer(this);
    reloadTimer_->setSingleShot(true);
    reloadTimer_->setInterval(300);  // a save is one write; wait for it to end before reading
    connect(watcher_, &QFileSystemWatcher::fileChanged, this, [this] { reloadTimer_->start(); });
    connect(reloadTimer_, &QTimer::timeout, this, [this] { FileChanged(); });
    connect(tabs_, &QTabWidget::currentChanged, this, [this](int index) {
        if (index >= 0 && index < 4) {
            view_ = Views[index];
            Refresh();
        }
    });
    connect(tagList_, &QListWidget::itemChanged, this, [this] {
        if (!filling_)
            Refresh();
    });
    resize(1200, 750);
}

ReportWindow::~ReportWindow() = default;

void ReportWindow::BuildMenus()
{
    QMenu* file = menuBar()->addMenu("&File");
    file->addAction("&Open...", QKeySequence::Open, this, [this] { OpenDialog(); });
    file->addSeparator();
    file->addAction("Export chart as &PNG...", this, [this] { Export("png"); });
    file->addAction("Export chart as &SVG...", this, [this] { Export("svg"); });
    file->addAction("Export data as &CSV...", this, [this] { Export("csv"); });
    file->addSeparator();
    file->addAction("E&xit", QKeySequence::Quit, this, [this] { close(); });

    QMenu* go = menuBar()->addMenu("&Go");
    go->addAction("&Previous day", QKeySequence(Qt::Key_Left), this, [this] { StepDay(-1); });
    go->addAction("&Next day", QKeySequence(Qt::Key_Right), this, [this] { StepDay(1); });
    go->addAction("Previous &month", QKeySequence(Qt::Key_PageUp), this, [this] { StepMonth(-1); });
    go->addAction("Next mon&th", QKeySequence(Qt::Key_PageDown), this, [this] { StepMonth(1); });
    go->addSeparator();
    go->addAction("&Reload", QKeySequence(Qt::Key_F5), this, [this] { Reload(); });
}

std::string ReportWindow::OpenStore(const std::string& path, int day, const std::vector<int>& tags)
{
    return Open(path, day, tags, false);
}

std::string ReportWindow::Open(const std::string& path, int day, const std::vector<int>& tags, bool keepTicks)
{
    StoreMonth month;
    const CivilTime now = ToCivil(ClockNow());  // a file not named by its month is taken as this month's
    if (std::string problem = LoadStoreMonth(path, month, now.Year, now.Month); !problem.empty())
        return problem;
    if (!tags.empty())
        if (std::string problem = TagListProblem(month, tags); !problem.empty())
            return problem;
    // The ticks stay as they are from file to file and on every reload, even when none is ticked.
    keepTicks = keepTicks || (tags.empty() && month_.TagCount == month.TagCount && month.TagCount > 0);
    std::vector<int> keep = keepTicks ? ShownTags() : tags;
    // A neighbouring month may save fewer tags.
    std::erase_if(keep, [&](int t) { return t < 1 || t > month.TagCount; });
    if (!watcher_->files().isEmpty())
        watcher_->removePaths(watcher_->files());
    month_ = std::move(month);
    // The monitor enters a peak as it saves a period, so the table is read with the file it marks,
    // not on every refresh.
    peaks_ = SettingsFilePeaks(settingsFile_);
    watcher_->addPath(QString::fromStdString(LocalPath(path).string()));
    day_ = day >= 1 && day <= month_.Days ? day : std::min(day_, month_.Days);
    if (day_ < 1)
        day_ = 1;
    setWindowTitle("vtreport - " + QString::fromStdString(PathFilePart(path)));
    filling_ = true;
    tagList_->clear();
    int checked = 0;
    for (const ReportTag& tag : month_.Tags) {
        if (!tag.Online)
            continue;
        auto* item = new QListWidgetItem(QString("%1  %2").arg(tag.Number).arg(QString::fromStdString(TagHeading(tag))));
        item->setData(Qt::UserRole, tag.Number);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        const bool on = keep.empty() && !keepTicks ? checked < DefaultChartTags
                                     : std::find(keep.begin(), keep.end(), tag.Number) != keep.end();
        item->setCheckState(on ? Qt::Checked : Qt::Unchecked);
        checked += on ? 1 : 0;
        tagList_->addItem(item);
    }
    // Asked-for tags that are off line still get a row, so they can be shown.
    for (int t : keep)
        if (!month_.Tag(t).Online) {
            auto* item = new QListWidgetItem(
                QString("%1  %2 (off line)").arg(t).arg(QString::fromStdString(TagHeading(month_.Tag(t)))));
            item->setData(Qt::UserRole, t);
            item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
            item->setCheckState(Qt::Checked);
            tagList_->addItem(item);
        }
    filling_ = false;
    Refresh();
    return {};
}

void ReportWindow::ShowView(ReportView view)
{
    for (int i = 0; i < 4; ++i)
        if (Views[i] == view) {
            view_ = view;
            if (tabs_->currentIndex() == i)
                Refresh();
            else
                tabs_->setCurrentIndex(i);  // refreshes
        }
}

std::vector<int> ReportWindow::ShownTags() const
{
    std::vector<int> tags;
    for (int i = 0; i < tagList_->count(); ++i) {
        const QListWidgetItem* item = tagList_->item(i);
        if (item->checkState() == Qt::Checked)
            tags.push_back(item->data(Qt::UserRole).toInt());
    }
    return tags;
}

std::string ReportWindow::ShownCsv() const
{
    return ViewCsv(month_, view_, day_, ViewTags(), peaks_);
}

std::vector<int> ReportWindow::ViewTags() const
{
    // The tag table is of every tag; the list chooses what the charts show.
    return view_ == ReportView::Tags ? OnlineTags(month_) : ShownTags();
}

QString ReportWindow::StatusText() const { return status_->text(); }

void ReportWindow::Refresh()
{
    if (month_.TagCount == 0)
        return;
    const int index = tabs_->currentIndex();
    QStackedWidget* page = pages_[static_cast<std::size_t>(index)];
    while (page->count() > 0) {
        QWidget* old = page->widget(0);
        page->removeWidget(old);
        old->deleteLater();
    }
    QWidget* shown = MakeViewWidget(month_, view_, day_, ViewTags(), peaks_);
    shown->setFocusPolicy(Qt::NoFocus);
    page->addWidget(shown);
    const bool whole = view_ == ReportView::Month || view_ == ReportView::Tags;
    status_->setText(QString("%1   %2   %3 tags shown   read %4")
                         .arg(QString::fromStdString(month_.Path))
                         .arg(whole ? MonthTitle(month_) : DayTitle(month_, day_))
                         .arg(ViewTags().size())
                         .arg(QTime::currentTime().toString("hh:mm:ss")));
}

std::string ReportWindow::NeighbourFile(int months, int& year, int& month) const
{
    int fileYear = 0, fileMonth = 0;
    if (!StoreFileMonth(month_.Path, fileYear, fileMonth))
        return {};
    const int index = fileYear * 12 + fileMonth - 1 + months;
    year = index / 12;
    month = index % 12 + 1;
    std::string path = month_.Path;
    char digits[8];
    std::snprintf(digits, sizeof digits, "%02d%02d", year % 100, month);
    path.replace(path.size() - 8, 4, digits);
    return FileExists(path) ? path : std::string();
}

void ReportWindow::StepDay(int days)
{
    if (month_.TagCount == 0)
        return;
    const int day = day_ + days;
    if (day >= 1 && day <= month_.Days) {
        day_ = day;
        Refresh();
        return;
    }
    int year = 0, month = 0;
    const std::string next = NeighbourFile(days < 0 ? -1 : 1, year, month);
    if (next.empty()) {
        status_->setText("No store file for the " + QString(days < 0 ? "month before" : "month after") +
                         " " + MonthTitle(month_));
        return;
    }
    const std::string problem = Open(next, days < 0 ? DaysInMonth(year, month) : 1, {}, true);
    if (!problem.empty())
        status_->setText(QString::fromStdString(problem));
}

void ReportWindow::StepMonth(int months)
{
    if (month_.TagCount == 0)
        return;
    int year = 0, month = 0;
    const std::string next = NeighbourFile(months, year, month);
    if (next.empty()) {
        status_->setText("No store file for the " + QString(months < 0 ? "month before" : "month after") + " " +
                         MonthTitle(month_));
        return;
    }
    const std::string problem = Open(next, std::min(day_, DaysInMonth(year, month)), {}, true);
    if (!problem.empty())
        status_->setText(QString::fromStdString(problem));
}

void ReportWindow::Reload()
{
    if (month_.TagCount == 0)
        return;
    const std::string problem = Open(month_.Path, day_, {}, true);
    if (!problem.empty())
        status_->setText(QString::fromStdString(problem));
}

void ReportWindow::FileChanged()
{
    Reload();
    // A file replaced rather than written drops out of the watch: take it up again.
    const QString local = QString::fromStdString(LocalPath(month_.Path).string());
    if (!watcher_->files().contains(local) && QFileInfo::exists(local))
        watcher_->addPath(local);
}

void ReportWindow::OpenDialog()
{
    const QString path = QFileDialog::getOpenFileName(this, "Open store file", QString(),
                                                      "Store files (*.lum *.LUM);;All files (*)");
    if (path.isEmpty())
        return;
    const std::string problem = OpenStore(path.toStdString(), 0, {});
    if (!problem.empty())
        QMessageBox::warning(this, "vtreport", QString::fromStdString(problem));
}

void ReportWindow::Export(const char* kind)
{
    if (month_.TagCount == 0)
        return;
    const QString suffix = kind;
    const QString filter = suffix == "csv" ? "CSV files (*.csv)" : suffix.toUpper() + " images (*." + suffix + ")";
    QString path = QFileDialog::getSaveFileName(this, "Export", QString(), filter);
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().isEmpty())
        path += "." + suffix;
    std::string problem;
    if (suffix == "csv") {
        problem = SaveText(path, ShownCsv());
    } else {
        // Drawn afresh at the size shown, so the file looks like the window.
        const QSize size = tabs_->currentWidget()->size();
        std::unique_ptr<QWidget> view(MakeViewWidget(month_, view_, day_, ViewTags(), peaks_));
        problem = suffix == "png" ? SavePng(*view, path, size) : SaveSvg(*view, path, size, windowTitle());
    }
    if (!problem.empty())
        QMessageBox::warning(this, "vtreport", QString::fromStdString(problem));
    else
        status_->setText("Exported " + path);
}
