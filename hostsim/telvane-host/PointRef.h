#pragma once
// Host points as telvane-host's commands and scenarios name them: a tag ([T12], T12, T2005 for a V4
// output) or a recorder line ([R1P2L3] on V4, [P3L4] on V5, or its number as L124).
#include <string>
#include <string_view>

#include "../libs/HostState.h"

enum class PointKind { None, Tag, Line };

struct PointRef {
    PointKind Kind = PointKind::None;
    int Number = 0;  // tag number, or recorder line number
};

// False for anything that is not one of the forms above (pages and lines on a page run 1 to 10).
bool ParsePointRef(std::string_view text, PointRef& point);
// The IO reference text of a point for a generation: [T12], [R2P3L4] (V4) or [P13L4] (V5).
std::string PointRefText(const PointRef& point, int generation);
// The table and zero-based index that hold the point on a host of that generation; false when the
// point is out of the generation's ranges.
bool PointLocation(const PointRef& point, int generation, HostTable& table, int& index);
