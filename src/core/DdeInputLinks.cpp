#include "core/DdeInputLinks.h"

void DdeInputLinks::Resize(int highest) {
    const std::size_t count = highest < 0 ? 0 : static_cast<std::size_t>(highest) + 1;
    // Links above the new highest close their conversations as they go.
    if (links_.size() > count) links_.resize(count);
    while (links_.size() < count) links_.push_back(std::make_unique<DdeLink>());
}

DdeLink* DdeInputLinks::Link(int index) {
    if (index < 0 || index >= Count()) return nullptr;
    return links_[static_cast<std::size_t>(index)].get();
}
