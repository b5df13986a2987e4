#pragma once
// The host points a device feeds or follows, reached directly in the host's point state: a
// reading stored as the host shows it, and the point's error state.
#include <cfloat>
#include <cmath>

#include "HostState.h"
#include "PointRef.h"

// nullptr when the point is not one of the generation's points.
inline HostPoint* LocateDevicePoint(HostState& state, int generation, const PointRef& ref) {
    HostTable table;
    int index = 0;
    if (!PointLocation(ref, generation, table, index)) return nullptr;
    return state.Point(table, index);
}

// Whether a value can be a host reading: finite and within a float's range. A device's NaN or
// an overflow must never reach the monitor, which would store it.
inline bool FitsReading(double value) { return std::isfinite(value) && std::fabs(value) <= FLT_MAX; }

// Stores the value as the point's reading; false, and nothing stored, when it cannot be one.
inline bool StoreDeviceValue(HostPoint* point, double value) {
    if (!FitsReading(value)) return false;
    if (point != nullptr) HostStore(point->Reading, static_cast<float>(value));
    return true;
}

inline void SetDeviceError(HostPoint* point, bool inError) {
    if (point != nullptr) HostStore(point->InError, static_cast<int32_t>(inError ? 1 : 0));
}
