#pragma once
// The host's recorder lines in list and combo boxes: the library fills the box, then every entry
// is rewritten to start with its line's IO reference. Does nothing without a V4 or V5 host.
#include <cstdint>

class Telvane;
class ListControl;

class TelvaneRecLine {
public:
    explicit TelvaneRecLine(Telvane* host = nullptr) : host_(host) {}

    void SetListBox(ListControl& box);
    // Line number of the selected entry of the list box last set.
    int32_t ListIndex();
    void ListIndex(int32_t line);
    void SetComboBox(ListControl& box);
    int32_t ComboIndex();
    void ComboIndex(int32_t line);

private:
    bool Any() const;
    void PrefixReferences(ListControl& box) const;

    Telvane* host_ = nullptr;
    ListControl* listBox_ = nullptr;
    ListControl* comboBox_ = nullptr;
};
