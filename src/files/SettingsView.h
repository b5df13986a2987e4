#pragma once
// What reading the settings needs of the screen.
#include <string>

class SettingsView {
public:
    virtual ~SettingsView() = default;
    // The please-wait window's message.
    virtual void ShowWaitMessage(const std::string& text) = 0;
    // The main window's "View Log" menu item follows scan logging.
    virtual void SetViewLogAvailable(bool available) = 0;
};
