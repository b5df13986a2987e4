#pragma once
#include <string>
#include <string_view>

// What SetWindowTopMost needs of a window; the ui layer implements it.
class TopMostWindow {
public:
    virtual ~TopMostWindow() = default;
    virtual void PlaceTopMost() = 0;
};

class clsAPI {
public:
    // Value of key in section of file through a 256-character buffer, then TrimNull'ed.
    std::string GetIni(std::string_view section, std::string_view key, std::string_view file) const;
    std::string TrimNull(std::string_view text) const;
    // Shell "open" of file with parameters, normal window, not waiting, result unused.
    void MyShellExecute(std::string_view file, std::string_view parameters = {}) const;
    // Places the window above all non-topmost windows without moving or resizing it.
    void SetWindowTopMost(TopMostWindow& window) const;
};
