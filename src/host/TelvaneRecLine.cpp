#include "host/TelvaneRecLine.h"

#include "host/HostNumbering.h"
#include "host/ListControl.h"
#include "host/Telvane.h"

bool TelvaneRecLine::Any() const { return host_ != nullptr && host_->VAny(); }

void TelvaneRecLine::PrefixReferences(ListControl& box) const {
    bool v4 = host_->V4();
    for (int32_t i = 0; i < box.ListCount(); ++i) {
        int32_t line = box.ItemData(i);
        box.SetList(i, (v4 ? LineReferenceV4(line) : LineReferenceV5(line)) + " " + box.List(i));
    }
}

void TelvaneRecLine::SetListBox(ListControl& box) {
    listBox_ = &box;
    if (!Any()) return;
    HostListBox handle = MakeHostListBox(box);
    if (host_->Libraries().LoadLineList(&handle, 0).Ok()) PrefixReferences(box);
}

int32_t TelvaneRecLine::ListIndex() {
    if (!Any() || listBox_ == nullptr) return 0;
    HostListBox handle = MakeHostListBox(*listBox_);
    VbResult<int32_t> r = host_->Libraries().GetLineListIndex(&handle);
    return r.Ok() ? r.Value : 0;
}

void TelvaneRecLine::ListIndex(int32_t line) {
    if (!Any() || listBox_ == nullptr) return;
    HostListBox handle = MakeHostListBox(*listBox_);
    host_->Libraries().SetLineListIndex(&handle, line);
}

void TelvaneRecLine::SetComboBox(ListControl& box) {
    comboBox_ = &box;
    if (!Any()) return;
    HostListBox handle = MakeHostListBox(box);
    if (host_->Libraries().LoadLineCombo(&handle, 0).Ok()) PrefixReferences(box);
}

int32_t TelvaneRecLine::ComboIndex() {
    if (!Any() || comboBox_ == nullptr) return 0;
    HostListBox handle = MakeHostListBox(*comboBox_);
    VbResult<int32_t> r = host_->Libraries().GetLineComboIndex(&handle);
    return r.Ok() ? r.Value : 0;
}

void TelvaneRecLine::ComboIndex(int32_t line) {
    if (!Any() || comboBox_ == nullptr) return;
    HostListBox handle = MakeHostListBox(*comboBox_);
    host_->Libraries().SetLineComboIndex(&handle, line);
}
