#pragma once
// vtreport's window: the four views of one month's store file, a tag list to choose what the
// charts show, one key to move a day or a month, exports, and a reload whenever the monitor
// writes the file.
#include <QMainWindow>
#include <QString>
#include <memory>
#include <string>
#include <vector>

#include "files/PeakTable.h"
#include "report/figures/ReportCommandLine.h"
#include "report/figures/StoreMonth.h"

class QFileSystemWatcher;
class QLabel;
class QListWidget;
class QStackedWidget;
class QTabWidget;
class QTimer;

class ReportWindow : public QMainWindow {
public:
    // settingsFile: where the peak table is ("" for none).
    explicit ReportWindow(std::string settingsFile);
    ~ReportWindow() override;

    // Opens a store file at day (1..) or the month's first day when 0; gives "" or why not. The
    // window keeps what it showed when a file cannot be opened.
    std::string OpenStore(const std::string& path, int day, const std::vector<int>& tags);
    void ShowView(ReportView view);

    // Moves a day or a month; a step past the month opens the neighbouring month's file when it exists.
    void StepDay(int days);
    void StepMonth(int months);
    // Reads the file again (the monitor saved a period).
    void Reload();

    const StoreMonth& Month() const { return month_; }
    int Day() const { return day_; }
    ReportView View() const { return view_; }
    // The tags checked in the list: what the charts show.
    std::vector<int> ShownTags() const;
    // The tags of the shown view: the checked ones, or every online tag in the tag table.
    std::vector<int> ViewTags() const;
    // The data of the shown view, as its CSV export writes it.
    std::string ShownCsv() const;
    QString StatusText() const;

private:
    // keepTicks: the tags ticked now stay ticked (tags is then ignored).
    std::string Open(const std::string& path, int day, const std::vector<int>& tags, bool keepTicks);
    void BuildMenus();
    void FillTagList();
    void Refresh();
    void FileChanged();
    void Export(const char* kind);
    void OpenDialog();
    // The file of the month `months` away, named as this one is; "" when there is none.
    std::string NeighbourFile(int months, int& year, int& month) const;

    std::string settingsFile_;
    std::vector<PeakEntry> peaks_;  // as read when the file was opened or reloaded
    StoreMonth month_;
    int day_ = 1;
    ReportView view_ = ReportView::Day;
    QTabWidget* tabs_ = nullptr;
    std::vector<QStackedWidget*> pages_;
    QListWidget* tagList_ = nullptr;
    QLabel* status_ = nullptr;
    QFileSystemWatcher* watcher_ = nullptr;
    QTimer* reloadTimer_ = nullptr;
    bool filling_ = false;
};
