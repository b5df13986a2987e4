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

#include "common/TempPrefix.h"
#include "unit/net/NetFakes.h"

namespace {

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

void Pump(int ms) {
    PumpUntil([] { return false; }, ms);
}

// A port nobody listens on right now.
int FreePort() {
    QTcpServer probe;
    EXPECT_TRUE(probe.listen(QHostAddress::LocalHost, 0));
    return probe.serverPort();
}

// A plain blocking-connect loopback client that reads without blocking, so the test thread can
// keep the server's event loop running while it waits.
class Client {
public:
    explicit Client(int port) {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(static_cast<uint16_t>(port));
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
        fcntl(fd_, F_SETFL, fcntl(fd_, F_GETFL) | O_NONBLOCK);
    }
    ~Client() { Close(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool Connected() const { return connected_; }
    void Send(std::string_view text) { ASSERT_EQ(::send(fd_, text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size())); }
    // Takes whatever has arrived so far.
    std::string Drain() {
        char buf[4096];
        while (true) {
            const ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
            if (n > 0) {
                received_.append(buf, static_cast<size_t>(n));
            } else {
                if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) eof_ = true;
                break;
            }
        }
        std::string out;
        out.swap(received_);
        return out;
    }
    // Waits for at least `bytes` bytes (or the end of the connection).
    std::string Receive(size_t bytes, int timeoutMs = 3000) {
        std::string got;
        PumpUntil([&] { got += Drain(); return got.size() >= bytes || eof_; }, timeoutMs);
        return got;
    }
    bool WaitClosedByServer(int timeoutMs = 3000) {
        return PumpUntil([&] { Drain(); return eof_; }, timeoutMs);
    }
    void Close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }
    // Closes with a reset instead of an orderly shutdown.
    void Reset() {
        linger l{1, 0};
        setsockopt(fd_, SOL_SOCKET, SO_LINGER, &l, sizeof l);
        Close();
    }

private:
    int fd_ = -1;
    bool connected_ = false;
    bool eof_ = false;
    std::string received_;
};

class HostSocketServerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!QCoreApplication::instance()) {
            static int argc = 1;
            static char name[] = "test_net";
            static char* argv[] = {name, nullptr};
            new QCoreApplication(argc, argv);  // lives for the whole test program
        }
    }

    HostSocketServerTest() : tags(200) {
        std::filesystem::create_directories(JobSetup());
        tags.values[3] = {1234.567f, 12.25f, 99.0f};
    }
    std::filesystem::path JobSetup() const { return prefix.Root() / "Job1" / "Setup"; }
    std::filesystem::path IniFile() const { return JobSetup() / "WinSockets.ini"; }
    void WriteSettings(int port, const std::string& extra = "") {
        TempPrefix::Write(IniFile(), "[Sockets]\r\nVoltarisMonitorPortNo=" + std::to_string(port) + "\r\n" + extra);
    }
    HostSocketServer& Start(SocketLimits limits = {}) {
        port = FreePort();
        WriteSettings(port);
        server = std::make_unique<HostSocketServer>(tags, trace, limits);
        server->OpenHostSocket(JobSetup().string());
        EXPECT_TRUE(server->IsListening());
        return *server;
    }
    bool HasTrace(const std::string& line) const {
        return std::find(trace.lines.begin(), trace.lines.end(), line) != trace.lines.end();
    }
    // The label the server gave the connection that sent this request ("Received: ... (label)").
    std::string LabelOf(const std::string& request) const {
        const std::string head = "Received: " + request + " from 127.0.0.1(";
        for (const std::string& line : trace.lines) {
            if (line.starts_with(head)) return line.substr(head.size(), line.size() - head.size() - 1);
        }
        return "";
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
    Client client(port);
    ASSERT_TRUE(client.Connected());

    client.Send("[M3];Value");
    EXPECT_EQ(client.Receive(18), "[M3];Value;1234.57");

    client.Send("[M3];Value;1.5");
    ASSERT_TRUE(PumpUntil([&] { return tags.values[3].Integrated == 1.5f; }));
    Pump(50);
    EXPECT_EQ(client.Drain(), "");  // a set is not answered

    for (const std::string bad : {"[M3];Value\n", "[M3]", "[M3];Value;1;2"}) {
        client.Send(bad);
        ASSERT_TRUE(PumpUntil([&] { return HasTrace("Received: " + bad + " from 127.0.0.1(" + LabelOf("[M3];Value") + ")"); }));
    }
    client.Send("[M3];Rate");
    // Only the line-feed read was answered (with an empty value) before this one.
    EXPECT_EQ(client.Receive(27), "[M3];Value\n;[M3];Rate;12.25");
    EXPECT_EQ(tags.values[3].Integrated, 1.5f);
    EXPECT_EQ(tags.writes, 1);

    const std::string label = LabelOf("[M3];Value");
    ASSERT_FALSE(label.empty());
    EXPECT_EQ(server->ConnectionElements(), std::vector<int>{1});
    client.Close();
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements().empty(); }));

    const std::vector<std::string> expected{
        "Listening to port: " + std::to_string(port),
        "Connection request id " + label + " from 127.0.0.1",
        "Received: [M3];Value from 127.0.0.1(" + label + ")",
        "Sending: [M3];Value;1234.57 to 127.0.0.1",
        "Received: [M3];Value;1.5 from 127.0.0.1(" + label + ")",
        "Set Data: [M3];Value;1.5 from 127.0.0.1",
        "Received: [M3];Value\n from 127.0.0.1(" + label + ")",
        "Sending: [M3];Value\n; to 127.0.0.1",
        "Received: [M3] from 127.0.0.1(" + label + ")",
        "Received: [M3];Value;1;2 from 127.0.0.1(" + label + ")",
        "Received: [M3];Rate from 127.0.0.1(" + label + ")",
        "Sending: [M3];Rate;12.25 to 127.0.0.1",
        "Connection " + label + " closed: 127.0.0.1",
    };
    EXPECT_EQ(trace.lines, expected);
}

TEST_F(HostSocketServerTest, TracingOffWritesNoTraceLine) {
    trace.on = false;
    Start();
    {
        Client client(port);
        client.Send("[M3];Rate;7");
        ASSERT_TRUE(PumpUntil([&] { return tags.values[3].Rate == 7.0f; }));
        client.Send("[M3];Rate");
        EXPECT_EQ(client.Receive(14), "[M3];Rate;7.00");
    }
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements().empty(); }));
    server->OpenHostSocket(JobSetup().string());
    EXPECT_TRUE(trace.lines.empty());
}

TEST_F(HostSocketServerTest, FiftyClientsAtOnceEachGetTheirOwnElementAndAnswers) {
    Start();
    for (int n = 1; n <= 50; ++n) tags.values[static_cast<size_t>(n)].Rate = static_cast<float>(n) + 0.25f;
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < 50; ++i) {
        clients.push_back(std::make_unique<Client>(port));
        ASSERT_TRUE(clients.back()->Connected());
        QCoreApplication::processEvents();
    }
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements().size() == 50; }));
    std::vector<int> expectedElements;
    for (int i = 1; i <= 50; ++i) expectedElements.push_back(i);
    EXPECT_EQ(server->ConnectionElements(), expectedElements);

    for (int round = 0; round < 3; ++round) {
        for (size_t i = 0; i < clients.size(); ++i) clients[i]->Send("[M" + std::to_string(i + 1) + "];Rate");
        for (size_t i = 0; i < clients.size(); ++i) {
            const std::string ref = "[M" + std::to_string(i + 1) + "];Rate;";
            const std::string want = ref + std::to_string(i + 1) + ".25";
            EXPECT_EQ(clients[i]->Receive(want.size()), want) << "client " << i << " round " << round;
        }
    }
    clients.clear();
    EXPECT_TRUE(PumpUntil([&] { return server->ConnectionElements().empty(); }));
}

TEST_F(HostSocketServerTest, ElementOfAClosedConnectionIsReusedWithoutTakingALiveOne) {
    Start();
    auto first = std::make_unique<Client>(port);
    Client second(port), third(port);
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements().size() == 3; }));
    first.reset();
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements() == std::vector<int>{2, 3}; }));

    Client fourth(port);
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements().size() == 3; }));
    EXPECT_EQ(server->ConnectionElements(), (std::vector<int>{1, 2, 3}));
    for (Client* c : {&second, &third, &fourth}) {
        c->Send("[M3];Input");
        EXPECT_EQ(c->Receive(16), "[M3];Input;99.00");
    }
}

TEST_F(HostSocketServerTest, ClientGoneBeforeItsReplyLeavesTheOthersServed) {
    Start();
    Client steady(port);
    for (int i = 0; i < 20; ++i) {
        Client leaving(port);
        leaving.Send("[M3];Value");
        if (i % 2) {
            leaving.Reset();
        } else {
            leaving.Close();
        }
        Pump(2);
    }
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements().size() == 1; }));
    steady.Send("[M3];Rate");
    EXPECT_EQ(steady.Receive(15), "[M3];Rate;12.25");
    EXPECT_TRUE(server->IsListening());
}

TEST_F(HostSocketServerTest, ConnectionsBeyondTheCapAndOversizedRequestsAreCut) {
    SocketLimits limits;
    limits.MaxConnections = 2;
    limits.MaxRequestBytes = 64;
    Start(limits);
    Client a(port), b(port);
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements().size() == 2; }));
    Client refused(port);
    EXPECT_TRUE(refused.WaitClosedByServer());
    EXPECT_EQ(server->ConnectionElements().size(), 2u);

    a.Send("[M3];Value;" + std::string(100, '1'));
    EXPECT_TRUE(a.WaitClosedByServer());
    EXPECT_EQ(tags.writes, 0);
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements().size() == 1; }));

    b.Send("[M3];Rate");
    EXPECT_EQ(b.Receive(15), "[M3];Rate;12.25");
    Client later(port);
    later.Send("[M3];Rate");
    EXPECT_EQ(later.Receive(15), "[M3];Rate;12.25");
}

TEST_F(HostSocketServerTest, SecondOpenClosesConnectionsAndListensOnTheNewPort) {
    Start();
    const int oldPort = port;
    Client old(oldPort);
    ASSERT_TRUE(PumpUntil([&] { return server->ConnectionElements().size() == 1; }));
    trace.lines.clear();

    const int newPort = FreePort();
    WriteSettings(newPort);
    server->OpenHostSocket(JobSetup().string());
    EXPECT_TRUE(server->IsListening());
    EXPECT_EQ(server->LocalPort(), newPort);
    EXPECT_TRUE(server->ConnectionElements().empty());
    EXPECT_TRUE(old.WaitClosedByServer());
    ASSERT_EQ(trace.lines.size(), 2u);
    EXPECT_TRUE(trace.lines[0].starts_with("Connection ") && trace.lines[0].ends_with(" closed: 127.0.0.1"));
    EXPECT_EQ(trace.lines[1], "Listening to port: " + std::to_string(newPort));

    EXPECT_FALSE(Client(oldPort).Connected());
    {
        Client fresh(newPort);
        fresh.Send("[M3];Value");
        EXPECT_EQ(fresh.Receive(18), "[M3];Value;1234.57");
        // The usual case: settings re-read with the port unchanged, while a client is connected.
        server->OpenHostSocket(JobSetup().string());
        EXPECT_TRUE(fresh.WaitClosedByServer());
    }
    EXPECT_TRUE(server->IsListening());
    Client again(newPort);
    again.Send("[M3];Value");
    EXPECT_EQ(again.Receive(18), "[M3];Value;1234.57");

    trace.lines.clear();
    server->CloseHostSocket();
    EXPECT_FALSE(server->IsListening());
    EXPECT_TRUE(again.WaitClosedByServer());
    EXPECT_TRUE(trace.lines.empty());
}

TEST_F(HostSocketServerTest, PortThatCannotBeOpenedIsOneLogLineAndNotListening) {
    QTcpServer occupant;
    ASSERT_TRUE(occupant.listen(QHostAddress::LocalHost, 0));
    port = occupant.serverPort();
    WriteSettings(port);
    HostSocketServer s(tags, trace);
    s.OpenHostSocket(JobSetup().string());
    EXPECT_FALSE(s.IsListening());
    EXPECT_EQ(s.LocalPort(), port);
    EXPECT_EQ(trace.lines, std::vector<std::string>{"Error Opening port: " + std::to_string(port)});
    const std::string log = MainLog();
    EXPECT_NE(log.find(" - OpenHostSocket, Error 10048. "), std::string::npos) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);

    WriteSettings(70000);
    s.OpenHostSocket(JobSetup().string());
    EXPECT_FALSE(s.IsListening());
    EXPECT_EQ(s.LocalPort(), 70000);
    EXPECT_NE(MainLog().find(" - OpenHostSocket, Error 380. Invalid property value\r\n"), std::string::npos);
}

TEST_F(HostSocketServerTest, ListenAddressSettingChoosesTheInterface) {
    port = FreePort();
    WriteSettings(port, "ListenAddress=not-an-address\r\n");
    HostSocketServer s(tags, trace);
    s.OpenHostSocket(JobSetup().string());
    // A setting that names no address falls back to loopback, reported once.
    EXPECT_TRUE(s.IsListening());
    EXPECT_NE(MainLog().find("OpenHostSocket, Error 5. Invalid listen address not-an-address"), std::string::npos);
    {
        Client c(port);
        c.Send("[M3];Rate");
        EXPECT_EQ(c.Receive(15), "[M3];Rate;12.25");
    }

    port = FreePort();
    WriteSettings(port, "ListenAddress=*\r\n");
    s.OpenHostSocket(JobSetup().string());
    EXPECT_TRUE(s.IsListening());
    Client c(port);
    c.Send("[M3];Rate");
    EXPECT_EQ(c.Receive(15), "[M3];Rate;12.25");
    // The peer is shown as plain IPv4 even on the dual-stack socket.
    EXPECT_TRUE(HasTrace("Sending: [M3];Rate;12.25 to 127.0.0.1"));
}

}  // namespace
