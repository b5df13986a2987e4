#include "ui/frmMain.h"

#include <algorithm>

#include <QCloseEvent>
#include <QCoreApplication>
#include <QHeaderView>
#include <QLabel>
#include <QMenuBar>
#include <QTableWidget>
#include <QVBoxLayout>

#include "platform/Programs.h"
#include "support/Log.h"
#include "support/clsAPI.h"
#include "support/clsMisc.h"
#include "ui/AppTitle.h"
#include "ui/MessageBoxes.h"
#include "ui/Pleasewait.h"
#include "ui/QtText.h"
#include "ui/Twips.h"
#include "ui/WindowPlacement.h"
#include "ui/frmAbout.h"
#include "ui/frmLog.h"

namespace {

// Rows the grid has before start-up sets it to TagCount: every tag slot of a setup file, so
// the setup load can name them all.
constexpr int DesignRows = 200;
constexpr int DataColumns = 5;
constexpr const char* Headings[DataColumns + 1] = {"No.", "Name", "Current Data", "Integrated Data", "Tag Type",
                                                   "Rate"};

QAction* AddItem(QMenu* menu, const char* name, const char* caption) {
    QAction* action = menu->addAction(caption);
    action->setObjectName(name);
    return action;
}

QAction* AddSeparator(QMenu* menu, const char* name) {
    QAction* action = menu->addSeparator();
    action->setObjectName(name);
    return action;
}

QLabel* MakePanel(QWidget* parent, const char* name, Qt::Alignment alignment) {
    auto* panel = new QLabel(parent);
    panel->setObjectName(name);
    panel->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    panel->setLineWidth(2);
    panel->setAlignment(alignment);
    panel->setTextFormat(Qt::PlainText);
    return panel;
}

void SetTextColour(QWidget* widget, const QColor& colour) {
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, colour);
    widget->setPalette(palette);
}

} // namespace

frmMain::frmMain(MonitorCommands* commands) : commands_(commands) {
    setObjectName("frmMain");
    setWindowTitle(MainWindowCaption);

    auto* inner = new QWidget(this);
    setCentralWidget(inner);

    grid_ = new QTableWidget(DesignRows, DataColumns + 1, inner);
    grid_->setObjectName("Grid1");
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->verticalHeader()->hide();
    grid_->horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grid_->horizontalHeader()->setHighlightSections(false);
    grid_->setWordWrap(false);
    SetupGrid(DesignRows);

    BuildPanels(inner);
    BuildMenus();

    pleasewait_ = new Pleasewait([this] { return stage2Begun_; }, this);
    log_ = new frmLog(this);

    // Until the core installs its own, a log that cannot be written asks here (only under "/d").
    SetLogFailurePrompt(
        [this](const std::string& title, const std::string& text) {
            return Ask(text, title, MessageButtons::YesNo, MessageIcon::Exclamation) == MessageAnswer::Yes;
        },
        [this] { CloseMainWindow(); });

    layout_ = InitialMainLayout();
    ResizeWindowTwips(*this, MainStartWidth, MainStartHeight);
    CenterableWidget centre(*this);
    clsMisc().CenterForm(centre);
    LayoutFor(MainStartWidth, MainStartHeight);
}

frmMain::~frmMain() { SetLogFailurePrompt(nullptr, nullptr); }

void frmMain::BuildPanels(QWidget* inner) {
    panel3D4_ = MakePanel(inner, "Panel3D4", Qt::AlignHCenter | Qt::AlignTop);
    panel3D2_ = MakePanel(inner, "Panel3D2", Qt::AlignCenter);
    panel3D1_ = MakePanel(inner, "Panel3D1", Qt::AlignCenter);
    panel3D2_->setText("Voltaris Monitor");
    for (QLabel* panel : {panel3D4_, panel3D2_, panel3D1_}) SetTextColour(panel, ToQColor(ColourRed));

    // The watchdog label sits in the lower half of the countdown panel.
    watchdog_ = new QLabel("WATCH DOG", panel3D4_);
    watchdog_->setObjectName("lblWatchDog");
    watchdog_->setAlignment(Qt::AlignCenter);
    QFont small = watchdog_->font();
    if (small.pointSizeF() > 0) small.setPointSizeF(small.pointSizeF() * 0.8);
    small.setBold(true);
    watchdog_->setFont(small);
    auto* stack = new QVBoxLayout(panel3D4_);
    stack->setContentsMargins(3, 0, 3, 3);
    stack->addStretch(1);
    stack->addWidget(watchdog_);
    SetWatchdogLabel(false);
}

void frmMain::BuildMenus() {
    opts_ = menuBar()->addMenu("&Options");
    opts_->setObjectName("opts");
    ldstup_ = AddItem(opts_, "ldstup", "&Reload setup");
    setcontrolit_ = AddItem(opts_, "setcontrolit", "Set &Control...");
    QAction* sep2 = AddSeparator(opts_, "sep2");
    QAction* setup = AddItem(opts_, "loadvoltarisset", "Start &Setup...");
    QAction* report = AddItem(opts_, "loadvoltaris", "Start &vtreport...");
    QAction* showLog = AddItem(opts_, "mnuO_ShowLog", "Show Socket &Log");
    AddSeparator(opts_, "sep");
    viewLog_ = AddItem(opts_, "mnuO_ViewLog", "View Log");
    QAction* exitit = AddItem(opts_, "exitit", "&Exit");
    ldstup_->setVisible(false);
    setcontrolit_->setVisible(false);  // there is no control form to open
    sep2->setVisible(false);
    viewLog_->setVisible(false);       // offered once the settings turn scan logging on

    help_ = menuBar()->addMenu("Help");
    help_->setObjectName("mnuHelp");
    helpHelp_ = AddItem(help_, "mnuHelpHelp", "Help");
    helpHelp_->setVisible(false);
    QAction* abt = AddItem(help_, "abt", "&About...");

    logMenu_ = menuBar()->addMenu("Log");
    logMenu_->setObjectName("mnuLog");
    QAction* hide = AddItem(logMenu_, "mnuLHide", "Hide");
    AddSeparator(logMenu_, "mnuLLine1");
    windowsSocket_ = AddItem(logMenu_, "mnuLWindowsSocket", "Log Windows Socket");
    windowsSocket_->setCheckable(true);
    AddSeparator(logMenu_, "mnuLine2");
    QAction* logExit = AddItem(logMenu_, "mnuLExit", "Exit");
    logMenu_->menuAction()->setVisible(false);

    QObject::connect(ldstup_, &QAction::triggered, this, [this] {
        if (commands_) commands_->ReloadSetup();
    });
    QObject::connect(setup, &QAction::triggered, this, [this] {
        if (commands_) commands_->StartSetupProgram();
    });
    QObject::connect(report, &QAction::triggered, this, [this] {
        if (commands_) commands_->StartReportProgram();
    });
    QObject::connect(showLog, &QAction::triggered, this, [this] { ShowSocketLog(); });
    QObject::connect(viewLog_, &QAction::triggered, this, [this] {
        if (commands_) commands_->ViewLog();
    });
    QObject::connect(exitit, &QAction::triggered, this, [this] { close(); });
    QObject::connect(abt, &QAction::triggered, this, [this] { ShowAbout(); });
    QObject::connect(hide, &QAction::triggered, this, [this] { HideSocketLog(); });
    QObject::connect(logExit, &QAction::triggered, this, [this] {
        if (commands_) commands_->RequestExit();
        close();
    });
}

// ---- the grid ----

void frmMain::SetupGrid(int rows) {
    grid_->setColumnCount(DataColumns + 1);
    grid_->setRowCount(std::max(0, rows));
    for (int c = 0; c <= DataColumns; ++c) {
        auto* heading = new QTableWidgetItem(Headings[c]);
        grid_->setHorizontalHeaderItem(c, heading);
    }
    // Column 0 is the row-heading column: the tag number.
    for (int r = 0; r < grid_->rowCount(); ++r) {
        QTableWidgetItem* number = grid_->item(r, 0);
        if (!number) {
            number = new QTableWidgetItem;
            number->setTextAlignment(Qt::AlignCenter);
            number->setBackground(grid_->palette().button());
            grid_->setItem(r, 0, number);
        }
        number->setText(QString::number(r + 1));
    }
    const int headingHeight = TwipsToPixelsY(static_cast<int>(GridHeadingRowUnits * GridRowUnitTwips));
    grid_->horizontalHeader()->setFixedHeight(headingHeight);
    // Data rows as low as the heading row, but never lower than a line of the grid's font.
    grid_->verticalHeader()->setMinimumSectionSize(1);
    grid_->verticalHeader()->setDefaultSectionSize(std::max(headingHeight, grid_->fontMetrics().height() + 4));
    ApplyColumnWidths();
}

void frmMain::ApplyColumnWidths() {
    grid_->setColumnWidth(0, TwipsToPixelsX(static_cast<int>(layout_.Column0Units * GridColumnUnitTwips)));
    const int data = TwipsToPixelsX(static_cast<int>(layout_.DataColumnUnits * GridColumnUnitTwips));
    for (int c = 1; c <= DataColumns; ++c) grid_->setColumnWidth(c, data);
}

void frmMain::SetGridCell(int row, int column, const std::string& text) {
    // Rows beyond the grid's TagCount rows and columns outside 1..5 are not shown.
    if (row < 1 || row > grid_->rowCount() || column < 1 || column > DataColumns) return;
    QTableWidgetItem* cell = grid_->item(row - 1, column);
    if (!cell) {
        cell = new QTableWidgetItem;
        grid_->setItem(row - 1, column, cell);
    }
    cell->setText(ToQString(text));
}

void frmMain::SetGridRowColour(int row, int columnFrom, int columnTo, RgbColour colour) {
    if (row < 1 || row > grid_->rowCount()) return;
    for (int c = std::max(1, columnFrom); c <= std::min(DataColumns, columnTo); ++c) {
        QTableWidgetItem* cell = grid_->item(row - 1, c);
        if (!cell) {
            cell = new QTableWidgetItem;
            grid_->setItem(row - 1, c, cell);
        }
        cell->setForeground(ToQColor(colour));
    }
}

// ---- panels and watchdog ----

QLabel* frmMain::Panel(StatusPanel panel) const {
    switch (panel) {
    case StatusPanel::Panel3D4: return panel3D4_;
    case StatusPanel::Panel3D2: return panel3D2_;
    case StatusPanel::Panel3D1: return panel3D1_;
    }
    return panel3D2_;
}

void frmMain::SetPanelText(StatusPanel panel, const std::string& text) {
    QLabel* label = Panel(panel);
    label->setText(ToQString(text));
    // Painted now: a scan may run on for a while before events are let through.
    label->repaint();
}

void frmMain::SetStatusText(const std::string& text) { SetPanelText(StatusPanel::Panel3D2, text); }

void frmMain::SetPanelColour(StatusPanel panel, RgbColour textColour) {
    SetTextColour(Panel(panel), ToQColor(textColour));
}

void frmMain::SetWatchdogLabel(bool on) {
    // On: dark text on a bright ground; off: greyed out.
    watchdog_->setEnabled(on);
    watchdog_->setAutoFillBackground(on);
    QPalette palette = watchdog_->palette();
    palette.setColor(QPalette::Window, on ? QColor(0, 255, 0) : panel3D4_->palette().color(QPalette::Window));
    palette.setColor(QPalette::Active, QPalette::WindowText, QColor(0, 0, 0));
    palette.setColor(QPalette::Inactive, QPalette::WindowText, QColor(0, 0, 0));
    palette.setColor(QPalette::Disabled, QPalette::WindowText, QColor(160, 160, 160));
    watchdog_->setPalette(palette);
    watchdog_->update();
}

// ---- layout ----

void frmMain::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    LayoutFor(WindowWidthTwips(*this), WindowHeightTwips(*this));
}

void frmMain::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (shownOnce_) return;
    shownOnce_ = true;
    // Only a shown window knows its frame: size the outer window and centre it again.
    ResizeWindowTwips(*this, MainStartWidth, MainStartHeight);
    CenterableWidget centre(*this);
    clsMisc().CenterForm(centre);
}

void frmMain::LayoutFor(int windowWidth, int windowHeight) {
    panel3D2_->clear();
    panel3D2_->repaint();

    const MainLayout next = LayoutMainWindow(layout_, windowWidth, windowHeight);
    const TwipsRect* rects[] = {&next.Grid, &next.Panel3D4, &next.Panel3D2, &next.Panel3D1};
    QRect pixels[4];
    for (int i = 0; i < 4; ++i) {
        const VbResult<QRect> r = ToPixels(*rects[i]);
        if (!r.Ok()) {
            ReportError("frmMain.Resize", r.Error);  // the window keeps its current layout
            return;
        }
        pixels[i] = r.Value;
    }
    layout_ = next;
    grid_->setGeometry(pixels[0]);
    panel3D4_->setGeometry(pixels[1]);
    panel3D2_->setGeometry(pixels[2]);
    panel3D1_->setGeometry(pixels[3]);
    ApplyColumnWidths();
}

// ---- please-wait window ----

void frmMain::ShowWait(const std::string& caption) { pleasewait_->ShowWait(caption); }
void frmMain::SetWaitProgress(const std::string& text) { pleasewait_->SetProgress(text); }
void frmMain::ShowWaitMessage(const std::string& text) { pleasewait_->SetMessage(text); }
void frmMain::CloseWait() { pleasewait_->close(); }

void frmMain::DoEvents() { QCoreApplication::processEvents(); }

// ---- messages and programs ----

void frmMain::ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) {
    RunMessageBox(text, title, MessageButtons::OK, icon, this);
}

MessageAnswer frmMain::Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                           MessageIcon icon) {
    return RunMessageBox(text, title, buttons, icon, this);
}

void frmMain::StartProgram(const std::string& program, const std::string& arguments) {
    clsAPI().MyShellExecute(program, arguments);
}

// ---- menus ----

QAction* frmMain::Action(MenuItem item) const {
    switch (item) {
    case MenuItem::ldstup: return ldstup_;
    case MenuItem::setcontrolit: return setcontrolit_;
    case MenuItem::mnuO_ViewLog: return viewLog_;
    case MenuItem::mnuHelpHelp: return helpHelp_;
    case MenuItem::mnuLog: return logMenu_->menuAction();
    case MenuItem::mnuLWindowsSocket: return windowsSocket_;
    }
    return nullptr;
}

void frmMain::SetMenuVisible(MenuItem item, bool visible) {
    if (QAction* action = Action(item)) action->setVisible(visible);
}

void frmMain::SetMenuChecked(MenuItem item, bool checked) {
    QAction* action = Action(item);
    if (!action) return;
    action->setCheckable(true);
    action->setChecked(checked);
}

bool frmMain::MenuChecked(MenuItem item) const {
    const QAction* action = Action(item);
    return action && action->isChecked();
}

void frmMain::SetViewLogAvailable(bool available) { viewLog_->setVisible(available); }

void frmMain::ShowAbout() {
    const AboutInfo info = commands_ ? commands_->About() : AboutInfo{};
    frmAbout about(info, ProgramFilePath(), this);
    about.ShowModal();
}

// ---- the socket log window ----

bool frmMain::Tracing() const { return windowsSocket_->isChecked(); }

void frmMain::AddLog(const std::string& text) { log_->AddLog(text); }

void frmMain::CloseLogWindow() { log_->Unload(); }

void frmMain::ShowSocketLog() {
    if (!log_->Loaded()) log_->Form_Load();
    log_->show();
    TopMostWidget top(*log_);
    clsAPI().SetWindowTopMost(top);
    logMenu_->menuAction()->setVisible(true);
    windowsSocket_->setChecked(false);
}

void frmMain::HideSocketLog() {
    CloseLogWindow();
    logMenu_->menuAction()->setVisible(false);
}

// ---- closing ----

void frmMain::CloseMainWindow() { close(); }

void frmMain::EndProgram() {
    endingProgram_ = true;
    close();
}

void frmMain::closeEvent(QCloseEvent* event) {
    if (!endingProgram_ && commands_ && !commands_->QueryClose()) {
        event->ignore();  // the host has been asked to close first; the monitor runs on
        return;
    }
    event->accept();
    pleasewait_->close();
    log_->Unload();
    QCoreApplication::quit();
}

std::unique_ptr<frmMain> CreateMainWindow(MonitorCommands& commands) { return std::make_unique<frmMain>(&commands); }
