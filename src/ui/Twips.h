#pragma once
// Window sizes are kept in twips (1440 to the inch) and converted to pixels at the screen's
// resolution only where a widget is placed.
#include <QRect>

#include "platform/VbError.h"

class QScreen;
class QWidget;

struct TwipsRect {
    int Left = 0;
    int Top = 0;
    int Width = 0;
    int Height = 0;
    friend bool operator==(const TwipsRect&, const TwipsRect&) = default;
};

// Twips per pixel of the primary screen (15 at 96 dots per inch).
double TwipsPerPixelX();
double TwipsPerPixelY();

int TwipsToPixelsX(int twips);
int TwipsToPixelsY(int twips);
int PixelsToTwipsX(int pixels);
int PixelsToTwipsY(int pixels);

// A rectangle in pixels; error 380 (Invalid property value) when it cannot be given to a widget.
VbResult<QRect> ToPixels(const TwipsRect& rect);

// The whole screen in twips.
int ScreenWidthTwips();
int ScreenHeightTwips();
