// The window registry seen from several processes: owners that end or die, reused pids,
// a class registered twice, and messages posted by several processes at once.
#include "platform/WindowRegistry.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "platform/Prefix.h"

namespace {

namespace fs = std::filesystem;

// One-shot signal between a parent and a forked child.
struct Signal {
    int fds[2] = {-1, -1};
    Signal() { EXPECT_EQ(::pipe(fds), 0); }
    ~Signal() {
        ::close(fds[0]);
        ::close(fds[1]);
    }
    void Raise() { (void)!::write(fds[1], "x", 1); }
    bool Await(int timeoutMs = 10000) {
        pollfd p{fds[0], POLLIN, 0};
        char c;
        return ::poll(&p, 1, timeoutMs) == 1 && ::read(fds[0], &c, 1) == 1;
    }
};

// Runs body in a forked child; its result is the child's exit status. _exit skips the
// atexit hooks: the child ends like a killed process unless body calls exit itself.
pid_t Spawn(const std::function<int()>& body) {
    pid_t pid = ::fork();
    if (pid == 0) ::_exit(body());
    return pid;
}

int Reap(pid_t pid) {
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

class WindowRegistryTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/vt-windows-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root = pattern;
        ::setenv("VOLTARIS_PREFIX", root.c_str(), 1);
    }
    void TearDown() override {
        UnregisterAllWindows();
        std::error_code ec;
        fs::remove_all(root, ec);
        ::unsetenv("VOLTARIS_PREFIX");
    }
    // Entry files on disk, read without going through the registry (which would clean up).
    std::vector<std::string> EntryFiles() {
        std::vector<std::string> names;
        std::error_code ec;
        for (const auto& item : fs::directory_iterator(PrefixRunFolder() / "windows", ec))
            names.push_back(item.path().filename().string());
        return names;
    }
    size_t QueueFolders() {
        size_t count = 0;
        std::error_code ec;
        for (const auto& item : fs::directory_iterator(PrefixRunFolder() / "messages", ec)) count += item.is_directory();
        return count;
    }
    fs::path root;
};

TEST_F(WindowRegistryTest, WindowIsSeenFromAnotherProcessWhateverTheCase) {
    ASSERT_TRUE(RegisterWindow("Tray32WndClass", "Host tray 100% \"up\"\nsecond line", true));

    std::optional<WindowInfo> found = FindWindowByClass("TRAY32WNDCLASS");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->ClassName, "Tray32WndClass");
    EXPECT_EQ(found->Title, "Host tray 100% \"up\"\nsecond line");
    EXPECT_EQ(found->OwnerPid, static_cast<long>(::getpid()));
    EXPECT_FALSE(FindWindowByClass("Tray32WndClas"));
    EXPECT_FALSE(FindWindowByClass(""));

    auto childSees = [](bool visible) {
        return Reap(Spawn([visible] {
            std::optional<WindowInfo> w = FindWindowByClass("tray32wndclass");
            if (!w || w->OwnerPid != static_cast<long>(::getppid())) return 1;
            return IsWindowVisible("Tray32WndClass") == visible ? 0 : 2;
        }));
    };
    EXPECT_EQ(childSees(true), 0);
    ASSERT_TRUE(SetWindowVisible("tray32WNDclass", false));
    EXPECT_EQ(childSees(false), 0);
    EXPECT_FALSE(SetWindowVisible("NotMine", true));

    // Registering again updates the same window instead of adding a second one.
    ASSERT_TRUE(RegisterWindow("TRAY32WNDCLASS", "renamed", true));
    ASSERT_EQ(OpenWindows().size(), 1u);
    EXPECT_EQ(OpenWindows()[0].Title, "renamed");
    EXPECT_TRUE(IsWindowVisible("Tray32WndClass"));

    UnregisterWindow("tray32wndclass");
    EXPECT_FALSE(FindWindowByClass("Tray32WndClass"));
    EXPECT_FALSE(IsWindowVisible("Tray32WndClass"));
    EXPECT_TRUE(OpenWindows().empty());
    EXPECT_TRUE(EntryFiles().empty());
    EXPECT_EQ(QueueFolders(), 0u);
}

TEST_F(WindowRegistryTest, KilledOwnerIsNeverReportedAndItsFilesAreCleanedUp) {
    Signal ready, done;
    pid_t child = Spawn([&] {
        if (!RegisterWindow("LoaderWClass", "loader", true)) return 1;
        ready.Raise();
        done.Await(30000);
        return 0;
    });
    ASSERT_TRUE(ready.Await());
    std::optional<WindowInfo> found = FindWindowByClass("LoaderWClass");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->OwnerPid, static_cast<long>(child));
    EXPECT_TRUE(PostRegisteredMessage("LoaderWClass", "APPCLOSE"));

    ::kill(child, SIGKILL);
    // Not reaped yet: a zombie is no owner either.
    for (int i = 0; i < 200 && FindWindowByClass("LoaderWClass"); ++i) ::usleep(10000);
    EXPECT_FALSE(FindWindowByClass("LoaderWClass"));
    EXPECT_EQ(Reap(child), 128 + SIGKILL);

    EXPECT_FALSE(FindWindowByClass("LoaderWClass"));
    EXPECT_FALSE(IsWindowVisible("LoaderWClass"));
    EXPECT_FALSE(PostRegisteredMessage("LoaderWClass", "APPCLOSE"));
    EXPECT_TRUE(OpenWindows().empty());
    EXPECT_TRUE(EntryFiles().empty());
    EXPECT_EQ(QueueFolders(), 0u);
}

TEST_F(WindowRegistryTest, EntryOfAnEarlierProcessWithTheSamePidIsNotTheOwner) {
    ASSERT_TRUE(RegisterWindow("TelvaneV5", "host", true));
    std::vector<std::string> files = EntryFiles();
    ASSERT_EQ(files.size(), 1u);
    const fs::path entry = PrefixRunFolder() / "windows" / files[0];

    // Same pid, another start time: the pid was reused by this process.
    std::ifstream in(entry);
    std::stringstream text;
    text << in.rdbuf();
    in.close();
    std::string content = text.str();
    size_t start = content.find("start=");
    ASSERT_NE(start, std::string::npos);
    content.insert(start + 6, "1");
    std::ofstream(entry, std::ios::trunc) << content;

    EXPECT_FALSE(FindWindowByClass("TelvaneV5"));
    EXPECT_TRUE(EntryFiles().empty());
}

TEST_F(WindowRegistryTest, ClassRegisteredTwiceGoesToTheEarliestAndThenToTheOther) {
    ASSERT_TRUE(RegisterWindow("TelvaneV5", "first", true));
    Signal ready, release;
    pid_t child = Spawn([&] {
        if (!RegisterWindow("telvanev5", "second", false)) return 1;
        ready.Raise();
        release.Await(30000);
        // The child sees the same answer as the parent.
        std::optional<WindowInfo> w = FindWindowByClass("TelvaneV5");
        return w && w->OwnerPid == static_cast<long>(::getppid()) ? 0 : 2;
    });
    ASSERT_TRUE(ready.Await());

    for (int i = 0; i < 5; ++i) {
        std::optional<WindowInfo> w = FindWindowByClass("TELVANEV5");
        ASSERT_TRUE(w);
        EXPECT_EQ(w->OwnerPid, static_cast<long>(::getpid()));
        EXPECT_EQ(w->Title, "first");
    }
    std::vector<WindowInfo> open = OpenWindows();
    ASSERT_EQ(open.size(), 2u);
    EXPECT_EQ(open[0].OwnerPid, static_cast<long>(::getpid()));
    EXPECT_EQ(open[1].OwnerPid, static_cast<long>(child));
    release.Raise();
    EXPECT_EQ(Reap(child), 0);

    // The child ended without unregistering; its entry does not hide behind ours.
    UnregisterWindow("TelvaneV5");
    EXPECT_FALSE(FindWindowByClass("TelvaneV5"));

    Signal ready2, release2;
    child = Spawn([&] {
        if (!RegisterWindow("TelvaneV5", "second", false)) return 1;
        ready2.Raise();
        release2.Await(30000);
        return 0;
    });
    ASSERT_TRUE(ready2.Await());
    ASSERT_TRUE(RegisterWindow("TelvaneV5", "late", true));
    std::optional<WindowInfo> w = FindWindowByClass("TelvaneV5");
    ASSERT_TRUE(w);
    EXPECT_EQ(w->OwnerPid, static_cast<long>(child));
    EXPECT_FALSE(IsWindowVisible("TelvaneV5"));
    release2.Raise();
    EXPECT_EQ(Reap(child), 0);
    w = FindWindowByClass("TelvaneV5");
    ASSERT_TRUE(w);
    EXPECT_EQ(w->OwnerPid, static_cast<long>(::getpid()));
}

TEST_F(WindowRegistryTest, NormalExitUnregistersOnlyTheExitingProcessWindows) {
    ASSERT_TRUE(RegisterWindow("ParentWnd", "parent", true));
    pid_t child = Spawn([] {
        if (!RegisterWindow("ChildWnd", "child", true)) return 1;
        std::exit(0);  // runs the exit hooks, which must spare the inherited ParentWnd
    });
    EXPECT_EQ(Reap(child), 0);

    // Look at the files themselves: a lookup would hide a leftover by cleaning it up.
    std::vector<std::string> files = EntryFiles();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].rfind("parentwnd@", 0), 0u);
    EXPECT_EQ(QueueFolders(), 1u);
    EXPECT_TRUE(FindWindowByClass("ParentWnd"));

    // A child posting to the parent still reaches it after the child ended normally.
    EXPECT_EQ(Reap(Spawn([] { return PostRegisteredMessage("ParentWnd", "APPCLOSE") ? 0 : 1; })), 0);
    EXPECT_EQ(TakeWindowMessages("ParentWnd"), std::vector<std::string>{"APPCLOSE"});
}

TEST_F(WindowRegistryTest, MessagesArriveOnceInPostingOrder) {
    EXPECT_FALSE(PostRegisteredMessage("Tray32WndClass", "APPCLOSE"));
    ASSERT_TRUE(RegisterWindow("Tray32WndClass", "tray", false));
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());
    EXPECT_FALSE(PostRegisteredMessage("Tray32WndClass", ""));

    EXPECT_TRUE(PostRegisteredMessage("tray32wndclass", "APPCLOSE"));
    EXPECT_TRUE(PostRegisteredMessage("Tray32WndClass", "APPCLOSE"));
    EXPECT_TRUE(PostRegisteredMessage("Tray32WndClass", "APPRELOAD"));
    EXPECT_EQ(TakeWindowMessages("TRAY32WNDCLASS"), (std::vector<std::string>{"APPCLOSE", "APPCLOSE", "APPRELOAD"}));
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());
    // Only the owner takes its messages.
    EXPECT_TRUE(TakeWindowMessages("SomeoneElse").empty());

    // Unregistering drops what was pending; a new registration starts empty.
    EXPECT_TRUE(PostRegisteredMessage("Tray32WndClass", "STALE"));
    UnregisterWindow("Tray32WndClass");
    EXPECT_FALSE(PostRegisteredMessage("Tray32WndClass", "APPCLOSE"));
    ASSERT_TRUE(RegisterWindow("Tray32WndClass", "tray", false));
    EXPECT_TRUE(TakeWindowMessages("Tray32WndClass").empty());
}

TEST_F(WindowRegistryTest, ConcurrentPostersLoseAndDuplicateNothing) {
    ASSERT_TRUE(RegisterWindow("Tray32WndClass", "tray", true));
    constexpr int posters = 4;
    constexpr int perPoster = 60;
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
    for (int round = 0; round < 2000 && received.size() < posters * perPoster; ++round) {
        for (std::string& m : TakeWindowMessages("Tray32WndClass")) received.push_back(std::move(m));
        ::usleep(1000);
    }
    for (pid_t child : children) EXPECT_EQ(Reap(child), 0);
    for (std::string& m : TakeWindowMessages("Tray32WndClass")) received.push_back(std::move(m));

    ASSERT_EQ(received.size(), static_cast<size_t>(posters * perPoster));
    std::set<std::string> unique(received.begin(), received.end());
    EXPECT_EQ(unique.size(), received.size());
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
