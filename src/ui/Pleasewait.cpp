#include "ui/Pleasewait.h"

#include <algorithm>

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "support/VbConvert.h"
#include "ui/AppTitle.h"
#include "ui/QtText.h"
#include "ui/Twips.h"
#include "ui/WindowPlacement.h"

namespace {

constexpr int WaitWidth = 4800;
constexpr int WaitHeight = 2400;
constexpr int TimerInterval = 500;

} // namespace

Pleasewait::Pleasewait(std::function<bool()> stage2Begun, QWidget* parent)
    : QDialog(parent), stage2Begun_(std::move(stage2Begun)) {
    setObjectName("Pleasewait");
    setWindowTitle(AppTitle);
    setModal(false);

    heading_ = new QLabel("Please wait while loading", this);
    heading_->setAlignment(Qt::AlignCenter);
    QFont bigger = heading_->font();
    bigger.setBold(true);
    heading_->setFont(bigger);

    gauge_ = new QProgressBar(this);
    gauge_->setObjectName("Gauge1");
    gauge_->setRange(0, 100);
    gauge_->setValue(0);

    lblMessage_ = new QLabel(this);
    lblMessage_->setObjectName("lblMessage");
    lblMessage_->setAlignment(Qt::AlignCenter);

    ok_ = new QPushButton("OK", this);
    ok_->setObjectName("cmdOK");
    QObject::connect(ok_, &QPushButton::clicked, this, [this] { close(); });

    auto* column = new QVBoxLayout(this);
    column->addWidget(heading_);
    column->addWidget(gauge_);
    column->addWidget(lblMessage_);
    column->addWidget(ok_, 0, Qt::AlignHCenter);

    timer_ = new QTimer(this);
    timer_->setInterval(TimerInterval);
    QObject::connect(timer_, &QTimer::timeout, this, [this] { Timer1_Timer(); });

    ResizeWindowTwips(*this, WaitWidth, WaitHeight);
    // Never smaller than its contents, so the placement below is made with the final size.
    resize(size().expandedTo(minimumSizeHint()));
}

Pleasewait::~Pleasewait() = default;

void Pleasewait::PlaceOnScreen(int screenWidth, int screenHeight, int width, int height, int& left, int& top) {
    left = (screenWidth - width) / 2;
    top = (screenHeight - height) / 3;
}

void Pleasewait::ShowWait(const std::string& caption) {
    setWindowTitle(ToQString(caption));
    // Placed once shown, when the size includes the window's frame.
    show();
    int left = 0;
    int top = 0;
    PlaceOnScreen(ScreenWidthTwips(), ScreenHeightTwips(), WindowWidthTwips(*this), WindowHeightTwips(*this), left,
                  top);
    MoveWindowTwips(*this, left, top);
    // The window must show even when the loading that follows keeps the event loop busy.
    repaint();
}

void Pleasewait::SetMessage(const std::string& text) {
    lblMessage_->setText(ToQString(text));
    lblMessage_->repaint();
}

void Pleasewait::SetProgress(const std::string& text) {
    const double percent = Val(text);
    gauge_->setValue(static_cast<int>(std::min(100.0, std::max(0.0, percent))));
    gauge_->setFormat(ToQString(text));
    lblMessage_->setText(ToQString(text));
    if (isVisible()) repaint();
}

void Pleasewait::showEvent(QShowEvent* event) {
    timer_->start();
    QDialog::showEvent(event);
}

void Pleasewait::hideEvent(QHideEvent* event) {
    timer_->stop();
    QDialog::hideEvent(event);
}

void Pleasewait::Timer1_Timer() {
    if (stage2Begun_ && stage2Begun_()) close();
}
