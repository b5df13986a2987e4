#include "net/HostSocketServer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>

#include <QCoreApplication>
#include <QHostAddress>
#include <QTcpServer>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/FreePort.h"
#include "common/TempPrefix.h"
#include "unit/net/NetFakes.h"

namespace {

using Lines = std::vector<std::string>;

// Runs the server's events until pred holds or the time is up.
bool PumpUntil(const std::function<bool()>& pred, int timeoutMs = 3000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!pred()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        usleep(500);
    }
    return true;
}

// A loopback client that reads without blocking, so the test keeps the server's event loop running.
// It connects from 127.0.0.1, or from another loopback address given as its last byte.
class Client {
public:
    explicit Client(int port, int from = 1) : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in source{};
        source.sin_family = AF_INET;
        source.sin_addr.s_addr = htonl(INADDR_LOOPBACK - 1 + static_cast<uint32_t>(from));
        if (from != 1 && ::bind(fd_, reinterpret_cast<sockaddr*>(&source), sizeof source) != 0) return;
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(static_cast<uint16_t>(port));
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
        fcntl(fd_, F_SETFL, fcntl(fd_, F_GETFL) | O_NONBLOCK);
    }
    ~Client() { ::close(fd_); }
    Client(const Client&) = delete;

    bool Connected() const { return connected_; }
    void Send(std::string_view text) { ASSERT_EQ(::send(fd_, text.data(), text.size(), MSG_NOSIGNAL), ssize_t(text.size())); }
    // What has arrived so far; notes the end of the connection.
    std::string Drain() {
        std::string out;
        char buf[4096];
        ssize_t n;
        while ((n = ::recv(fd_, buf, sizeof buf, 0)) > 0) out.append(buf, static_cast<size_t>(n));
        if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) eof_ = true;
        return out;
    }
    // Waits for `bytes` bytes or the end of the connection.
    std::string Receive(size_t bytes) {
        std::string got;
        PumpUntil([&] { return (got += Drain()).size() >= bytes || eof_; });
        return got;
    }
    std::string Ask(std::string_view request, size_t replyBytes) { return Send(request), Receive(replyBytes); }
    bool WaitClosedByServer(int timeoutMs = 3000) { return PumpUntil([&] { return Drain(), eof_; }, timeoutMs); }
    // Still open after the server's pending events have run.
    bool Open() {
        QCoreApplication::processEvents();
        Drain();
        return !eof_;
    }
    // Closes with a reset instead of an orderly shutdown.
    void Reset() {
        linger l{1, 0};
        setsockopt(fd_, SOL_SOCKET, SO_LINGER, &l, sizeof l);
    }

private:
    int fd_;
    bool connected_ = false;
    bool eof_ = false;
};

class HostSocketServerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        static int argc = 1;
        static char name[] = "test_net";
        static char* argv[] = {name, nullptr};
        if (!QCoreApplication::instance()) new QCoreApplication(argc, argv);  // lives for the whole program
    }
    HostSocketServerTest() : tags(200) {
        std::filesystem::create_directories(JobSetup());
        tags.values[3] = {1234.567f, 12.25f, 99.0f};
    }
    std::filesystem::path JobSetup() const { return prefix.Root() / "Job1" / "Setup"; }
    void WriteSettings(int p, const std::string& extra = "") {
        TempPrefix::Write(JobSetup() / "WinSockets.ini",
                          "[Sockets]\r\nVoltarisMonitorPortNo=" + std::to_string(p) + "\r\n" + extra);
    }
    void Open() { server->OpenHostSocket(JobSetup().string()); }
    // Settings with a free port and extra, read again by the running server.
    void Reopen(const std::string& extra = "") {
        WriteSettings(port = FreePort(), extra);
        Open();
    }
    void Start(SocketLimits limits = {}, const std::string& extra = "") {
        server = std::make_unique<HostSocketServer>(tags, trace, limits);
        Reopen(extra);
        EXPECT_TRUE(server->IsListening());
    }
    bool Connections(size_t n) {
        return PumpUntil([&] { return server->ConnectionElements().size() == n; });
    }
    bool HasTrace(const std::string& line) const {
        return std::find(trace.lines.begin(), trace.lines.end(), line) != trace.lines.end();
    }
    std::string MainLog() const { return TempPrefix::Read(prefix.ProgramDir() / "voltamon.log"); }

    TempPrefix prefix;
    FakeTagValues tags;
    RecordingTrace trace;
    int port = 0;
    std::unique_ptr<HostSocketServer> server;
};

TEST_F(HostSocketServerTest, ServesReadsAndSetsOnOneConnectionAndTracesEachStep) {
    Start();
    auto client = std::make_unique<Client>(port);
    ASSERT_TRUE(client->Connected());
    EXPECT_EQ(client->Ask("[M3];Value", 18), "[M3];Value;1234.57");
    ASSERT_EQ(trace.lines.size(), 4u);
    // "Connection request id <label> from 127.0.0.1"
    const std::string label = trace.lines[1].substr(22, trace.lines[1].size() - 22 - 15);

    const std::string from = " from 127.0.0.1(" + label + ")";
    // A set, a read with a line feed, one and four fields: only the read is answered.
    for (const std::string request : {"[M3];Value;1.5", "[M3];Value\n", "[M3]", "[M3];Value;1;2"}) {
        client->Send(request);
        ASSERT_TRUE(PumpUntil([&] { return HasTrace("Received: " + request + from); }));
    }
    EXPECT_EQ(client->Ask("[M3];Rate", 27), "[M3];Value\n;[M3];Rate;12.25");
    EXPECT_EQ(tags.values[3].Integrated, 1.5f);
    EXPECT_EQ(tags.writes, 1);
    EXPECT_EQ(server->ConnectionElements(), std::vector<int>{1});
    client.reset();
    ASSERT_TRUE(Connections(0));

    EXPECT_EQ(trace.lines, (Lines{"Listening to port: " + std::to_string(port),
                                  "Connection request id " + label + " from 127.0.0.1",
                                  "Received: [M3];Value" + from, "Sending: [M3];Value;1234.57 to 127.0.0.1",
                                  "Received: [M3];Value;1.5" + from, "Set Data: [M3];Value;1.5 from 127.0.0.1",
                                  "Received: [M3];Value\n" + from, "Sending: [M3];Value\n; to 127.0.0.1",
                                  "Received: [M3]" + from, "Received: [M3];Value;1;2" + from,
                                  "Received: [M3];Rate" + from, "Sending: [M3];Rate;12.25 to 127.0.0.1",
                                  "Connection " + label + " closed: 127.0.0.1"}));
}

TEST_F(HostSocketServerTest, ClientsThatLeaveEarlyOrSendTooMuchLeaveTheOthersServed) {
    trace.on = false;
    Start(SocketLimits{.MaxRequestBytes = 64});
    Client steady(port), greedy(port);
    for (int i = 0; i < 20; ++i) {
        Client leaving(port);
        leaving.Send("[M3];Value");
        if (i % 2) leaving.Reset();
    }
    greedy.Send("[M3];Value;" + std::string(100, '1'));
    EXPECT_TRUE(greedy.WaitClosedByServer());
    ASSERT_TRUE(Connections(1));
    EXPECT_EQ(tags.writes, 0);
    steady.Send("[M3];Rate;7");
    ASSERT_TRUE(PumpUntil([&] { return tags.values[3].Rate == 7.0f; }));
    EXPECT_EQ(steady.Ask("[M3];Rate", 14), "[M3];Rate;7.00");
    EXPECT_TRUE(server->IsListening());
    Open();
    EXPECT_TRUE(trace.lines.empty());
}

TEST_F(HostSocketServerTest, HundredSilentHalfRequestsNeverKeepNewClientsOut) {
    Start();
    Client steady(port);
    EXPECT_EQ(steady.Ask("[M3];Rate", 15), "[M3];Rate;12.25");
    // Each sends half a request and then nothing: 50 from one address, the rest from another.
    std::vector<std::unique_ptr<Client>> silent;
    for (int n = 0; n < 100; ++n) {
        silent.push_back(std::make_unique<Client>(port, n < 50 ? 2 : 3));
        ASSERT_TRUE(silent.back()->Connected());
        silent.back()->Send("[M2");
        QCoreApplication::processEvents();  // the listen queue is shorter than 100
    }
    ASSERT_TRUE(PumpUntil([&] { return trace.lines.size() >= 2 + 2 + 100 * 2; }));
    ASSERT_TRUE(Connections(100));

    // New clients, from an address already there or not, and the old one are all served; each new
    // one takes the place of a fragment sender.
    for (int from : {1, 2, 3, 4, 1, 4}) {
        Client fresh(port, from);
        EXPECT_EQ(fresh.Ask("[M3];Value", 18), "[M3];Value;1234.57") << from;
        EXPECT_EQ(steady.Ask("[M3];Rate", 15), "[M3];Rate;12.25") << from;
    }
    EXPECT_TRUE(steady.Open());
    int closed = 0;
    for (auto& c : silent) closed += c->Open() ? 0 : 1;
    EXPECT_GE(closed, 1);
    EXPECT_LE(closed, 7);
}

TEST_F(HostSocketServerTest, OneAddressHoldsItsShareAndTheFullServerMakesRoom) {
    Start(SocketLimits{.MaxConnections = 5}, "MaxConnectionsPerAddress=3\r\n");
    Client steady(port);
    EXPECT_EQ(steady.Ask("[M3];Rate", 15), "[M3];Rate;12.25");
    std::vector<std::unique_ptr<Client>> crowd;
    for (int n = 0; n < 3; ++n) {
        crowd.push_back(std::make_unique<Client>(port, 2));
        ASSERT_TRUE(Connections(static_cast<size_t>(n) + 2));
    }
    // One more from that address closes the first of them, silent longest, not another address's.
    crowd.push_back(std::make_unique<Client>(port, 2));
    EXPECT_TRUE(crowd[0]->WaitClosedByServer());
    ASSERT_TRUE(Connections(4));
    for (size_t n = 1; n < crowd.size(); ++n) EXPECT_TRUE(crowd[n]->Open()) << n;

    // Full: a client of a new address makes room. Of the two that never sent a whole request, the
    // one silent longer goes, although steady has been silent longer still.
    Client other(port, 3);
    ASSERT_TRUE(Connections(5));
    crowd[1]->Send("[M3];Input");
    EXPECT_EQ(crowd[1]->Receive(16), "[M3];Input;99.00");
    crowd[3]->Send("[M3];Input");
    EXPECT_EQ(crowd[3]->Receive(16), "[M3];Input;99.00");
    Client newcomer(port, 4);
    EXPECT_TRUE(crowd[2]->WaitClosedByServer());
    ASSERT_TRUE(Connections(5));
    EXPECT_EQ(newcomer.Ask("[M3];Rate", 15), "[M3];Rate;12.25");

    // Only other never sent a whole request: it goes next, then steady, silent longest.
    Client late(port, 5);
    EXPECT_TRUE(other.WaitClosedByServer());
    EXPECT_EQ(late.Ask("[M3];Rate", 15), "[M3];Rate;12.25");
    EXPECT_TRUE(steady.Open());
    Client later(port, 6);
    EXPECT_TRUE(steady.WaitClosedByServer());
    for (Client* c : {crowd[1].get(), crowd[3].get(), &newcomer, &late, &later}) EXPECT_TRUE(c->Open());
    // Each closed connection's element was taken again.
    EXPECT_EQ(server->ConnectionElements(), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST_F(HostSocketServerTest, SilentConnectionIsClosedAfterTheIdleTimeNotBefore) {
    Start(SocketLimits{.IdleMs = 1500});
    const auto start = std::chrono::steady_clock::now();
    auto elapsedMs = [&] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
    };
    Client silent(port), talking(port);
    ASSERT_TRUE(Connections(2));
    // Half a request counts as hearing from it; talking talks again later.
    silent.Send("[M3");
    ASSERT_TRUE(PumpUntil([&] { return elapsedMs() >= 1000; }));
    talking.Send("[M3];Rate;5");
    ASSERT_TRUE(PumpUntil([&] { return tags.values[3].Rate == 5.0f; }));
    EXPECT_TRUE(silent.Open()) << elapsedMs();

    ASSERT_TRUE(silent.WaitClosedByServer(4000));
    const auto closedAt = elapsedMs();
    EXPECT_GE(closedAt, 1500);
    EXPECT_LT(closedAt, 2500);
    EXPECT_EQ(talking.Ask("[M3];Rate", 14), "[M3];Rate;5.00");

    // The settings give whole seconds.
    Reopen("IdleSeconds=1\r\n");
    Client slow(port);
    const auto connected = std::chrono::steady_clock::now();
    ASSERT_TRUE(slow.WaitClosedByServer(4000));
    EXPECT_GE(std::chrono::steady_clock::now() - connected, std::chrono::milliseconds(1000));
}

TEST_F(HostSocketServerTest, SetsOnlyFromListedAddressesReadsFromAll) {
    // Listening beyond loopback, with a list that leaves 127.0.0.1 out.
    Start({}, "ListenAddress=*\r\nSetsAllowedFrom=10.0.0.0/8, 127.0.0.2;;fe80::/10 nonsense\r\n");
    Client local(port), listed(port, 2);
    local.Send("[M3];Rate;7");
    ASSERT_TRUE(PumpUntil([&] { return trace.lines.back().starts_with("Set Refused: [M3];Rate;7 from 127.0.0.1"); }));
    EXPECT_EQ(local.Ask("[M3];Rate", 15), "[M3];Rate;12.25");
    listed.Send("[M3];Rate;7");
    ASSERT_TRUE(PumpUntil([&] { return tags.values[3].Rate == 7.0f; }));
    EXPECT_TRUE(HasTrace("Set Data: [M3];Rate;7 from 127.0.0.2"));
    EXPECT_EQ(local.Ask("[M3];Rate", 14), "[M3];Rate;7.00");
    EXPECT_EQ(tags.writes, 1);
    EXPECT_NE(MainLog().find("OpenHostSocket, Error 5. Invalid address in SetsAllowedFrom nonsense"), std::string::npos);

    // Without the key only this PC may set.
    Reopen("ListenAddress=*\r\n");
    Client(port).Send("[M3];Rate;8");
    ASSERT_TRUE(PumpUntil([&] { return tags.values[3].Rate == 8.0f; }));
}

TEST_F(HostSocketServerTest, ReopenClosesConnectionsAndListensAgainAndShutdownIsQuiet) {
    Start();
    const int oldPort = port;
    Client old(oldPort);
    ASSERT_TRUE(Connections(1));
    trace.lines.clear();
    Open();  // the usual case: settings re-read, port unchanged
    EXPECT_TRUE(old.WaitClosedByServer());
    EXPECT_TRUE(server->ConnectionElements().empty());
    ASSERT_EQ(trace.lines.size(), 2u);
    EXPECT_TRUE(trace.lines[0].starts_with("Connection ") && trace.lines[0].ends_with(" closed: 127.0.0.1"));
    EXPECT_EQ(trace.lines[1], "Listening to port: " + std::to_string(port));
    Client again(port);
    EXPECT_EQ(again.Ask("[M3];Value", 18), "[M3];Value;1234.57");

    Reopen();
    EXPECT_EQ(server->LocalPort(), port);
    EXPECT_TRUE(again.WaitClosedByServer());
    EXPECT_FALSE(Client(oldPort).Connected());
    Client fresh(port);
    EXPECT_EQ(fresh.Ask("[M3];Value", 18), "[M3];Value;1234.57");

    trace.lines.clear();
    server->CloseHostSocket();
    EXPECT_FALSE(server->IsListening());
    EXPECT_TRUE(fresh.WaitClosedByServer());
    EXPECT_TRUE(trace.lines.empty());
}

TEST_F(HostSocketServerTest, BadPortOrListenAddressIsLogged) {
    QTcpServer occupant;
    ASSERT_TRUE(occupant.listen(QHostAddress::LocalHost, 0));
    WriteSettings(port = occupant.serverPort());
    server = std::make_unique<HostSocketServer>(tags, trace);
    Open();
    EXPECT_FALSE(server->IsListening());
    EXPECT_EQ(server->LocalPort(), port);
    EXPECT_EQ(trace.lines, Lines{"Error Opening port: " + std::to_string(port)});
    const std::string log = MainLog();
    EXPECT_NE(log.find(" - OpenHostSocket, Error 10048. "), std::string::npos) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);

    WriteSettings(70000);
    Open();
    EXPECT_FALSE(server->IsListening());
    EXPECT_EQ(server->LocalPort(), 70000);
    EXPECT_NE(MainLog().find(" - OpenHostSocket, Error 380. Invalid property value\r\n"), std::string::npos);

    // An address that names none falls back to loopback; "*" is every address, the peer still plain IPv4.
    for (const char* address : {"not-an-address", "*"}) {
        trace.lines.clear();
        Reopen("ListenAddress=" + std::string(address) + "\r\n");
        EXPECT_EQ(Client(port).Ask("[M3];Rate", 15), "[M3];Rate;12.25") << address;
        EXPECT_TRUE(HasTrace("Sending: [M3];Rate;12.25 to 127.0.0.1")) << address;
    }
    EXPECT_NE(MainLog().find("OpenHostSocket, Error 5. Invalid listen address not-an-address"), std::string::npos);
}

}  // namespace
