// DDE acquisition against a meter server in a child process: the caption's numeric reading, the
// relink rule, one link per tag number up to TagCount, and a source nobody serves. Pushed changes
// are tested in platform/DdeTest, the reading of a caption's number in support/VbConvertTest.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>

#include "ScanFixture.h"
#include "core/InputAcquire.h"
#include "platform/Dde.h"
#include "platform/DdeServer.h"
#include "support/VbText.h"

namespace {

// Serves topic "Meters" of application "MeterSrv" in a child process.
class MeterServer {
public:
    MeterServer() {
        int fds[2];
        if (::pipe(fds) != 0) return;
        if ((pid_ = ::fork()) == 0) Serve(fds[1]);
        ::close(fds[1]);
        char ready = 0;
        started_ = ::read(fds[0], &ready, 1) == 1 && ready == 'R';
        ::close(fds[0]);
    }
    ~MeterServer() {
        if (pid_ > 0) ::kill(pid_, SIGKILL), ::waitpid(pid_, nullptr, 0);
    }
    bool Started() const { return started_; }


private:
    [[noreturn]] static void Serve(int readyFd) {
        std::map<std::string, std::string> items{{"Power", "12.5 kW"}, {"Gas", "1.5"}};
        DdeServer server;
        DdeServerHandlers handlers;
        handlers.AcceptTopic = [](const std::string& topic) { return topic == "Meters"; };
        handlers.Request = [&items](const std::string&, const std::string& item) {
            VbResult<std::string> result;
            if (items.count(item)) result.Value = items[item];
            else result.Error = DdeError(ErrDdeRefused);
            return result;
        };
        const char ready = server.Start("MeterSrv", handlers) ? 'F' : 'R';
        (void)!::write(readyFd, &ready, 1);
        for (;;) server.Pump(100);
    }
    pid_t pid_ = 0;
    bool started_ = false;
};

class InputGetDde : public ScanTest {
protected:
    void Source(TagRecord& record, const std::string& topic, const std::string& item) {
        record.SourceName = FixedField(topic, 24);
        record.SourceItem = FixedField(item, 24);
    }
};

TEST_F(InputGetDde, CaptionReadingsAndTheRelinkRule) {
    MeterServer server;
    ASSERT_TRUE(server.Started());
    setup.TagCount = 10;
    Source(Measured(8, 26), "MeterSrv|Meters", "Power");

    Input_Get_DDE(Scan(), 8);
    EXPECT_FLOAT_EQ(Value(8).Current, 12.5f);  // a number followed by a blank and a unit
    EXPECT_EQ(dde.Count(), 11);
    DdeLink* link = dde.Link(8);
    ASSERT_NE(link, nullptr);
    EXPECT_EQ(link->Topic(), "MeterSrv|Meters");
    EXPECT_EQ(link->Item(), "Power");
    EXPECT_EQ(link->Mode(), DdeLinkMode::Automatic);

    // A changed source item relinks the same element.
    Source(Tag(8), "MeterSrv|Meters", "Gas");
    Input_Get_DDE(Scan(), 8);
    EXPECT_EQ(dde.Link(8), link);
    EXPECT_EQ(link->Item(), "Gas");
    EXPECT_FLOAT_EQ(Value(8).Current, 1.5f);

    // One element per tag number 0..TagCount, following TagCount both ways.
    setup.TagCount = 12;
    Input_Get_DDE(Scan(), 8);
    EXPECT_EQ(dde.Count(), 13);
    setup.TagCount = 9;
    Input_Get_DDE(Scan(), 8);
    EXPECT_EQ(dde.Count(), 10);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(InputGetDde, SourceNobodyServesIsLoggedAndLeavesCurrent) {
    Source(Measured(3, 27), "Nobody|Meters", "Power");
    Value(3).Current = 7;

    Input_Get_DDE(Scan(), 3);
    EXPECT_FLOAT_EQ(Value(3).Current, 7.0f);
    ASSERT_EQ(LogLines().size(), 1u);
    EXPECT_EQ(LogLines()[0].rfind("Input_Get_DDE, Error 282/ ", 0), 0u) << LogLines()[0];
}

}  // namespace
