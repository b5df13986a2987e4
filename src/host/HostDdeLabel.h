#pragma once
// The DDE label the host object borrows from the main window for a V4 host's set-up writes and
// line statistics. Each exchange sets the link's topic and item and opens it manually (mode 2).
#include <string>

#include "platform/VbError.h"

class HostDdeLabel {
public:
    virtual ~HostDdeLabel() = default;
    // Sets the label's text to data and pokes it to item.
    virtual VbError Poke(const std::string& topic, const std::string& item, const std::string& data) = 0;
    // Requests item; the label's new text.
    virtual VbResult<std::string> Request(const std::string& topic, const std::string& item) = 0;
    // Executes command on the link of topic (the set-up changes' "Save").
    virtual VbError Execute(const std::string& topic, const std::string& command) = 0;
};
