#include "host/TelvaneTags.h"

#include "host/HostNumbering.h"
#include "host/ListControl.h"
#include "host/Telvane.h"

namespace {

// Every entry to start with "[T" + its tag number + "] ".
void PrefixReferences(ListControl& box, int32_t tagOffset) {
    for (int32_t i = 0; i < box.ListCount(); ++i)
        box.SetList(i, TagReference(box.ItemData(i) + tagOffset) + " " + box.List(i));
}

int32_t Answer(const VbResult<int32_t>& r) { return r.Ok() ? r.Value : 0; }

constexpr int32_t InputKind = 0;
constexpr int32_t OutputKind = 1;
constexpr int32_t OutputOffset = 2000;

}  // namespace

void TelvaneTags::SetListBox(ListControl& box) {
    listBox_ = &box;
    HostListBox handle = MakeHostListBox(box);
    if (host_ == nullptr) return;
    HostLibraries& libs = host_->Libraries();
    if (IsV4()) {
        if (libs.LoadTagList(&handle, InputKind, 0).Ok()) PrefixReferences(box, 0);
    } else if (IsV5()) {
        if (libs.LoadTagListEx(&handle, 0).Ok()) PrefixReferences(box, 0);
    }
}

void TelvaneTags::SetComboBox(ListControl& box) {
    comboBox_ = &box;
    HostListBox handle = MakeHostListBox(box);
    if (host_ == nullptr) return;
    HostLibraries& libs = host_->Libraries();
    if (IsV4()) {
        if (libs.LoadTagCombo(&handle, InputKind, 0).Ok()) PrefixReferences(box, 0);
    } else if (IsV5()) {
        if (libs.LoadTagComboEx(&handle, 0).Ok()) PrefixReferences(box, 0);
    }
}

std::string TelvaneTags::ListReference() {
    if (listBox_ == nullptr) return {};
    HostListBox handle = MakeHostListBox(*listBox_);
    int32_t tag = 0;
    if (IsV4()) tag = Answer(host_->Libraries().GetTagListIndex(&handle, InputKind));
    else if (IsV5()) tag = Answer(host_->Libraries().GetTagListIndexEx(&handle));
    return tag > 0 ? TagReference(tag) : std::string();
}

void TelvaneTags::ListReference(const std::string& reference) {
    if (listBox_ == nullptr) return;
    IOReferenceTarget target = ParseIOReference(reference);
    int32_t tag = target.IsLine ? 0 : target.Number;
    HostListBox handle = MakeHostListBox(*listBox_);
    if (IsV4()) host_->Libraries().SetTagListIndex(&handle, InputKind, tag);
    else if (IsV5()) host_->Libraries().SetTagListIndexEx(&handle, tag);
}

int32_t TelvaneTags::ComboIndex() {
    if (comboBox_ == nullptr) return 0;
    HostListBox handle = MakeHostListBox(*comboBox_);
    if (IsV4()) return Answer(host_->Libraries().GetTagComboIndex(&handle, InputKind));
    if (IsV5()) return Answer(host_->Libraries().GetTagComboIndexEx(&handle));
    return 0;
}

void TelvaneTags::ComboIndex(int32_t tag) {
    if (comboBox_ == nullptr) return;
    HostListBox handle = MakeHostListBox(*comboBox_);
    if (IsV4()) host_->Libraries().SetTagComboIndex(&handle, InputKind, tag);
    else if (IsV5()) host_->Libraries().SetTagComboIndexEx(&handle, tag);
}

void TelvaneTags::SetListBoxV4OutputTag(ListControl& box) {
    outputListBox_ = &box;
    if (!IsV4()) return;
    HostListBox handle = MakeHostListBox(box);
    if (host_->Libraries().LoadTagList(&handle, OutputKind, 0).Ok()) PrefixReferences(box, OutputOffset);
}

int32_t TelvaneTags::ListIndexV4OutputTag() {
    if (outputListBox_ == nullptr || !IsV4()) return 0;
    HostListBox handle = MakeHostListBox(*outputListBox_);
    int32_t output = Answer(host_->Libraries().GetTagListIndex(&handle, OutputKind));
    return output > 0 ? output + OutputOffset : 0;
}

void TelvaneTags::ListIndexV4OutputTag(int32_t tag) {
    if (outputListBox_ == nullptr || !IsV4()) return;
    HostListBox handle = MakeHostListBox(*outputListBox_);
    host_->Libraries().SetTagListIndex(&handle, OutputKind, tag - OutputOffset);
}

void TelvaneTags::SetComboBoxV4OutputTag(ListControl& box) {
    outputComboBox_ = &box;
    if (!IsV4()) return;
    HostListBox handle = MakeHostListBox(box);
    if (host_->Libraries().LoadTagCombo(&handle, OutputKind, 0).Ok()) PrefixReferences(box, OutputOffset);
}

int32_t TelvaneTags::ComboIndexV4OutputTag() {
    if (outputComboBox_ == nullptr || !IsV4()) return 0;
    HostListBox handle = MakeHostListBox(*outputComboBox_);
    int32_t output = Answer(host_->Libraries().GetTagComboIndex(&handle, OutputKind));
    return output > 0 ? output + OutputOffset : 0;
}

void TelvaneTags::ComboIndexV4OutputTag(int32_t tag) {
    if (outputComboBox_ == nullptr || !IsV4()) return;
    HostListBox handle = MakeHostListBox(*outputComboBox_);
    host_->Libraries().SetTagComboIndex(&handle, OutputKind, tag - OutputOffset);
}

int32_t TelvaneTags::SelectTagDialog(int32_t lngFormHWND, int32_t number, const std::string& text) {
    int32_t chosen = 0;
    if (IsV4()) chosen = Answer(host_->Libraries().DisplayTagNumberDlg(lngFormHWND, InputKind, number, text));
    else if (IsV5()) chosen = Answer(host_->Libraries().DisplayTagNumberDlgEx(lngFormHWND, number, text));
    return chosen < 0 ? 0 : chosen;
}

int32_t TelvaneTags::SelectV4OutputTagDialog(int32_t lngFormHWND, int32_t number, const std::string& text) {
    if (!IsV4()) return 0;
    int32_t chosen = Answer(host_->Libraries().DisplayTagNumberDlg(lngFormHWND, OutputKind, number, text));
    return chosen < 0 ? 0 : chosen;
}

bool TelvaneTags::IsV4() const { return host_ != nullptr && host_->V4(); }
bool TelvaneTags::IsV5() const { return host_ != nullptr && host_->V5(); }
