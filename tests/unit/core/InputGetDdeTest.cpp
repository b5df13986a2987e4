// DDE acquisition against a meter server in a child process: the caption's numeric reading, the
// relink rule, one link per tag number up to TagCount, and a source nobody serves.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <string>

#include "ScanFixture.h"
#include "core/InputAcquire.h"
#include "platform/Dde.h"
#include "platform/DdeServer.h"
#include "support/VbText.h"

namespace {

// Serves topic "Meters" of application "MeterSrv"; a poke stores the item's text and pushes it.
[[noreturn]] void RunMeterServer(int readyFd) {
    std::map<std::string, std::string> items{{"power", "12.5 kW"}, {"gas", "1.5"}};
    DdeServer server;
    DdeServerHandlers handlers;
    handlers.AcceptTopic = [](const std::string& topic) { return topic == "Meters"; };
    handlers.Request = [&items](const std::string&, const std::string& item) {
        VbResult<std::string> result;
        auto found = items.find(item == "Power" ? "power" : item == "Gas" ? "gas" : item);
        if (found == items.end()) result.Error = DdeError(ErrDdeRefused);
        else result.Value = found->second;
        return result;
    };
    handlers.Poke = [&items, &server](const std::string& topic, const std::string& item, const std::string& data) {
        items[item == "Power" ? "power" : item == "Gas" ? "gas" : item] = data;
        server.Advise(topic, item, data);
        return VbError();
    };
    char ready = server.Start("MeterSrv", handlers) ? 'F' : 'R';
    (void)!::write(readyFd, &ready, 1);
    if (ready != 'R') ::_exit(1);
    for (;;) server.Pump(100);
}

class MeterServer {
public:
    MeterServer() {
        int fds[2];
        if (::pipe(fds) != 0) return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(fds[0]);
            RunMeterServer(fds[1]);
        }
        ::close(fds[1]);
        char ready = 0;
        started_ = ::read(fds[0], &ready, 1) == 1 && ready == 'R';
        ::close(fds[0]);
    }
    ~MeterServer() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    bool Started() const { return started_; }

    // Sets an item's text through a manual link of our own, as another program would.
    bool Set(const std::string& item, const std::string& text) {
        DdeLink writer;
        writer.SetTopic("MeterSrv|Meters");
        writer.SetItem(item);
        if (writer.SetMode(DdeLinkMode::Manual)) return false;
        writer.SetText(text);
        return !writer.Poke();
    }

private:
    pid_t pid_ = 0;
    bool started_ = false;
};

void Source(TagRecord& record, const std::string& topic, const std::string& item) {
    record.SourceName = FixedField(topic, 24);
    record.SourceItem = FixedField(item, 24);
}

// Reads the tag until its Current shows the pushed value (the push travels between processes).
bool ReadsSoon(ScanFixture& f, int16_t tag, float expected) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    do {
        Input_Get_DDE(f.Scan(), tag);
        if (f.Value(tag).Current == expected) return true;
        DdePump(20);
    } while (std::chrono::steady_clock::now() < deadline);
    return false;
}

}  // namespace

TEST(InputGetDde, CaptionReadingsAndTheRelinkRule) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    MeterServer server;
    ASSERT_TRUE(server.Started());
    f.setup.TagCount = 10;
    Source(f.Measured(8, 26), "MeterSrv|Meters", "Power");

    Input_Get_DDE(f.Scan(), 8);
    EXPECT_FLOAT_EQ(f.Value(8).Current, 12.5f);  // a number followed by a blank and a unit
    EXPECT_EQ(f.dde.Count(), 11);
    DdeLink* link = f.dde.Link(8);
    ASSERT_NE(link, nullptr);
    EXPECT_EQ(link->Topic(), "MeterSrv|Meters");
    EXPECT_EQ(link->Item(), "Power");
    EXPECT_EQ(link->Mode(), DdeLinkMode::Automatic);

    // Pushed changes reach the caption through the open link.
    ASSERT_TRUE(server.Set("Power", "12 5"));
    EXPECT_TRUE(ReadsSoon(f, 8, 125.0f));  // blanks inside a number are ignored
    ASSERT_TRUE(server.Set("Power", "kW 3"));
    EXPECT_TRUE(ReadsSoon(f, 8, 0.0f));    // no number at all
    ASSERT_TRUE(server.Set("Power", "&H10"));
    EXPECT_TRUE(ReadsSoon(f, 8, 16.0f));

    // A changed source item relinks the same element.
    Source(f.Tag(8), "MeterSrv|Meters", "Gas");
    Input_Get_DDE(f.Scan(), 8);
    EXPECT_EQ(f.dde.Link(8), link);
    EXPECT_EQ(link->Item(), "Gas");
    EXPECT_FLOAT_EQ(f.Value(8).Current, 1.5f);

    // One element per tag number 0..TagCount, following TagCount both ways.
    f.setup.TagCount = 12;
    Input_Get_DDE(f.Scan(), 8);
    EXPECT_EQ(f.dde.Count(), 13);
    f.setup.TagCount = 9;
    Input_Get_DDE(f.Scan(), 8);
    EXPECT_EQ(f.dde.Count(), 10);
    EXPECT_TRUE(f.LogLines().empty());
}

TEST(InputGetDde, SourceNobodyServesIsLoggedAndLeavesCurrent) {
    REQUIRE_HOST_LIBRARIES();
    ScanFixture f;
    ASSERT_TRUE(f.Installed());
    Source(f.Measured(3, 27), "Nobody|Meters", "Power");
    f.Value(3).Current = 7;

    Input_Get_DDE(f.Scan(), 3);
    EXPECT_FLOAT_EQ(f.Value(3).Current, 7.0f);
    ASSERT_EQ(f.LogLines().size(), 1u);
    EXPECT_EQ(f.LogLines()[0].rfind("Input_Get_DDE, Error 282/ ", 0), 0u) << f.LogLines()[0];
}
