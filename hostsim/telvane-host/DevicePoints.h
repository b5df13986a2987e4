#pragma once
// The host points a device feeds or follows, reached directly in the host's point state: a
// reading stored as the host shows it, and the point's error state.
#include "HostState.h"
#include "PointRef.h"

// nullptr when the point is not one of the generation's points.
inline HostPoint* LocateDevicePoint(HostState& state, int generation, const PointRef& ref) {
    HostTable table;
    int index = 0;
    if (!PointLocation(ref, generation, table, index)) return nullptr;
    return state.Point(table, index);
}

inline void StoreDeviceValue(HostPoint* point, double value) {
    if (point != nullptr) HostStore(point->Reading, static_cast<float>(value));
}

inline void SetDeviceError(HostPoint* point, bool inError) {
    if (point != nullptr) HostStore(point->InError, static_cast<int32_t>(inError ? 1 : 0));
}
