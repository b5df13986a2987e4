#pragma once
// Helpers the acquisition, calculation and maths procedures share for one tag of a scan.
#include <cstddef>
#include <string>

#include "core/ScanContext.h"

// True when tag has a record and a value slot; anything else is a subscript fault (error 9).
inline bool ScanTagInRange(const ScanContext& scan, int tag) {
    return tag >= 0 && static_cast<std::size_t>(tag) < scan.Setup.TagTable.size() &&
           static_cast<std::size_t>(tag) < scan.Values.size();
}

// Grid columns the scan writes.
inline constexpr int GridColumnCurrent = 2;
inline constexpr int GridColumnIntegrated = 3;
inline constexpr int GridColumnRate = 5;
inline constexpr int GridLastColumn = 5;

// A tag's cell showing a number, and a row's colour, on a view that has a grid.
inline void ShowGridNumber(ScanContext& scan, int tag, int column, const GridNumber& number) {
    if (scan.View.ShowsGrid()) scan.View.SetGridNumber(tag, column, number);
}
inline void ShowRowColour(ScanContext& scan, int tag, RgbColour colour) {
    if (scan.View.ShowsGrid()) scan.View.SetGridRowColour(tag, 1, GridLastColumn, colour);
}
