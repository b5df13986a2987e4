#include "support/clsMisc.h"

#include <cmath>

#include "support/Log.h"

namespace {

// Twips are whole numbers here; a half twip rounds to even as the original conversion did.
int HalfOf(int screen, int window) {
    return static_cast<int>(std::nearbyint((static_cast<double>(screen) - window) / 2.0));
}

}  // namespace

void clsMisc::CenterForm(CenterableWindow& window) const {
    // Wider or taller than the screen gives a negative edge: the middles still line up.
    const int left = HalfOf(window.ScreenWidth(), window.Width());
    const int top = HalfOf(window.ScreenHeight(), window.Height());
    VbError error = window.Move(left, top);
    if (error.Failed()) clsLog().LogError(ClassErrorReport("clsMisc", "CenterForm", error));
}
