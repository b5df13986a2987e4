#pragma once
// The socket log window's resize rule, in twips: the list fills the window, and a window made
// smaller than the minimum is set back to it.
#include <optional>

inline constexpr int LogMinimumInnerHeight = 3435;
inline constexpr int LogMinimumWidth = 4800;
inline constexpr int LogListMargin = 60;  // the list's distance from the window's top and left

struct LogWindowLayout {
    std::optional<int> ListWidth;
    std::optional<int> ListHeight;
    std::optional<int> WindowWidth;   // the window is set to this width
    std::optional<int> WindowHeight;  // the window is set to this height
};

LogWindowLayout LayoutLogWindow(int windowWidth, int innerHeight);
