// Read round trips against the monitor's socket server on loopback, beside an echo server on the same
// kind of Qt event loop, both measured in this run by one load generator: 1, 10 and 50 clients, each
// keeping one "[M<n>];Value" request in flight. Then the same 50-client load while 200-tag scans run
// in the server's thread every 100 ms, letting events run between tags. Last, the 10-client load
// beside clients that send half a request and then nothing: 100 of them from four other addresses
// (the server full before the load connects), and 200 from one other address (beyond its share).
// Each server runs in a child process of its own; the load is bounded in clients and time.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <QByteArray>
#include <QCoreApplication>
#include <QHostAddress>
#include <QObject>
#include <QSocketNotifier>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include "BenchSite.h"
#include "common/FreePort.h"
#include "core/MonitorTagAccess.h"
#include "net/HostSocketServer.h"
#include "net/SocketTrace.h"
#include "platform/Clock.h"
#include "platform/DateSerial.h"
#include "platform/Prefix.h"

namespace {

constexpr double WarmUpSeconds = 0.3;
constexpr double MeasureSeconds = 2.0;
constexpr int ScanEveryMs = 100;
// A child that is still running this long after it started ends by itself.
constexpr int ChildLifetimeMs = 20000;

double Now() {
    timespec t{};
    ::clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

// ---------------------------------------------------------------------------------------------
// Server side (child processes)

class QuietTrace : public SocketTrace {
public:
    bool Tracing() const override { return false; }
    void AddLog(const std::string&) override {}
};

enum class ServerKind { Monitor, MonitorScanning, Echo };

// Ends the child's event loop when the parent closes its end of the control pipe (or dies), or
// when the lifetime is over.
void QuitWithParent(QCoreApplication& app, int controlFd, QObject* owner) {
    auto* notifier = new QSocketNotifier(controlFd, QSocketNotifier::Read, owner);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [&app, notifier, controlFd] {
        char c;
        if (::read(controlFd, &c, 1) <= 0) {
            notifier->setEnabled(false);
            app.quit();
        }
    });
    QTimer::singleShot(ChildLifetimeMs, &app, [&app] { app.quit(); });
}

// Runs in the child: serves until told to stop. Reports its port (0 on failure) on readyFd.
int ServeChild(ServerKind kind, const std::string& jobSetupFolder, int readyFd, int controlFd) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    static int argc = 1;
    static char name[] = "bench_socket_server";
    static char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    QObject owner;
    QuitWithParent(app, controlFd, &owner);

    auto report = [readyFd](int32_t port) { (void)!::write(readyFd, &port, sizeof port); ::close(readyFd); };

    if (kind == ServerKind::Echo) {
        QTcpServer echo;
        QObject::connect(&echo, &QTcpServer::newConnection, &echo, [&echo] {
            while (QTcpSocket* c = echo.nextPendingConnection()) {
                QObject::connect(c, &QTcpSocket::readyRead, c, [c] { c->write(c->readAll()); });
                QObject::connect(c, &QTcpSocket::disconnected, c, &QObject::deleteLater);
            }
        });
        report(echo.listen(QHostAddress::LocalHost, 0) ? echo.serverPort() : 0);
        return app.exec();
    }

    // A plain table of 200 tags, or the scan's own table while scans run.
    std::unique_ptr<ScanSite> site;
    SetupData plainSetup;
    TagValues plainValues;
    plainSetup.MaxTags = Tags;
    plainSetup.TagCount = Tags;
    plainSetup.TagTable.assign(Tags + 1, TagRecord{});
    plainValues.assign(Tags + 1, TagValue{});
    for (int n = 1; n <= Tags; ++n) plainValues[n].Integrated = 1000.0f + static_cast<float>(n) * 1.25f;
    if (kind == ServerKind::MonitorScanning) {
        site = std::make_unique<ScanSite>();
        // Pending requests are served where the monitor lets events run.
        site->view.OnDoEvents = [] { QCoreApplication::processEvents(); };
        if (!site->ready) {
            report(0);
            return 1;
        }
    }
    MonitorTagAccess tags(site ? site->setup : plainSetup, site ? site->values : plainValues);
    QuietTrace trace;
    HostSocketServer server(tags, trace);
    server.OpenHostSocket(jobSetupFolder);
    QTimer scanTimer;
    if (site) {
        site->ScanOnce();  // the first pass only sets the bases
        QObject::connect(&scanTimer, &QTimer::timeout, &app, [&site, &scanTimer] {
            scanTimer.stop();  // a pass lets events run: no second pass inside it
            site->ScanOnce();
            scanTimer.start();
        });
        scanTimer.start(ScanEveryMs);
    }
    report(server.IsListening() ? server.LocalPort() : 0);
    const int rc = app.exec();
    server.CloseHostSocket();
    if (site) std::fprintf(stderr, "  (server child: %d scans of %d tags ran)\n", site->scans, Tags);
    return rc;
}

// A server child as the parent sees it; ending it is always closing the control pipe, then waiting,
// then killing.
class ServerProcess {
public:
    ServerProcess(ServerKind kind, const std::string& jobSetupFolder) {
        int ready[2], control[2];
        if (::pipe(ready) != 0) return;
        if (::pipe(control) != 0) {
            ::close(ready[0]), ::close(ready[1]);
            return;
        }
        std::fflush(stdout);
        std::fflush(stderr);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(ready[0]);
            ::close(control[1]);
            const int rc = ServeChild(kind, jobSetupFolder, ready[1], control[0]);
            std::fflush(stderr);
            ::_exit(rc);
        }
        ::close(ready[1]);
        ::close(control[0]);
        control_ = control[1];
        if (pid_ > 0) {
            pollfd p{ready[0], POLLIN, 0};
            int32_t got = 0;
            // Building the scan site takes a moment; a server that is not up in 10 s counts as failed.
            if (::poll(&p, 1, 10000) == 1 && ::read(ready[0], &got, sizeof got) == sizeof got) port_ = got;
        }
        ::close(ready[0]);
    }
    ~ServerProcess() { Stop(); }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    int Port() const { return port_; }

    void Stop() {
        if (control_ >= 0) ::close(control_), control_ = -1;
        if (pid_ <= 0) return;
        int status = 0;
        for (int i = 0; i < 300; ++i) {  // up to 3 s to end by itself
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return;
            }
            ::usleep(10000);
        }
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
    }

private:
    pid_t pid_ = -1;
    int control_ = -1;
    int port_ = 0;
};

// ---------------------------------------------------------------------------------------------
// Load generator (parent)

struct LoadResult {
    bool ok = false;
    double perSecond = 0;
    double p50Ms = 0;
    double p99Ms = 0;
    size_t roundTrips = 0;
};

struct ClientConn {
    int fd = -1;
    std::string request;
    std::string got;
    double sentAt = 0;
};

// A reply is complete when it holds the request, ";" and (from the monitor) a value with two decimals.
bool ReplyComplete(const ClientConn& c, bool echo) {
    if (echo) return c.got.size() >= c.request.size();
    const size_t head = c.request.size() + 1;
    if (c.got.size() < head + 4) return false;
    const char sep = c.got[c.got.size() - 3];
    return sep == '.' || sep == ',';
}

bool ReplyMatches(const ClientConn& c, bool echo) {
    if (echo) return c.got == c.request;
    return c.got.compare(0, c.request.size(), c.request) == 0 && c.got[c.request.size()] == ';';
}

int Connect(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) return -1;
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<uint16_t>(port));
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        ::close(fd);
        return -1;
    }
    const int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    return fd;
}

LoadResult RunLoad(int port, int clients, bool echo) {
    LoadResult result;
    std::vector<ClientConn> conns(static_cast<size_t>(clients));
    const int ep = ::epoll_create1(0);
    if (ep < 0) return result;
    auto cleanup = [&] {
        for (ClientConn& c : conns)
            if (c.fd >= 0) ::close(c.fd);
        ::close(ep);
    };
    for (int i = 0; i < clients; ++i) {
        ClientConn& c = conns[static_cast<size_t>(i)];
        c.fd = Connect(port);
        if (c.fd < 0) {
            cleanup();
            return result;
        }
        c.request = "[M" + std::to_string(i * 37 % Tags + 1) + "];Value";
        epoll_event ev{};
        ev.events = EPOLLIN;
        ev.data.u32 = static_cast<uint32_t>(i);
        ::epoll_ctl(ep, EPOLL_CTL_ADD, c.fd, &ev);
    }
    auto send = [](ClientConn& c) {
        c.got.clear();
        c.sentAt = Now();
        return ::send(c.fd, c.request.data(), c.request.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(c.request.size());
    };
    for (ClientConn& c : conns)
        if (!send(c)) {
            cleanup();
            return result;
        }

    std::vector<double> latencies;
    latencies.reserve(400000);
    const double start = Now();
    const double measureFrom = start + WarmUpSeconds;
    const double end = measureFrom + MeasureSeconds;
    bool failed = false;
    std::vector<epoll_event> events(static_cast<size_t>(clients));
    char buf[4096];
    while (!failed) {
        const double now = Now();
        if (now >= end) break;
        const int n = ::epoll_wait(ep, events.data(), clients, 100);
        if (n < 0 && errno != EINTR) failed = true;
        for (int k = 0; k < n && !failed; ++k) {
            ClientConn& c = conns[events[static_cast<size_t>(k)].data.u32];
            const ssize_t r = ::recv(c.fd, buf, sizeof buf, 0);
            if (r <= 0) {
                if (r < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) continue;
                failed = true;
                break;
            }
            c.got.append(buf, static_cast<size_t>(r));
            if (!ReplyComplete(c, echo)) continue;
            if (!ReplyMatches(c, echo)) {
                std::fprintf(stderr, "unexpected reply \"%s\" to \"%s\"\n", c.got.c_str(), c.request.c_str());
                failed = true;
                break;
            }
            const double done = Now();
            if (c.sentAt >= measureFrom && done <= end) latencies.push_back(done - c.sentAt);
            if (!send(c)) failed = true;
        }
    }
    cleanup();
    if (failed || latencies.empty()) return result;
    std::sort(latencies.begin(), latencies.end());
    auto percentile = [&](double p) {
        const size_t i = std::min(latencies.size() - 1, static_cast<size_t>(p * static_cast<double>(latencies.size())));
        return latencies[i] * 1e3;
    };
    result.ok = true;
    result.roundTrips = latencies.size();
    result.perSecond = static_cast<double>(latencies.size()) / MeasureSeconds;
    result.p50Ms = percentile(0.50);
    result.p99Ms = percentile(0.99);
    return result;
}

// A temporary prefix and program folder for the whole run, removed at the end.
struct RunFolders {
    std::filesystem::path root;
    RunFolders() {
        char pattern[] = "/tmp/vt-benchsock-XXXXXX";
        if (::mkdtemp(pattern) == nullptr) return;
        root = pattern;
        std::filesystem::create_directories(root / "prefix");
        std::filesystem::create_directories(root / "program");
        std::filesystem::create_directories(root / "Job1" / "Setup");
        UsePrefix(root / "prefix");
        ::setenv("VOLTARIS_PROGRAM_DIR", (root / "program").c_str(), 1);
    }
    ~RunFolders() {
        std::error_code ec;
        if (!root.empty()) std::filesystem::remove_all(root, ec);
    }
    std::string JobSetup() const { return (root / "Job1" / "Setup").string(); }
    bool WritePort(int port) const {
        std::ofstream out(root / "Job1" / "Setup" / "WinSockets.ini", std::ios::binary | std::ios::trunc);
        out << "[Sockets]\r\nVoltarisMonitorPortNo=" << port << "\r\n";
        return static_cast<bool>(out);
    }
};

LoadResult Measure(ServerKind kind, const RunFolders& folders, int clients) {
    if (kind != ServerKind::Echo && !folders.WritePort(FreePort())) return {};
    ServerProcess server(kind, folders.JobSetup());
    if (server.Port() <= 0) {
        std::fprintf(stderr, "the server did not start\n");
        return {};
    }
    LoadResult r = RunLoad(server.Port(), clients, kind == ServerKind::Echo);
    server.Stop();
    return r;
}

// Connections from loopback addresses 127.0.0.<from> in turn, each sending half a request and
// then nothing.
class SilentCrowd {
public:
    SilentCrowd(int port, int count, const std::vector<int>& from) {
        for (int n = 0; n < count; ++n) {
            const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
            if (fd < 0) continue;
            sockaddr_in source{};
            source.sin_family = AF_INET;
            source.sin_addr.s_addr = htonl(INADDR_LOOPBACK - 1 + static_cast<uint32_t>(from[static_cast<size_t>(n) % from.size()]));
            sockaddr_in addr{};
            addr.sin_family = AF_INET;
            addr.sin_port = htons(static_cast<uint16_t>(port));
            addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            if (::bind(fd, reinterpret_cast<sockaddr*>(&source), sizeof source) != 0 ||
                ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
                ::close(fd);
                continue;
            }
            (void)!::send(fd, "[M2", 3, MSG_NOSIGNAL);
            fds_.push_back(fd);
        }
    }
    ~SilentCrowd() {
        for (const int fd : fds_) ::close(fd);
    }
    SilentCrowd(const SilentCrowd&) = delete;
    SilentCrowd& operator=(const SilentCrowd&) = delete;

    // Connections the server has not closed.
    int StillOpen() const {
        int open = 0;
        char c;
        for (const int fd : fds_) {
            const ssize_t r = ::recv(fd, &c, 1, MSG_PEEK | MSG_DONTWAIT);
            if (r < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) ++open;
        }
        return open;
    }

private:
    std::vector<int> fds_;
};

struct CrowdResult {
    LoadResult load;
    int open = -1;  // crowd connections still open after the load
};

// The load of a server beside a silent crowd that connected first.
CrowdResult MeasureBesideCrowd(ServerKind kind, const RunFolders& folders, int clients, int crowd,
                               const std::vector<int>& from) {
    CrowdResult result;
    if (kind != ServerKind::Echo && !folders.WritePort(FreePort())) return result;
    ServerProcess server(kind, folders.JobSetup());
    if (server.Port() <= 0) {
        std::fprintf(stderr, "the server did not start\n");
        return result;
    }
    SilentCrowd silent(server.Port(), crowd, from);
    result.load = RunLoad(server.Port(), clients, kind == ServerKind::Echo);
    result.open = silent.StillOpen();
    server.Stop();
    return result;
}

void Show(const char* what, int clients, const LoadResult& r) {
    if (r.ok)
        std::printf("  %-34s %2d clients: %8.0f round trips/s  p50 %.3f ms  p99 %.3f ms  (%zu round trips)\n", what, clients,
                    r.perSecond, r.p50Ms, r.p99Ms, r.roundTrips);
    else
        std::printf("  %-34s %2d clients: failed\n", what, clients);
    std::fflush(stdout);
}

}  // namespace

int main() {
    // The stand-in libraries sit beside the benchmark unless told otherwise.
    if (!std::getenv("VT_BIN_DIR")) {
        char self[PATH_MAX] = {};
        const ssize_t n = ::readlink("/proc/self/exe", self, sizeof self - 1);
        if (n > 0) ::setenv("VT_BIN_DIR", std::filesystem::path(self).parent_path().c_str(), 1);
    }
    ::signal(SIGPIPE, SIG_IGN);
    RunFolders folders;
    if (folders.root.empty()) return 1;

    std::printf("Read round trips on loopback, %.1f s each after %.1f s warm-up\n", MeasureSeconds, WarmUpSeconds);
    bool ok = true;
    LoadResult tenClients;
    for (int clients : {1, 10, 50}) {
        const LoadResult ours = Measure(ServerKind::Monitor, folders, clients);
        const LoadResult echo = Measure(ServerKind::Echo, folders, clients);
        Show("socket server", clients, ours);
        Show("echo server", clients, echo);
        ok = ok && ours.ok && echo.ok;
        if (clients == 10) tenClients = ours;
        if (ours.ok && echo.ok)
            std::printf("socket: %d clients: %.0f round trips/s (echo %.0f), ratio %.2f, p50 %.3f ms (echo %.3f), "
                        "p99 %.3f ms (echo %.3f)\n",
                        clients, ours.perSecond, echo.perSecond, ours.perSecond / echo.perSecond, ours.p50Ms, echo.p50Ms,
                        ours.p99Ms, echo.p99Ms);
        if (clients == 50 && ours.ok && echo.ok) {
            const LoadResult scanning = Measure(ServerKind::MonitorScanning, folders, clients);
            Show("socket server, 200-tag scans", clients, scanning);
            ok = ok && scanning.ok;
            if (scanning.ok)
                std::printf("socket during scan: %d clients: %.0f round trips/s, p50 %.3f ms, p99 %.3f ms (echo p99 %.3f)\n",
                            clients, scanning.perSecond, scanning.p50Ms, scanning.p99Ms, echo.p99Ms);
        }
    }

    // Baselines: the echo server beside the same crowd (which it keeps whole), and the 10-client
    // load above with no crowd.
    struct Crowd {
        const char* label;
        const char* line;
        int count;
        std::vector<int> from;
    };
    for (const Crowd& c : {Crowd{"socket server, 100 silent beside", "socket beside 100 silent clients", 100, {2, 3, 4, 5}},
                           Crowd{"socket server, 200 silent of one address", "socket beside a one-address flood", 200, {2}}}) {
        const CrowdResult r = MeasureBesideCrowd(ServerKind::Monitor, folders, 10, c.count, c.from);
        const CrowdResult echo = MeasureBesideCrowd(ServerKind::Echo, folders, 10, c.count, c.from);
        Show(c.label, 10, r.load);
        Show("echo server, same crowd", 10, echo.load);
        ok = ok && r.load.ok && echo.load.ok;
        if (r.load.ok && echo.load.ok && tenClients.ok)
            std::printf("%s: 10 clients: %.0f round trips/s (echo %.0f), ratio %.2f, p99 %.3f ms (echo %.3f), "
                        "alone %.0f round trips/s, silent still open %d of %d\n",
                        c.line, r.load.perSecond, echo.load.perSecond, r.load.perSecond / echo.load.perSecond, r.load.p99Ms,
                        echo.load.p99Ms, tenClients.perSecond, r.open, c.count);
    }

    return ok ? 0 : 1;
}
