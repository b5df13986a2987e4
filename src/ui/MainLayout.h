#pragma once
// Where the grid and the three status panels of the main window go, in twips, for a window size.
#include "ui/Twips.h"

// Grid1's own units: a column width unit is one character cell of 96 twips, a row height unit
// a point of 20 twips.
inline constexpr int GridColumnUnitTwips = 96;
inline constexpr int GridRowUnitTwips = 20;
inline constexpr double GridHeadingColumnUnits = 5;
inline constexpr double GridHeadingRowUnits = 12;

// The window's size when the monitor starts.
inline constexpr int MainStartWidth = 8000;
inline constexpr int MainStartHeight = 4000;

struct MainLayout {
    TwipsRect Grid;
    TwipsRect Panel3D4;  // countdown, left
    TwipsRect Panel3D2;  // status line, middle
    TwipsRect Panel3D1;  // date and time, right
    double Column0Units = GridHeadingColumnUnits;
    double DataColumnUnits = 0;  // each of the grid columns 1 to 5
    friend bool operator==(const MainLayout&, const MainLayout&) = default;
};

// The layout of a window of the given outer size. A window no higher than 1000 twips keeps the
// previous heights and panel tops; one no wider than 4000 keeps the previous widths and the clock
// panel's place.
MainLayout LayoutMainWindow(const MainLayout& previous, int windowWidth, int windowHeight);

// The layout the window has before its first resize: that of the start size.
MainLayout InitialMainLayout();
