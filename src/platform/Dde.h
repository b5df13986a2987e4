#pragma once
// The DDE client: one conversation per link with an application|topic, an item and a link mode.
//  - Automatic: the server pushes every change of the item; it becomes the link's text and is
//    handed to the change callback. Pushed changes are delivered from the Qt event loop when a
//    QCoreApplication exists in this thread, and by DdePump() in any case.
//  - Manual: the owner requests, pokes and executes; each call waits for the server's answer
//    up to a timeout and gives back an error instead of hanging.
// Servers are reached through local sockets in <prefix>/run/dde (see DdeServer.h).
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/VbError.h"

enum class DdeLinkMode { None = 0, Automatic = 1, Manual = 2 };

// The classic DDE run-time errors.
enum DdeErrorNumber : int {
    ErrDdeNoServer = 282,   // No foreign application responded to a DDE initiate
    ErrDdeRefused = 285,    // Foreign application won't perform DDE method or operation
    ErrDdeTimeout = 286,    // Timeout occurred while waiting for DDE response
    ErrDdeNoChannel = 293,  // DDE method invoked with no channel open
};
VbError DdeError(int number);

inline constexpr int DdeDefaultTimeoutMs = 5000;

class DdeLink {
public:
    DdeLink();
    ~DdeLink();
    DdeLink(const DdeLink&) = delete;
    DdeLink& operator=(const DdeLink&) = delete;

    // "application|topic". Changing it closes an open conversation (mode back to None).
    void SetTopic(std::string_view applicationAndTopic);
    const std::string& Topic() const;
    // Changing the item of an automatic link moves the link to the new item.
    VbError SetItem(std::string_view item);
    const std::string& Item() const;

    // Opens the conversation (None closes it). A server that does not answer gives ErrDdeNoServer
    // and leaves the mode None. Automatic links take the item's current text at once.
    VbError SetMode(DdeLinkMode mode);
    // Drops to None when the server goes away.
    DdeLinkMode Mode() const;

    // The linked text: the latest pushed or requested value, or what the owner sets before a poke.
    const std::string& Text() const;
    void SetText(std::string_view text);
    // Called with the new text after each pushed change (from the event loop or DdePump).
    void SetOnChange(std::function<void(const std::string&)> onChange);

    // Manual exchanges on the open conversation. Request replaces Text with the item's value;
    // Poke sends Text to the item; Execute sends a command to the topic.
    VbError Request(int timeoutMs = DdeDefaultTimeoutMs);
    VbError Poke(int timeoutMs = DdeDefaultTimeoutMs);
    VbError Execute(std::string_view command, int timeoutMs = DdeDefaultTimeoutMs);

    struct State;

private:
    std::unique_ptr<State> state_;
};

// Processes pending DDE traffic of every link of this process (reads pushed changes and runs the
// change callbacks), waiting up to waitMs for the first to arrive. For code without an event loop.
void DdePump(int waitMs = 0);
