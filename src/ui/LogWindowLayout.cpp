#include "ui/LogWindowLayout.h"

LogWindowLayout LayoutLogWindow(int windowWidth, int innerHeight) {
    LogWindowLayout l;
    if (innerHeight >= LogMinimumInnerHeight)
        l.ListHeight = innerHeight - 795;
    else
        l.WindowHeight = LogMinimumInnerHeight;
    if (windowWidth >= LogMinimumWidth)
        l.ListWidth = windowWidth - 240;
    else
        l.WindowWidth = LogMinimumWidth;
    return l;
}
