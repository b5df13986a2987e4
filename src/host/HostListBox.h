#pragma once
// A list or combo box as the host libraries see it: a C table of calls over the control, passed
// to the library calls in place of the box's window handle. Entries carry an item number beside
// their text (the tag or line number the library put there).
#include <cstdint>

extern "C" {
struct HostListBox {
    void* Control;
    void (*Clear)(void* control);
    void (*AddItem)(void* control, const char* text, int32_t itemData);
    int32_t (*ListCount)(void* control);
    int32_t (*ItemData)(void* control, int32_t index);
    int32_t (*ListIndex)(void* control);  // -1 = no entry selected
    void (*SetListIndex)(void* control, int32_t index);
};
}
