#pragma once
// Where the socket traffic trace goes: AddLog of the socket log window, while the main window's
// "Log Windows Socket" item is checked. The ui implements it.
#include <string>

class SocketTrace {
public:
    virtual ~SocketTrace() = default;
    // The check state of mnuLWindowsSocket.
    virtual bool Tracing() const = 0;
    // Called from inside the socket handlers: must not let pending events run.
    virtual void AddLog(const std::string& text) = 0;
};
