// The host object's DDE label over a real DDE client link, against a DDE server on a thread of this
// process. Set-up values through a running host are in tests/e2e/host; here the exact exchanges,
// the link moving between topics, refusals, and a server that was not there yet.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "common/TempPrefix.h"
#include "host/DdeLinkLabel.h"
#include "platform/Dde.h"
#include "platform/DdeServer.h"

namespace {

// A recorder-like server: items per topic, a log of every exchange; topic "Refused" is refused.
class ThreadServer {
public:
    explicit ThreadServer(std::string application) {
        std::promise<bool> started;
        auto ready = started.get_future();
        thread_ = std::thread([this, application, &started] {
            DdeServer server;
            DdeServerHandlers h;
            h.AcceptTopic = [](const std::string& topic) { return topic != "Refused"; };
            h.Request = [this](const std::string& topic, const std::string& item) {
                std::lock_guard<std::mutex> lock(mutex_);
                log_.push_back("request " + topic + " " + item);
                auto found = items_.find(topic + "/" + item);
                if (found == items_.end()) return VbResult<std::string>{"", DdeError(ErrDdeRefused)};
                return VbResult<std::string>{found->second, {}};
            };
            h.Poke = [this](const std::string& topic, const std::string& item, const std::string& data) {
                std::lock_guard<std::mutex> lock(mutex_);
                log_.push_back("poke " + topic + " " + item + " " + data);
                items_[topic + "/" + item] = data;
                return VbError();
            };
            h.Execute = [this](const std::string& topic, const std::string& command) {
                std::lock_guard<std::mutex> lock(mutex_);
                log_.push_back("execute " + topic + " " + command);
                return command == "Save" ? VbError() : DdeError(ErrDdeRefused);
            };
            bool ok = !server.Start(application, h);
            started.set_value(ok);
            while (ok && !stop_) server.Pump(20);
        });
        ok_ = ready.get();
    }
    ~ThreadServer() {
        stop_ = true;
        thread_.join();
    }
    bool Started() const { return ok_; }
    std::vector<std::string> Log() {
        std::lock_guard<std::mutex> lock(mutex_);
        return log_;
    }

private:
    std::thread thread_;
    std::atomic<bool> stop_{false};
    bool ok_ = false;
    std::mutex mutex_;
    std::map<std::string, std::string> items_;
    std::vector<std::string> log_;
};

}  // namespace

TEST(DdeLinkLabel, ExchangesReachTheServerOnTheirTopicsAndErrorsLeaveTheLabelWorking) {
    TempPrefix prefix;
    DdeLink link;
    DdeLinkLabel label(link);
    // Nobody serves the application yet.
    EXPECT_EQ(label.Poke("Recorder 2|SetHiSetpoint", "3,4", "80").Number, ErrDdeNoServer);
    EXPECT_EQ(label.Request("Recorder 2|GetDayMax", "3,4").Error.Number, ErrDdeNoServer);
    EXPECT_EQ(label.Execute("Recorder 2|SetHiSetpoint", "Save").Number, ErrDdeNoServer);
    EXPECT_EQ(link.Mode(), DdeLinkMode::None);

    ThreadServer server("Recorder 2");
    ASSERT_TRUE(server.Started());
    // The same topic as before: the label opens the conversation it could not open then.
    ASSERT_FALSE(label.Poke("Recorder 2|SetHiSetpoint", "3,4", "80"));
    EXPECT_EQ(link.Mode(), DdeLinkMode::Manual) << "set-up exchanges use a manual link";
    EXPECT_EQ(link.Text(), "80") << "the poked value is the label's text";
    ASSERT_FALSE(label.Execute("Recorder 2|SetHiSetpoint", "Save"));
    VbResult<std::string> answer = label.Request("Recorder 2|SetHiSetpoint", "3,4");
    ASSERT_FALSE(answer.Error) << answer.Error.Description;
    EXPECT_EQ(answer.Value, "80");
    // Another command is another topic: the link moves there and asks for the item.
    EXPECT_EQ(label.Request("Recorder 2|GetDayMax", "3,4").Error.Number, ErrDdeRefused);
    EXPECT_EQ(link.Topic(), "Recorder 2|GetDayMax");
    EXPECT_EQ(link.Item(), "3,4");
    // A refused topic and an unknown command are the server's refusals; the label still works after.
    EXPECT_EQ(label.Poke("Recorder 2|Refused", "1,1", "5").Number, ErrDdeNoServer);
    EXPECT_EQ(label.Execute("Recorder 2|SetHiSetpoint", "Format").Number, ErrDdeRefused);
    ASSERT_FALSE(label.Poke("Recorder 2|SetRelayState", "7", "1"));
    ASSERT_FALSE(label.Execute("Recorder 2|SetRelayState", "Save"));

    EXPECT_EQ(server.Log(), (std::vector<std::string>{
                                "poke SetHiSetpoint 3,4 80", "execute SetHiSetpoint Save", "request SetHiSetpoint 3,4",
                                "request GetDayMax 3,4", "execute SetHiSetpoint Format", "poke SetRelayState 7 1",
                                "execute SetRelayState Save"}));
}
