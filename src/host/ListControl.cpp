#include "host/ListControl.h"

namespace {

ListControl& Of(void* control) { return *static_cast<ListControl*>(control); }

}  // namespace

HostListBox MakeHostListBox(ListControl& control) {
    HostListBox box{};
    box.Control = &control;
    box.Clear = [](void* c) { Of(c).Clear(); };
    box.AddItem = [](void* c, const char* text, int32_t itemData) { Of(c).AddItem(text ? text : "", itemData); };
    box.ListCount = [](void* c) { return Of(c).ListCount(); };
    box.ItemData = [](void* c, int32_t index) { return Of(c).ItemData(index); };
    box.ListIndex = [](void* c) { return Of(c).ListIndex(); };
    box.SetListIndex = [](void* c, int32_t index) { Of(c).SetListIndex(index); };
    return box;
}
