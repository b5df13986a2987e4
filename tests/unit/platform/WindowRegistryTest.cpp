// The window registry seen from several processes: owners that end or die, reused pids,
// a class registered twice, and messages posted by several processes at once. A host's windows
// seen from the monitor, and gone once the host is killed and reaped, are in tests/e2e/host.
#include "platform/WindowRegistry.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "Fork.h"
#include "common/TempPrefix.h"
#include "platform/Prefix.h"

namespace {

namespace fs = std::filesystem;

long Self() { return static_cast<long>(::getpid()); }
long OwnerOf(std::string_view windowClass) {
    std::optional<WindowInfo> w = FindWindowByClass(windowClass);
    return w ? w->OwnerPid : 0;
}

class WindowRegistryTest : public ::testing::Test {
protected:
    void TearDown() override { UnregisterAllWindows(); }
    // Names in a run folder, read without going through the registry (which would clean up).
    static std::vector<std::string> Entries(const char* folder = "windows", bool foldersOnly = false) {
        std::vector<std::string> names;
        std::error_code ec;
        for (const auto& item : fs::directory_iterator(PrefixRunFolder() / folder, ec))
            if (!foldersOnly || item.is_directory()) names.push_back(item.path().filename().string());
        return names;
    }
    static size_t QueueFolders() { return Entries("messages", true).size(); }
    // A child that registers cls and keeps it until release; ready once it is registered.
    static pid_t Owner(const char* cls, const char* title, bool visible, Signal& ready, Signal& release) {
        return Spawn([&] {
            if (!RegisterWindow(cls, title, visible)) return 1;
            ready.Raise();
            release.Await(30000);
            return 0;  // ends without unregistering
        });
    }
    static void ExpectNothingLeft() {
        EXPECT_TRUE(OpenWindows().empty());
        EXPECT_TRUE(Entries().empty());
        EXPECT_EQ(QueueFolders(), 0u);
    }
    TempPrefix prefix;
};

TEST_F(WindowRegistryTest, WindowIsFoundWhateverTheCaseAndRegisteringAgainUpdatesIt) {
    ASSERT_TRUE(RegisterWindow("Tray32WndClass", "Host tray 100% \"up\"\nsecond line", true));
    std::optional<WindowInfo> found = FindWindowByClass("TRAY32WNDCLASS");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->ClassName, "Tray32WndClass");
    EXPECT_EQ(found->Title, "Host tray 100% \"up\"\nsecond line");
    EXPECT_FALSE(FindWindowByClass("Tray32WndClas"));
    // Hidden here, and so seen by another process.
    ASSERT_TRUE(SetWindowVisible("tray32WNDclass", false));
    EXPECT_EQ(InChild([] {
                  return OwnerOf("tray32wndclass") == static_cast<long>(::getppid()) && !IsWindowVisible("Tray32WndClass") ? 0 : 1;
              }),
              0);
    EXPECT_FALSE(SetWindowVisible("NotMine", true));

    ASSERT_TRUE(RegisterWindow("TRAY32WNDCLASS", "renamed", true));
    ASSERT_EQ(OpenWindows().size(), 1u);
    EXPECT_EQ(OpenWindows()[0].Title, "renamed");
    EXPECT_TRUE(IsWindowVisible("Tray32WndClass"));
    UnregisterWindow("tray32wndclass");
    ExpectNothingLeft();
}

TEST_F(WindowRegistryTest, KilledOwnerIsNeverReportedAndItsFilesAreCleanedUp) {
    Signal ready, done;
    pid_t child = Owner("LoaderWClass", "loader", true, ready, done);
    ASSERT_TRUE(ready.Await());
    EXPECT_EQ(OwnerOf("LoaderWClass"), static_cast<long>(child));
    ::kill(child, SIGKILL);
    // Not reaped yet: a zombie is no owner either.
    for (int i = 0; i < 200 && FindWindowByClass("LoaderWClass"); ++i) ::usleep(10000);
    EXPECT_FALSE(FindWindowByClass("LoaderWClass"));
    EXPECT_FALSE(PostRegisteredMessage("LoaderWClass", "APPCLOSE"));
    EXPECT_EQ(Reap(child), 128 + SIGKILL);
    ExpectNothingLeft();
}

TEST_F(WindowRegistryTest, EntryOfAnEarlierProcessWithTheSamePidIsNotTheOwner) {
    ASSERT_TRUE(RegisterWindow("TelvaneV5", "host", true));
    std::vector<std::string> files = Entries();
    ASSERT_EQ(files.size(), 1u);
    // Same pid, another start time: the pid was reused by this process.
    const fs::path entry = PrefixRunFolder() / "windows" / files[0];
    std::string content = TempPrefix::Read(entry);
    size_t start = content.find("start=");
    ASSERT_NE(start, std::string::npos);
    content.insert(start + 6, "1");
    TempPrefix::Write(entry, content);
    EXPECT_FALSE(FindWindowByClass("TelvaneV5"));
    EXPECT_TRUE(Entries().empty());
}

TEST_F(WindowRegistryTest, ClassRegisteredTwiceGoesToTheEarliestAndThenToTheOther) {
    Signal ready, release;
    pid_t child = Owner("TelvaneV5", "first", false, ready, release);
    ASSERT_TRUE(ready.Await());
    ASSERT_TRUE(RegisterWindow("telvanev5", "late", true));
    EXPECT_EQ(OwnerOf("TELVANEV5"), static_cast<long>(child));
    EXPECT_FALSE(IsWindowVisible("TelvaneV5"));
    std::vector<WindowInfo> open = OpenWindows();
    ASSERT_EQ(open.size(), 2u);
    EXPECT_EQ(open[1].OwnerPid, Self());
    release.Raise();
    EXPECT_EQ(Reap(child), 0);
    EXPECT_EQ(OwnerOf("TelvaneV5"), Self());
    EXPECT_EQ(FindWindowByClass("TelvaneV5")->Title, "late");
}

TEST_F(WindowRegistryTest, NormalExitUnregistersOnlyTheExitingProcessWindows) {
    ASSERT_TRUE(RegisterWindow("ParentWnd", "parent", true));
    EXPECT_EQ(InChild([] {
                  if (!RegisterWindow("ChildWnd", "child", true)) return 1;
                  std::exit(0);  // runs the exit hooks, which must spare the inherited ParentWnd
              }),
              0);
    // Look at the files themselves: a lookup would hide a leftover by cleaning it up.
    std::vector<std::string> files = Entries();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].rfind("parentwnd@", 0), 0u);
    EXPECT_EQ(QueueFolders(), 1u);
    EXPECT_TRUE(FindWindowByClass("ParentWnd"));
    // A child posting to the parent still reaches it after the child ended normally.
    EXPECT_EQ(InChild([] { return PostRegisteredMessage("ParentWnd", "APPCLOSE") ? 0 : 1; }), 0);
    EXPECT_EQ(TakeWindowMessages("ParentWnd"), std::vector<std::string>{"APPCLOSE"});
}

TEST_F(WindowRegistryTest, MessagesArriveOnceInPostingOrder) {
    EXPECT_FALSE(PostRegisteredMessage("Tray32WndClass", "APPCLOSE"));
    ASSERT_TRUE(RegisterWindow("Tray32WndClass", "tray", false));
    EXPECT_FALSE(PostRegisteredMessage("Tray32WndClass", ""));
    for (const char* message : {"APPCLOSE", "APPCLOSE", "APPRELOAD"})
        EXPECT_TRUE(PostRegisteredMessage("tray32wndclass", message));
    EXPECT_TRUE(TakeWindowMessages("SomeoneElse").empty());  // only the owner takes its messages
    EXPECT_EQ(TakeWindowMessages("TRAY32WNDCLASS"), (std::vector<std::string>{"APPCLOSE", "APPCLOSE", "APPRELOAD"}));
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());

    // Unregistering drops what was pending; a new registration starts empty.
    EXPECT_TRUE(PostRegisteredMessage("Tray32WndClass", "STALE"));
    UnregisterWindow("Tray32WndClass");
    ASSERT_TRUE(RegisterWindow("Tray32WndClass", "tray", false));
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());
}

TEST_F(WindowRegistryTest, ConcurrentPostersLoseAndDuplicateNothing) {
    ASSERT_TRUE(RegisterWindow("Tray32WndClass", "tray", true));
    constexpr int posters = 4, perPoster = 60;
    Signal start;
    std::vector<pid_t> children;
    for (int p = 0; p < posters; ++p) {
        children.push_back(Spawn([&start, p] {
            if (!start.Await(30000)) return 3;
            start.Raise();  // pass the start on to the next poster
            for (int i = 0; i < perPoster; ++i)
                if (!PostRegisteredMessage("Tray32WndClass", std::to_string(p) + ":" + std::to_string(i))) return 1;
            return 0;
        }));
    }
    start.Raise();
    // Take while they post, as the host's event loop would.
    std::vector<std::string> received;
    auto take = [&] {
        for (std::string& m : TakeWindowMessages("Tray32WndClass")) received.push_back(std::move(m));
    };
    for (int round = 0; round < 2000 && received.size() < posters * perPoster; ++round) take(), ::usleep(1000);
    for (pid_t child : children) EXPECT_EQ(Reap(child), 0);
    take();

    ASSERT_EQ(received.size(), static_cast<size_t>(posters * perPoster));
    EXPECT_EQ(std::set<std::string>(received.begin(), received.end()).size(), received.size());
    // Each poster's messages come in the order it posted them.
    std::map<int, int> next;
    for (const std::string& m : received) {
        int p = std::stoi(m.substr(0, m.find(':')));
        int i = std::stoi(m.substr(m.find(':') + 1));
        EXPECT_EQ(i, next[p]) << "poster " << p;
        next[p] = i + 1;
    }
}

}  // namespace
