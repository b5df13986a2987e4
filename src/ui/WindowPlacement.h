#pragma once
// Top-level windows measured, sized and moved in twips by their outer size (frame included),
// and the adapters through which CenterForm and SetWindowTopMost reach a widget.
#include "support/clsAPI.h"
#include "support/clsMisc.h"

class QWidget;

int WindowWidthTwips(const QWidget& window);
int WindowHeightTwips(const QWidget& window);
// Client area (below the menu bar of a main window) in twips.
int InnerWidthTwips(const QWidget& window);
int InnerHeightTwips(const QWidget& window);

// Error 380 when the size cannot be given to the window.
VbError ResizeWindowTwips(QWidget& window, int width, int height);
VbError MoveWindowTwips(QWidget& window, int left, int top);

class CenterableWidget : public CenterableWindow {
public:
    explicit CenterableWidget(QWidget& window) : window_(window) {}
    int ScreenWidth() const override;
    int ScreenHeight() const override;
    int Width() const override;
    int Height() const override;
    VbError Move(int left, int top) override;

private:
    QWidget& window_;
};

class TopMostWidget : public TopMostWindow {
public:
    explicit TopMostWidget(QWidget& window) : window_(window) {}
    void PlaceTopMost() override;

private:
    QWidget& window_;
};
