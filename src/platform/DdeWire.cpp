#include "platform/DdeWire.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "platform/Prefix.h"

namespace {

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool PlainNameChar(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == ' ' || c == '-' || c == '_' || c == '.';
}

const char* HexDigits = "0123456789ABCDEF";

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

}  // namespace

std::string DdeSocketPath(std::string_view application) {
    // Lower case so "TagServer" and "tagserver" meet; anything unsafe in a file name is escaped.
    std::string name;
    for (char c : application) {
        unsigned char u = static_cast<unsigned char>(LowerAscii(c));
        if (PlainNameChar(u) && !(name.empty() && u == '.')) {
            name += static_cast<char>(u);
        } else {
            name += '%';
            name += HexDigits[u >> 4];
            name += HexDigits[u & 15];
        }
    }
    return (PrefixRunFolder() / "dde" / (name + ".sock")).string();
}

std::string DdeEncodeLine(const std::vector<std::string>& fields) {
    std::string line;
    for (size_t i = 0; i < fields.size(); ++i) {
        if (i > 0) line += '\t';
        for (char c : fields[i]) {
            if (c == '%' || c == '\t' || c == '\r' || c == '\n') {
                unsigned char u = static_cast<unsigned char>(c);
                line += '%';
                line += HexDigits[u >> 4];
                line += HexDigits[u & 15];
            } else {
                line += c;
            }
        }
    }
    line += '\n';
    return line;
}

std::vector<std::string> DdeDecodeLine(std::string_view line) {
    std::vector<std::string> fields(1);
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (c == '\t') {
            fields.emplace_back();
        } else if (c == '%' && i + 2 < line.size() && HexValue(line[i + 1]) >= 0 && HexValue(line[i + 2]) >= 0) {
            fields.back() += static_cast<char>(HexValue(line[i + 1]) * 16 + HexValue(line[i + 2]));
            i += 2;
        } else if (c != '\r') {
            fields.back() += c;
        }
    }
    return fields;
}

void DdeSplitTopic(std::string_view applicationAndTopic, std::string& application, std::string& topic) {
    size_t bar = applicationAndTopic.find('|');
    if (bar == std::string_view::npos) {
        application = std::string(applicationAndTopic);
        topic.clear();
    } else {
        application = std::string(applicationAndTopic.substr(0, bar));
        topic = std::string(applicationAndTopic.substr(bar + 1));
    }
}

bool DdeNamesEqual(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    }
    return true;
}

int DdeConnect(std::string_view application) {
    if (application.empty()) return -1;
    std::string path = DdeSocketPath(application);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return -1;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    // A local connect completes at once or fails at once (ECONNREFUSED for a stale socket file).
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(fd);
        return -1;
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    return fd;
}

bool DdeLineBuffer::TakeLine(std::string& line) {
    size_t end = pending_.find('\n');
    if (end == std::string::npos) return false;
    line.assign(pending_, 0, end);
    pending_.erase(0, end + 1);
    return true;
}

DdeReadResult DdeReadAvailable(int fd, DdeLineBuffer& buffer) {
    bool got = false;
    char chunk[4096];
    for (;;) {
        ssize_t n = ::recv(fd, chunk, sizeof(chunk), 0);
        if (n > 0) {
            buffer.Append(chunk, static_cast<size_t>(n));
            got = true;
            continue;
        }
        if (n == 0) return DdeReadResult::Closed;
        if (errno == EINTR) continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK) return got ? DdeReadResult::Data : DdeReadResult::Nothing;
        return DdeReadResult::Closed;
    }
}

bool DdeWriteAll(int fd, std::string_view data, int timeoutMs) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    size_t done = 0;
    while (done < data.size()) {
        ssize_t n = ::send(fd, data.data() + done, data.size() - done, MSG_NOSIGNAL);
        if (n > 0) {
            done += static_cast<size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0) return false;
            pollfd p{fd, POLLOUT, 0};
            ::poll(&p, 1, static_cast<int>(left.count()));
            continue;
        }
        return false;
    }
    return true;
}
