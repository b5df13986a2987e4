// DDE client against a server in another process: manual exchanges, automatic links, a server
// that is killed, hangs or was never there.
#include <gtest/gtest.h>

#include <signal.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Fork.h"
#include "common/TempPrefix.h"
#include "platform/Dde.h"
#include "platform/DdeServer.h"
#include "platform/DdeWire.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string Lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// A meter server: items hold texts; a poke stores and pushes; "Sleep n" stalls it for n milliseconds.
int RunMeterServer(const std::string& application, Signal& ready) {
    std::map<std::string, std::string> items{{"gas", "1.5"}, {"power", "230 kW"}};
    DdeServer server;
    DdeServerHandlers handlers;
    handlers.AcceptTopic = [](const std::string& topic) { return Lower(topic) == "meters"; };
    handlers.Request = [&items](const std::string&, const std::string& item) {
        auto found = items.find(Lower(item));
        return found == items.end() ? VbResult<std::string>{"", DdeError(ErrDdeRefused)}
                                    : VbResult<std::string>{found->second, {}};
    };
    handlers.Poke = [&items, &server](const std::string& topic, const std::string& item, const std::string& data) {
        items[Lower(item)] = data;
        server.Advise(topic, item, data);
        return VbError();
    };
    handlers.Execute = [](const std::string&, const std::string& command) {
        if (command.rfind("Sleep ", 0) != 0) return DdeError(ErrDdeRefused);
        std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(command.c_str() + 6)));
        return VbError();
    };
    if (server.Start(application, handlers)) return 1;
    ready.Raise();
    for (;;) server.Pump(100);
}

class ServerProcess {
public:
    explicit ServerProcess(const std::string& application) {
        Signal ready;
        pid_ = Spawn([&] { return RunMeterServer(application, ready); });
        started_ = ready.Await();
    }
    ~ServerProcess() { Kill(); }
    bool Started() const { return started_; }
    void Kill() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            Reap(pid_);
        }
        pid_ = 0;
    }

private:
    pid_t pid_ = 0;
    bool started_ = false;
};

VbError OpenLink(DdeLink& link, const std::string& topic, const std::string& item, DdeLinkMode mode) {
    link.SetTopic(topic);
    link.SetItem(item);
    return link.SetMode(mode);
}

}  // namespace

TEST(DdeWire, FieldsSurviveEscapingAndNamesMeetWhateverTheCase) {
    std::vector<std::string> fields{"POKE", "12,AL1Setpoint", "a\tb%c\r\nd\xb5", ""};
    std::string line = DdeEncodeLine(fields);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    EXPECT_EQ(DdeDecodeLine(line.substr(0, line.size() - 1)), fields);
    EXPECT_EQ(DdeDecodeLine("OK\t50%")[1], "50%");  // a stray "%" that is no escape stays

    TempPrefix prefix;
    EXPECT_EQ(DdeSocketPath("TagServer"), DdeSocketPath("tagserver"));
    EXPECT_NE(DdeSocketPath("Recorder 1"), DdeSocketPath("Recorder 2"));
    // A name with a separator cannot escape the dde folder.
    EXPECT_EQ(std::filesystem::path(DdeSocketPath("../x/y")).parent_path().filename(), "dde");
}

TEST(DdeManual, NoServerUnknownTopicAndAStalledServerAreErrorsNotHangs) {
    TempPrefix prefix;
    DdeLink link;
    auto started = Clock::now();
    EXPECT_EQ(OpenLink(link, "MeterSrv|Meters", "Gas", DdeLinkMode::Manual).Number, ErrDdeNoServer);
    EXPECT_LT(Clock::now() - started, std::chrono::seconds(1));
    EXPECT_EQ(link.Mode(), DdeLinkMode::None);
    EXPECT_EQ(link.Request().Number, ErrDdeNoChannel);
    EXPECT_EQ(link.Poke().Number, ErrDdeNoChannel);

    ServerProcess server("MeterSrv");
    ASSERT_TRUE(server.Started());
    EXPECT_EQ(OpenLink(link, "MeterSrv|Weather", "Gas", DdeLinkMode::Manual).Number, ErrDdeNoServer);
    link.SetTopic("");
    EXPECT_EQ(link.SetMode(DdeLinkMode::Automatic).Number, ErrDdeNoServer);

    ASSERT_FALSE(OpenLink(link, "MeterSrv|Meters", "Power", DdeLinkMode::Manual));
    started = Clock::now();
    EXPECT_EQ(link.Execute("Sleep 800", 200).Number, ErrDdeTimeout);
    EXPECT_LT(Clock::now() - started, std::chrono::milliseconds(700));
    // The stalled command's answer arrives first; the request must still get its own answer.
    ASSERT_FALSE(link.Request(3000));
    EXPECT_EQ(link.Text(), "230 kW");
}

// Plain pushes and requests against the real host are in tests/e2e/host; here names in any case,
// another item's change and a link moved to another item.
TEST(DdeAutomatic, PushedChangesOfTheLinksItemOnlyReachTextAndCallback) {
    TempPrefix prefix;
    ServerProcess server("MeterSrv");
    ASSERT_TRUE(server.Started());
    DdeLink hot, writer;
    std::vector<std::string> seen;
    hot.SetOnChange([&seen](const std::string& text) { seen.push_back(text); });
    ASSERT_FALSE(OpenLink(hot, "metersrv|METERS", "GAS", DdeLinkMode::Automatic));
    EXPECT_EQ(hot.Text(), "1.5");
    ASSERT_FALSE(OpenLink(writer, "MeterSrv|meters", "gas", DdeLinkMode::Manual));
    for (auto [item, value] : {std::pair{"gas", "3.5\tm3"}, {"Power", "999"}}) {
        writer.SetItem(item);
        writer.SetText(value);
        ASSERT_FALSE(writer.Poke());
    }
    for (auto deadline = Clock::now() + std::chrono::seconds(3); hot.Text() != "3.5\tm3" && Clock::now() < deadline;)
        DdePump(50);
    DdePump(100);
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.back(), "3.5\tm3");
    EXPECT_EQ(std::count(seen.begin(), seen.end(), "999"), 0);

    ASSERT_FALSE(hot.SetItem("Power"));
    EXPECT_EQ(hot.Text(), "999");
    EXPECT_EQ(hot.Mode(), DdeLinkMode::Automatic);
}

TEST(DdeAutomatic, KilledServerDropsTheLinkAndLaterCallsFailFast) {
    TempPrefix prefix;
    auto server = std::make_unique<ServerProcess>("MeterSrv");
    ASSERT_TRUE(server->Started());
    DdeServer second;
    EXPECT_TRUE(second.Start("METERSRV", {}).Failed()) << "the name is taken";
    EXPECT_FALSE(second.Running());
    DdeLink hot, manual;
    ASSERT_FALSE(OpenLink(hot, "MeterSrv|Meters", "Gas", DdeLinkMode::Automatic));
    ASSERT_FALSE(OpenLink(manual, "MeterSrv|Meters", "Gas", DdeLinkMode::Manual));
    server->Kill();

    // The owner sees the mode drop (what makes the scan relink), without any pumping of its own.
    for (auto deadline = Clock::now() + std::chrono::seconds(2);
         hot.Mode() != DdeLinkMode::None && Clock::now() < deadline;)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(hot.Mode(), DdeLinkMode::None);
    EXPECT_EQ(hot.Text(), "1.5");  // the last text stays

    auto started = Clock::now();
    EXPECT_EQ(manual.Request(5000).Number, ErrDdeNoServer);
    EXPECT_EQ(manual.Mode(), DdeLinkMode::None);
    // The stale socket file of the dead server does not answer either.
    EXPECT_EQ(hot.SetMode(DdeLinkMode::Automatic).Number, ErrDdeNoServer);
    EXPECT_LT(Clock::now() - started, std::chrono::seconds(1));

    // A new server takes over the dead one's name and the link comes back.
    server = std::make_unique<ServerProcess>("MeterSrv");
    ASSERT_TRUE(server->Started());
    ASSERT_FALSE(hot.SetMode(DdeLinkMode::Automatic));
    EXPECT_EQ(hot.Text(), "1.5");
}

TEST(DdeAutomatic, EventLoopDeliversWithoutPumping) {
    TempPrefix prefix;
    ServerProcess server("MeterSrv");  // forked before the application object exists
    ASSERT_TRUE(server.Started());
    int argc = 1;
    char name[] = "test_platform";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);

    DdeLink hot, writer;
    std::vector<std::string> seen;
    hot.SetOnChange([&seen](const std::string& text) { seen.push_back(text); });
    ASSERT_FALSE(OpenLink(hot, "MeterSrv|Meters", "Gas", DdeLinkMode::Automatic));
    ASSERT_FALSE(OpenLink(writer, "MeterSrv|Meters", "Gas", DdeLinkMode::Manual));
    writer.SetText("42.5");
    ASSERT_FALSE(writer.Poke());
    EXPECT_TRUE(seen.empty()) << "callbacks never run inside a call; they come from the loop";

    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (!seen.empty() && seen.back() == "42.5") loop.quit();
    });
    poll.start(10);
    QTimer::singleShot(3000, &loop, &QEventLoop::quit);
    loop.exec();
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.front(), "1.5");  // the value the link came up with
    EXPECT_EQ(seen.back(), "42.5");
}
