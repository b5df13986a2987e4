#include "ui/frmLog.h"

#include <algorithm>

#include <QCloseEvent>
#include <QListWidget>
#include <QMenuBar>

#include "platform/Clock.h"
#include "platform/Paths.h"
#include "platform/Programs.h"
#include "support/VbDate.h"
#include "support/clsMisc.h"
#include "ui/LogWindowLayout.h"
#include "ui/QtText.h"
#include "ui/Twips.h"
#include "ui/WindowPlacement.h"

namespace {

constexpr int LogStartWidth = 7200;
constexpr int LogStartHeight = 4800;

} // namespace

frmLog::frmLog(QWidget* parent) : QMainWindow(parent, Qt::Window) {
    setObjectName("frmLog");
    setWindowTitle("Log");

    mnuFile_ = menuBar()->addMenu("&File");
    mnuFile_->setObjectName("mnuFile");
    clear_ = mnuFile_->addAction("&Clear");
    clear_->setObjectName("mnuFClear");
    mnuFile_->addSeparator();
    exit_ = mnuFile_->addAction("E&xit");
    exit_->setObjectName("mnuFExit");
    QObject::connect(clear_, &QAction::triggered, this, [this] { list_->clear(); });  // the file is kept
    QObject::connect(exit_, &QAction::triggered, this, [this] { close(); });

    auto* inner = new QWidget(this);
    setCentralWidget(inner);
    list_ = new QListWidget(inner);
    list_->setObjectName("lstLog");
    list_->setUniformItemSizes(true);

    ResizeWindowTwips(*this, LogStartWidth, LogStartHeight);
}

std::string frmLog::LogFile() { return PathJoin(LogFolder(), ProgramName()) + "_LogForm.txt"; }

void frmLog::Form_Load() {
    CenterableWidget centre(*this);
    clsMisc().CenterForm(centre);
    log_ = clsLog();
    list_->clear();
    loaded_ = true;
    centredShown_ = false;
    // A hidden window has no laid-out client area yet: its first show runs the resize rule.
    if (isVisible()) Form_Resize();
}

void frmLog::Unload() {
    hide();
    loaded_ = false;
}

void frmLog::AddLog(const std::string& text) {
    if (!loaded_) Form_Load();
    list_->insertItem(0, ToQString(GeneralDate(ClockNow())) + ". " + ToQString(text));
    if (list_->count() > LogListLimit) delete list_->takeItem(LogListLimit);
    log_.Log(LogFile(), text);
}

void frmLog::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    if (!isMinimized()) Form_Resize();
}

void frmLog::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (centredShown_) return;
    centredShown_ = true;
    // The frame is known only now; the centre is that of the whole window.
    CenterableWidget centre(*this);
    clsMisc().CenterForm(centre);
}

void frmLog::closeEvent(QCloseEvent* event) {
    loaded_ = false;
    event->accept();
}

void frmLog::Form_Resize() {
    const LogWindowLayout l = LayoutLogWindow(WindowWidthTwips(*this), InnerHeightTwips(*this));
    const QRect current = list_->geometry();
    TwipsRect wanted{LogListMargin, LogListMargin, PixelsToTwipsX(current.width()), PixelsToTwipsY(current.height())};
    if (l.ListWidth) wanted.Width = *l.ListWidth;
    if (l.ListHeight) wanted.Height = *l.ListHeight;
    const VbResult<QRect> place = ToPixels(wanted);
    if (!place.Ok()) {
        clsLog().LogError(ClassErrorReport("frmLog", "Form_Resize", place.Error));
        return;
    }
    list_->setGeometry(place.Value);
    if (l.WindowWidth || l.WindowHeight) {
        const VbError e = ResizeWindowTwips(*this, l.WindowWidth.value_or(WindowWidthTwips(*this)),
                                            l.WindowHeight.value_or(WindowHeightTwips(*this)));
        if (e.Failed()) clsLog().LogError(ClassErrorReport("frmLog", "Form_Resize", e));
    }
}
