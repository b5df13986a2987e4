#include "ui/WindowPlacement.h"

#include <algorithm>

#include <QMainWindow>
#include <QWidget>

#include "ui/Twips.h"

namespace {

QSize FrameExtra(const QWidget& window) {
    // Before the window is first shown the frame is unknown and counts as none.
    return window.frameGeometry().size() - window.geometry().size();
}

const QWidget& Client(const QWidget& window) {
    if (const auto* main = qobject_cast<const QMainWindow*>(&window))
        if (const QWidget* central = main->centralWidget()) return *central;
    return window;
}

} // namespace

int WindowWidthTwips(const QWidget& window) { return PixelsToTwipsX(window.frameGeometry().width()); }
int WindowHeightTwips(const QWidget& window) { return PixelsToTwipsY(window.frameGeometry().height()); }
int InnerWidthTwips(const QWidget& window) { return PixelsToTwipsX(Client(window).width()); }
int InnerHeightTwips(const QWidget& window) { return PixelsToTwipsY(Client(window).height()); }

VbError ResizeWindowTwips(QWidget& window, int width, int height) {
    const VbResult<QRect> size = ToPixels({0, 0, width, height});
    if (!size.Ok()) return size.Error;
    const QSize extra = FrameExtra(window);
    window.resize(std::max(0, size.Value.width() - extra.width()), std::max(0, size.Value.height() - extra.height()));
    return {};
}

VbError MoveWindowTwips(QWidget& window, int left, int top) {
    const VbResult<QRect> place = ToPixels({left, top, 0, 0});
    if (!place.Ok()) return place.Error;
    window.move(place.Value.topLeft());  // move() places the frame's corner
    return {};
}

int CenterableWidget::ScreenWidth() const { return ScreenWidthTwips(); }
int CenterableWidget::ScreenHeight() const { return ScreenHeightTwips(); }
int CenterableWidget::Width() const { return WindowWidthTwips(window_); }
int CenterableWidget::Height() const { return WindowHeightTwips(window_); }
VbError CenterableWidget::Move(int left, int top) { return MoveWindowTwips(window_, left, top); }

void TopMostWidget::PlaceTopMost() {
    // Changing the window flags hides a shown window; it comes back where it was.
    const bool shown = window_.isVisible();
    const QPoint at = window_.pos();
    window_.setWindowFlag(Qt::WindowStaysOnTopHint, true);
    if (shown) {
        window_.move(at);
        window_.show();
        window_.raise();
    }
}
