#include "ui/Twips.h"

#include <cmath>

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace {

constexpr double TwipsPerInch = 1440.0;
constexpr double FallbackDpi = 96.0;

double Dpi(bool x) {
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) return FallbackDpi;
    const double dpi = x ? screen->logicalDotsPerInchX() : screen->logicalDotsPerInchY();
    return dpi > 0 ? dpi : FallbackDpi;
}

int Round(double value) { return static_cast<int>(std::lround(value)); }

} // namespace

double TwipsPerPixelX() { return TwipsPerInch / Dpi(true); }
double TwipsPerPixelY() { return TwipsPerInch / Dpi(false); }

int TwipsToPixelsX(int twips) { return Round(twips / TwipsPerPixelX()); }
int TwipsToPixelsY(int twips) { return Round(twips / TwipsPerPixelY()); }
int PixelsToTwipsX(int pixels) { return Round(pixels * TwipsPerPixelX()); }
int PixelsToTwipsY(int pixels) { return Round(pixels * TwipsPerPixelY()); }

VbResult<QRect> ToPixels(const TwipsRect& rect) {
    VbResult<QRect> out;
    const double left = rect.Left / TwipsPerPixelX();
    const double top = rect.Top / TwipsPerPixelY();
    const double width = rect.Width / TwipsPerPixelX();
    const double height = rect.Height / TwipsPerPixelY();
    // Sizes a widget cannot take are refused the way a control refuses a bad Width or Height.
    const double limit = QWIDGETSIZE_MAX;
    if (width < 0 || height < 0 || width > limit || height > limit || std::fabs(left) > limit ||
        std::fabs(top) > limit) {
        out.Error = VbError(380, "Invalid property value");
        return out;
    }
    out.Value = QRect(Round(left), Round(top), Round(width), Round(height));
    return out;
}

int ScreenWidthTwips() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen ? PixelsToTwipsX(screen->geometry().width()) : 0;
}

int ScreenHeightTwips() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen ? PixelsToTwipsY(screen->geometry().height()) : 0;
}
