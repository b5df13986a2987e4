#pragma once
// lblDDEInput: one DDE conversation per tag number 0..TagCount. Each element keeps its link topic,
// item and mode between scans and holds the latest text the server pushed.
#include <memory>
#include <vector>

#include "platform/Dde.h"

class DdeInputLinks {
public:
    // Holds exactly the elements 0..highest: missing ones above the current highest are created,
    // those above highest are closed and removed. A negative highest leaves no element.
    void Resize(int highest);
    // Number of elements (highest index + 1).
    int Count() const { return static_cast<int>(links_.size()); }
    // Element index; nullptr when there is no such element.
    DdeLink* Link(int index);

private:
    std::vector<std::unique_ptr<DdeLink>> links_;
};
