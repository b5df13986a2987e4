#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <vector>

#include "platform/Dde.h"
#include "platform/DdeWatch.h"
#include "platform/DdeWire.h"

struct DdeLink::State {
    std::string topicText;
    std::string application;
    std::string topic;
    std::string item;
    std::string text;
    DdeLinkMode mode = DdeLinkMode::None;
    int fd = -1;
    DdeLineBuffer buffer;
    std::unique_ptr<DdeWatch> watch;
    std::function<void(const std::string&)> onChange;
    bool changePending = false;
    bool inCall = false;
    // Answers still owed by the server for calls that timed out; they are skipped when they come.
    int lateAnswers = 0;
};

namespace {

using LinkState = DdeLink::State;

// Every live link of the process, for DdePump and deferred delivery.
std::vector<LinkState*>& Links() {
    static std::vector<LinkState*> links;
    return links;
}

bool IsLive(LinkState* s) {
    auto& links = Links();
    return std::find(links.begin(), links.end(), s) != links.end();
}

void CloseConversation(LinkState* s) {
    s->watch.reset();
    if (s->fd >= 0) ::close(s->fd);
    s->fd = -1;
    s->buffer = DdeLineBuffer();
    s->lateAnswers = 0;
    s->mode = DdeLinkMode::None;
}

void ApplyPush(LinkState* s, const std::vector<std::string>& fields) {
    if (fields.size() < 3 || s->mode != DdeLinkMode::Automatic) return;
    if (!DdeNamesEqual(fields[1], s->item)) return;
    s->text = fields[2];
    s->changePending = true;
}

// Handles the complete lines received outside a call: pushes, and answers that came too late.
void ProcessUnsolicited(LinkState* s) {
    std::string line;
    while (s->buffer.TakeLine(line)) {
        std::vector<std::string> fields = DdeDecodeLine(line);
        if (fields[0] == "DATA") {
            ApplyPush(s, fields);
        } else if ((fields[0] == "OK" || fields[0] == "ERR") && s->lateAnswers > 0) {
            --s->lateAnswers;
        }
    }
}

// Takes in what the server sent without running callbacks. False when the conversation ended.
bool ReadPending(LinkState* s) {
    if (s->fd < 0 || s->inCall) return s->fd >= 0;
    DdeReadResult result = DdeReadAvailable(s->fd, s->buffer);
    ProcessUnsolicited(s);
    if (result == DdeReadResult::Closed) {
        CloseConversation(s);
        return false;
    }
    return true;
}

void DeliverPending() {
    std::vector<LinkState*> due;
    for (LinkState* s : Links()) {
        if (s->changePending) due.push_back(s);
    }
    for (LinkState* s : due) {
        // A callback may destroy other links; only deliver to those still alive.
        if (!IsLive(s) || !s->changePending) continue;
        s->changePending = false;
        if (s->onChange) {
            std::string text = s->text;
            auto onChange = s->onChange;
            onChange(text);
        }
    }
}

// Changes taken in during a call (or a silent refresh) reach their callbacks from the event loop,
// never from inside the call; without a loop DdePump delivers them.
void ScheduleDelivery() {
    bool any = false;
    for (LinkState* s : Links()) any = any || s->changePending;
    if (any) DdeWatch::Later([] { DeliverPending(); });
}

void OnReadable(LinkState* s) {
    if (s->inCall) return;
    ReadPending(s);
    DeliverPending();
}

VbError OpenConversation(LinkState* s) {
    if (s->application.empty()) return DdeError(ErrDdeNoServer);
    s->fd = DdeConnect(s->application);
    if (s->fd < 0) return DdeError(ErrDdeNoServer);
    s->watch = std::make_unique<DdeWatch>(s->fd, [s] { OnReadable(s); });
    return {};
}

// Sends one line and waits for its answer, taking in pushes that arrive meanwhile.
VbError Exchange(LinkState* s, const std::vector<std::string>& fields, int timeoutMs, std::string& data) {
    if (s->fd < 0) return DdeError(ErrDdeNoChannel);
    struct CallGuard {
        LinkState* s;
        explicit CallGuard(LinkState* state) : s(state) { s->inCall = true; }
        ~CallGuard() { s->inCall = false; }
    } guard(s);

    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
    if (!DdeWriteAll(s->fd, DdeEncodeLine(fields), std::max(timeoutMs, 0))) {
        CloseConversation(s);
        return DdeError(ErrDdeNoServer);
    }
    std::string line;
    for (;;) {
        while (s->buffer.TakeLine(line)) {
            std::vector<std::string> answer = DdeDecodeLine(line);
            if (answer[0] == "DATA") {
                ApplyPush(s, answer);
                continue;
            }
            if (answer[0] != "OK" && answer[0] != "ERR") continue;
            if (s->lateAnswers > 0) {
                --s->lateAnswers;
                continue;
            }
            if (answer[0] == "OK") {
                data = answer.size() > 1 ? answer[1] : std::string();
                return {};
            }
            int number = answer.size() > 1 ? std::atoi(answer[1].c_str()) : 0;
            if (number <= 0) number = ErrDdeRefused;
            return answer.size() > 2 && !answer[2].empty() ? VbError(number, answer[2]) : DdeError(number);
        }
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            ++s->lateAnswers;
            return DdeError(ErrDdeTimeout);
        }
        pollfd p{s->fd, POLLIN, 0};
        int ready = ::poll(&p, 1, static_cast<int>(left.count()));
        if (ready <= 0) continue;
        if (DdeReadAvailable(s->fd, s->buffer) == DdeReadResult::Closed) {
            // Answers already in the buffer still count; after them the conversation is gone.
            std::string rest;
            bool answered = false;
            DdeLineBuffer kept = s->buffer;
            while (kept.TakeLine(rest)) {
                std::string head = DdeDecodeLine(rest)[0];
                answered = answered || head == "OK" || head == "ERR";
            }
            if (!answered) {
                CloseConversation(s);
                return DdeError(ErrDdeNoServer);
            }
            // Handle the buffered answer now; the closed socket is noticed by the next read.
        }
    }
}

VbError Advise(LinkState* s) {
    std::string data;
    VbError error = Exchange(s, {"ADV", s->item}, DdeDefaultTimeoutMs, data);
    if (error) return error;
    // The link takes the item's current text at once; the owner hears of it like any change.
    s->text = data;
    s->changePending = true;
    return {};
}

}  // namespace

VbError DdeError(int number) {
    switch (number) {
    case ErrDdeNoServer: return VbError(number, "No foreign application responded to a DDE initiate");
    case ErrDdeRefused: return VbError(number, "Foreign application won't perform DDE method or operation");
    case ErrDdeTimeout: return VbError(number, "Timeout occurred while waiting for DDE response");
    case ErrDdeNoChannel: return VbError(number, "DDE method invoked with no channel open");
    default: return VbError(number);
    }
}

DdeLink::DdeLink() : state_(std::make_unique<State>()) { Links().push_back(state_.get()); }

DdeLink::~DdeLink() {
    CloseConversation(state_.get());
    auto& links = Links();
    links.erase(std::remove(links.begin(), links.end(), state_.get()), links.end());
}

void DdeLink::SetTopic(std::string_view applicationAndTopic) {
    State* s = state_.get();
    if (s->topicText == applicationAndTopic) return;
    if (s->mode != DdeLinkMode::None) CloseConversation(s);
    s->topicText = std::string(applicationAndTopic);
    DdeSplitTopic(s->topicText, s->application, s->topic);
}

const std::string& DdeLink::Topic() const { return state_->topicText; }

VbError DdeLink::SetItem(std::string_view item) {
    State* s = state_.get();
    if (s->item == item) return {};
    std::string old = s->item;
    s->item = std::string(item);
    if (s->mode != DdeLinkMode::Automatic) return {};
    std::string ignored;
    Exchange(s, {"UNADV", old}, DdeDefaultTimeoutMs, ignored);
    VbError error = Advise(s);
    if (error) CloseConversation(s);
    ScheduleDelivery();
    return error;
}

const std::string& DdeLink::Item() const { return state_->item; }

VbError DdeLink::SetMode(DdeLinkMode mode) {
    State* s = state_.get();
    if (mode == DdeLinkMode::None) {
        CloseConversation(s);
        return {};
    }
    if (s->mode == mode) return {};
    std::string data;
    if (s->mode == DdeLinkMode::None) {
        if (VbError error = OpenConversation(s)) return error;
        if (VbError error = Exchange(s, {"INIT", s->topic}, DdeDefaultTimeoutMs, data)) {
            CloseConversation(s);
            return error;
        }
    } else if (s->mode == DdeLinkMode::Automatic) {
        Exchange(s, {"UNADV", s->item}, DdeDefaultTimeoutMs, data);
    }
    s->mode = mode;
    if (mode == DdeLinkMode::Automatic) {
        if (VbError error = Advise(s)) {
            CloseConversation(s);
            return error;
        }
        ScheduleDelivery();
    }
    return {};
}

DdeLinkMode DdeLink::Mode() const {
    State* s = state_.get();
    if (ReadPending(s) && s->changePending) ScheduleDelivery();
    return s->mode;
}

const std::string& DdeLink::Text() const {
    State* s = state_.get();
    if (ReadPending(s) && s->changePending) ScheduleDelivery();
    return s->text;
}

void DdeLink::SetText(std::string_view text) { state_->text = std::string(text); }

void DdeLink::SetOnChange(std::function<void(const std::string&)> onChange) { state_->onChange = std::move(onChange); }

VbError DdeLink::Request(int timeoutMs) {
    State* s = state_.get();
    if (s->mode == DdeLinkMode::None) return DdeError(ErrDdeNoChannel);
    std::string data;
    VbError error = Exchange(s, {"REQ", s->item}, timeoutMs, data);
    if (!error) s->text = data;
    ScheduleDelivery();
    return error;
}

VbError DdeLink::Poke(int timeoutMs) {
    State* s = state_.get();
    if (s->mode == DdeLinkMode::None) return DdeError(ErrDdeNoChannel);
    std::string data;
    VbError error = Exchange(s, {"POKE", s->item, s->text}, timeoutMs, data);
    ScheduleDelivery();
    return error;
}

VbError DdeLink::Execute(std::string_view command, int timeoutMs) {
    State* s = state_.get();
    if (s->mode == DdeLinkMode::None) return DdeError(ErrDdeNoChannel);
    std::string data;
    VbError error = Exchange(s, {"EXEC", std::string(command)}, timeoutMs, data);
    ScheduleDelivery();
    return error;
}

void DdePump(int waitMs) {
    std::vector<pollfd> fds;
    std::vector<LinkState*> owners;
    bool pending = false;
    for (LinkState* s : Links()) {
        pending = pending || s->changePending;
        if (s->fd >= 0 && !s->inCall) {
            fds.push_back(pollfd{s->fd, POLLIN, 0});
            owners.push_back(s);
        }
    }
    int timeout = pending ? 0 : std::max(waitMs, 0);
    if (fds.empty()) {
        if (timeout > 0) ::poll(nullptr, 0, timeout);
    } else if (::poll(fds.data(), fds.size(), timeout) > 0) {
        for (size_t i = 0; i < fds.size(); ++i) {
            if (fds[i].revents != 0 && IsLive(owners[i])) ReadPending(owners[i]);
        }
    }
    DeliverPending();
}
