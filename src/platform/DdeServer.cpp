#include "platform/DdeServer.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "platform/Dde.h"
#include "platform/DdeWatch.h"
#include "platform/DdeWire.h"

namespace {

// A client that stops reading is dropped once this much is waiting for it.
constexpr size_t MaxQueuedBytes = 1 << 20;

struct Conversation {
    int fd = -1;
    DdeLineBuffer input;
    std::string output;
    std::string topic;
    bool initiated = false;
    bool dead = false;
    std::vector<std::string> advised;
    std::unique_ptr<DdeWatch> watch;
};

}  // namespace

struct DdeServer::State {
    std::string application;
    std::string socketPath;
    DdeServerHandlers handlers;
    int listenFd = -1;
    std::unique_ptr<DdeWatch> listenWatch;
    std::vector<std::unique_ptr<Conversation>> conversations;
    int depth = 0;  // handler calls in progress; dead conversations are removed only at depth 0

    void Send(Conversation& c, const std::vector<std::string>& fields);
    void Flush(Conversation& c);
    void AcceptAll();
    void OnReadable(Conversation* c);
    void Handle(Conversation& c, const std::vector<std::string>& fields);
    void Sweep();
    bool Owns(Conversation* c) const;
};

void DdeServer::State::Flush(Conversation& c) {
    while (!c.output.empty() && !c.dead) {
        ssize_t n = ::send(c.fd, c.output.data(), c.output.size(), MSG_NOSIGNAL);
        if (n > 0) {
            c.output.erase(0, static_cast<size_t>(n));
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            break;
        } else {
            c.dead = true;
        }
    }
    if (c.output.size() > MaxQueuedBytes) c.dead = true;
}

void DdeServer::State::Send(Conversation& c, const std::vector<std::string>& fields) {
    if (c.dead) return;
    c.output += DdeEncodeLine(fields);
    Flush(c);
}

bool DdeServer::State::Owns(Conversation* c) const {
    for (const auto& owned : conversations) {
        if (owned.get() == c) return true;
    }
    return false;
}

void DdeServer::State::AcceptAll() {
    for (;;) {
        int fd = ::accept4(listenFd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR) continue;
            return;
        }
        auto c = std::make_unique<Conversation>();
        c->fd = fd;
        Conversation* raw = c.get();
        c->watch = std::make_unique<DdeWatch>(fd, [this, raw] {
            if (Owns(raw)) OnReadable(raw);
            Sweep();
        });
        conversations.push_back(std::move(c));
    }
}

void DdeServer::State::OnReadable(Conversation* c) {
    if (c->dead) return;
    DdeReadResult result = DdeReadAvailable(c->fd, c->input);
    std::string line;
    while (!c->dead && c->input.TakeLine(line)) Handle(*c, DdeDecodeLine(line));
    if (result == DdeReadResult::Closed) c->dead = true;
}

void DdeServer::State::Handle(Conversation& c, const std::vector<std::string>& fields) {
    const std::string& verb = fields[0];
    auto field = [&fields](size_t i) { return i < fields.size() ? fields[i] : std::string(); };
    auto answer = [this, &c](const VbError& error, const std::string& data) {
        if (error) {
            Send(c, {"ERR", std::to_string(error.Number), error.Description});
        } else {
            Send(c, {"OK", data});
        }
    };
    ++depth;
    if (verb == "INIT") {
        std::string topic = field(1);
        if (handlers.AcceptTopic && !handlers.AcceptTopic(topic)) {
            answer(DdeError(ErrDdeNoServer), "");
        } else {
            c.topic = topic;
            c.initiated = true;
            answer({}, "");
        }
    } else if (!c.initiated) {
        answer(DdeError(ErrDdeNoChannel), "");
    } else if (verb == "REQ" || verb == "ADV") {
        VbResult<std::string> value;
        if (handlers.Request) {
            value = handlers.Request(c.topic, field(1));
        } else {
            value.Error = DdeError(ErrDdeRefused);
        }
        if (!value.Error && verb == "ADV") {
            auto known = std::find_if(c.advised.begin(), c.advised.end(),
                                      [&](const std::string& item) { return DdeNamesEqual(item, field(1)); });
            if (known == c.advised.end()) c.advised.push_back(field(1));
        }
        answer(value.Error, value.Value);
    } else if (verb == "UNADV") {
        c.advised.erase(std::remove_if(c.advised.begin(), c.advised.end(),
                                       [&](const std::string& item) { return DdeNamesEqual(item, field(1)); }),
                        c.advised.end());
        answer({}, "");
    } else if (verb == "POKE") {
        answer(handlers.Poke ? handlers.Poke(c.topic, field(1), field(2)) : DdeError(ErrDdeRefused), "");
    } else if (verb == "EXEC") {
        answer(handlers.Execute ? handlers.Execute(c.topic, field(1)) : DdeError(ErrDdeRefused), "");
    } else {
        answer(DdeError(ErrDdeRefused), "");
    }
    --depth;
}

void DdeServer::State::Sweep() {
    if (depth > 0) return;
    for (auto& c : conversations) {
        if (c->dead && c->fd >= 0) {
            c->watch.reset();
            ::close(c->fd);
            c->fd = -1;
        }
    }
    conversations.erase(std::remove_if(conversations.begin(), conversations.end(),
                                       [](const std::unique_ptr<Conversation>& c) { return c->fd < 0; }),
                        conversations.end());
}

DdeServer::DdeServer() : state_(std::make_unique<State>()) {}

DdeServer::~DdeServer() { Stop(); }

VbError DdeServer::Start(std::string_view application, DdeServerHandlers handlers) {
    Stop();
    State& s = *state_;
    std::string path = DdeSocketPath(application);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (application.empty() || path.size() >= sizeof(address.sun_path)) {
        return VbError(ErrBadFileName, "DDE socket path too long or empty: " + path);
    }
    std::error_code ec;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ec);

    // A socket file of a live server means the name is taken; one left by a dead server is removed.
    int probe = DdeConnect(application);
    if (probe >= 0) {
        ::close(probe);
        return VbError(ErrFileAlreadyOpen, "DDE application \"" + std::string(application) + "\" is already served");
    }
    ::unlink(path.c_str());

    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return VbErrorFromErrno(errno);
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 || ::listen(fd, 64) != 0) {
        VbError error = VbErrorFromErrno(errno);
        ::close(fd);
        return error;
    }
    s.application = std::string(application);
    s.socketPath = path;
    s.handlers = std::move(handlers);
    s.listenFd = fd;
    State* raw = state_.get();
    s.listenWatch = std::make_unique<DdeWatch>(fd, [raw] { raw->AcceptAll(); });
    return {};
}

void DdeServer::Stop() {
    State& s = *state_;
    if (s.listenFd < 0) return;
    for (auto& c : s.conversations) c->dead = true;
    int depth = s.depth;
    s.depth = 0;
    s.Sweep();
    s.depth = depth;
    s.listenWatch.reset();
    ::close(s.listenFd);
    s.listenFd = -1;
    ::unlink(s.socketPath.c_str());
    s.socketPath.clear();
}

bool DdeServer::Running() const { return state_->listenFd >= 0; }

const std::string& DdeServer::Application() const { return state_->application; }

void DdeServer::Advise(std::string_view topic, std::string_view item, std::string_view data) {
    State& s = *state_;
    for (auto& c : s.conversations) {
        if (c->dead || !c->initiated || !DdeNamesEqual(c->topic, topic)) continue;
        for (const std::string& advised : c->advised) {
            if (DdeNamesEqual(advised, item)) {
                s.Send(*c, {"DATA", advised, std::string(data)});
                break;
            }
        }
    }
    s.Sweep();
}

void DdeServer::Pump(int waitMs) {
    State& s = *state_;
    if (s.listenFd < 0) {
        if (waitMs > 0) ::poll(nullptr, 0, waitMs);
        return;
    }
    std::vector<pollfd> fds;
    std::vector<Conversation*> owners;
    fds.push_back(pollfd{s.listenFd, POLLIN, 0});
    owners.push_back(nullptr);
    for (auto& c : s.conversations) {
        if (!c->output.empty()) s.Flush(*c);
        short events = POLLIN;
        if (!c->output.empty()) events |= POLLOUT;
        fds.push_back(pollfd{c->fd, events, 0});
        owners.push_back(c.get());
    }
    if (::poll(fds.data(), fds.size(), std::max(waitMs, 0)) > 0) {
        for (size_t i = 1; i < fds.size(); ++i) {
            if (fds[i].revents == 0 || !s.Owns(owners[i])) continue;
            if (fds[i].revents & POLLOUT) s.Flush(*owners[i]);
            if (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) s.OnReadable(owners[i]);
        }
        if (fds[0].revents & POLLIN) s.AcceptAll();
    }
    s.Sweep();
}

int DdeServer::ConversationCount() const {
    int count = 0;
    for (const auto& c : state_->conversations) count += c->dead ? 0 : 1;
    return count;
}
