#pragma once
// The host's tags in list and combo boxes, and the host's tag-number dialog. The library fills a
// box; every entry is then rewritten to start with its tag's IO reference ("[T12] Boiler gas").
// The V4 output-tag forms work in tag numbers 2001 and up.
#include <cstdint>
#include <string>

class Telvane;
class ListControl;

class TelvaneTags {
public:
    explicit TelvaneTags(Telvane* host = nullptr) : host_(host) {}

    void SetListBox(ListControl& box);
    void SetComboBox(ListControl& box);
    // IO reference of the selected entry of the list box last set; setting selects that tag's entry.
    std::string ListReference();
    void ListReference(const std::string& reference);
    // Tag number of the selected entry of the combo box last set (0 = none).
    int32_t ComboIndex();
    void ComboIndex(int32_t tag);

    void SetListBoxV4OutputTag(ListControl& box);
    int32_t ListIndexV4OutputTag();
    void ListIndexV4OutputTag(int32_t tag);
    void SetComboBoxV4OutputTag(ListControl& box);
    int32_t ComboIndexV4OutputTag();
    void ComboIndexV4OutputTag(int32_t tag);

    // The chosen tag number (0 when cancelled or without a host).
    int32_t SelectTagDialog(int32_t lngFormHWND, int32_t number, const std::string& text);
    int32_t SelectV4OutputTagDialog(int32_t lngFormHWND, int32_t number, const std::string& text);

private:
    bool IsV4() const;
    bool IsV5() const;

    ListControl* listBox_ = nullptr;
    ListControl* comboBox_ = nullptr;
    ListControl* outputListBox_ = nullptr;
    ListControl* outputComboBox_ = nullptr;
    Telvane* host_ = nullptr;
};
