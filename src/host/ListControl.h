#pragma once
// The smallest view of a list or combo box that the host layer needs: entries with a text and an
// item number, and a selection. The ui layer implements it over its widgets.
#include <cstdint>
#include <string>

#include "host/HostListBox.h"

class ListControl {
public:
    virtual ~ListControl() = default;
    virtual void Clear() = 0;
    virtual void AddItem(const std::string& text, int32_t itemData) = 0;
    virtual int32_t ListCount() const = 0;
    virtual std::string List(int32_t index) const = 0;
    virtual void SetList(int32_t index, const std::string& text) = 0;
    virtual int32_t ItemData(int32_t index) const = 0;
    virtual int32_t ListIndex() const = 0;  // -1 = no entry selected
    virtual void SetListIndex(int32_t index) = 0;
};

// The table of calls through which a host library fills and reads the control.
// Valid while control lives.
HostListBox MakeHostListBox(ListControl& control);
