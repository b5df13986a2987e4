#pragma once
// The server side of the DDE stand-in: serves one application name of the prefix. Conversations
// name a topic; the handlers answer requests, pokes and executes, and Advise pushes an item's new
// text to every automatic link on it. Traffic is handled from the Qt event loop of this thread when
// there is one, and by Pump in any case.
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/VbError.h"

struct DdeServerHandlers {
    // Whether the topic is served; a conversation on any other topic is refused (no handler: all are).
    std::function<bool(const std::string& topic)> AcceptTopic;
    // The item's current text; also what an automatic link gets when it is set up.
    std::function<VbResult<std::string>(const std::string& topic, const std::string& item)> Request;
    std::function<VbError(const std::string& topic, const std::string& item, const std::string& data)> Poke;
    std::function<VbError(const std::string& topic, const std::string& command)> Execute;
};

class DdeServer {
public:
    DdeServer();
    ~DdeServer();
    DdeServer(const DdeServer&) = delete;
    DdeServer& operator=(const DdeServer&) = delete;

    // Starts serving application. Fails when another live program already serves it.
    VbError Start(std::string_view application, DdeServerHandlers handlers);
    void Stop();
    bool Running() const;
    const std::string& Application() const;

    // Pushes data to every automatic link on topic and item (names compare without regard to case).
    void Advise(std::string_view topic, std::string_view item, std::string_view data);
    // Accepts conversations and answers what is pending, waiting up to waitMs for the first event;
    // also sends pushes a slow client could not take yet.
    void Pump(int waitMs = 0);
    int ConversationCount() const;

    struct State;

private:
    std::unique_ptr<State> state_;
};
