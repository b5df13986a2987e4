// The instance lock between processes: held by a live process, freed by its death, not
// leaked to programs it starts.
#include "platform/SingleInstance.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

namespace {

struct Handshake {
    int fds[2] = {-1, -1};
    Handshake() { EXPECT_EQ(::pipe(fds), 0); }
    ~Handshake() {
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

pid_t Child(const std::function<int()>& body) {
    pid_t pid = ::fork();
    if (pid == 0) ::_exit(body());
    return pid;
}

int ExitCode(pid_t pid) {
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// What a fresh process would get for name right now.
bool OtherProcessAcquires(const char* name) {
    return ExitCode(Child([name] { return AcquireSingleInstance(name) ? 0 : 1; })) == 0;
}

class SingleInstanceTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/vt-instance-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root = pattern;
        ::setenv("VOLTARIS_PREFIX", root.c_str(), 1);
    }
    void TearDown() override {
        ReleaseSingleInstance("voltamon");
        ReleaseSingleInstance("other");
        std::error_code ec;
        std::filesystem::remove_all(root, ec);
        ::unsetenv("VOLTARIS_PREFIX");
    }
    std::filesystem::path root;
};

TEST_F(SingleInstanceTest, HolderKeepsTheLockUntilItReleases) {
    ASSERT_TRUE(AcquireSingleInstance("voltamon"));
    EXPECT_TRUE(AcquireSingleInstance("voltamon"));  // asking again is no conflict with itself
    EXPECT_FALSE(OtherProcessAcquires("voltamon"));
    EXPECT_TRUE(OtherProcessAcquires("other"));       // names are independent

    ReleaseSingleInstance("voltamon");
    EXPECT_TRUE(OtherProcessAcquires("voltamon"));
    EXPECT_TRUE(AcquireSingleInstance("voltamon"));
}

TEST_F(SingleInstanceTest, KilledHolderLeavesNoStaleLock) {
    Handshake held, never;
    pid_t holder = Child([&] {
        if (!AcquireSingleInstance("voltamon")) return 1;
        held.Raise();
        never.Await(30000);
        return 0;
    });
    ASSERT_TRUE(held.Await());
    EXPECT_FALSE(AcquireSingleInstance("voltamon"));
    EXPECT_FALSE(AcquireSingleInstance("voltamon"));  // a failed try leaves nothing behind

    ::kill(holder, SIGKILL);
    EXPECT_EQ(ExitCode(holder), 128 + SIGKILL);
    EXPECT_TRUE(AcquireSingleInstance("voltamon"));
    EXPECT_FALSE(OtherProcessAcquires("voltamon"));
}

TEST_F(SingleInstanceTest, ForkedChildDoesNotShareOrFreeTheParentsLock) {
    ASSERT_TRUE(AcquireSingleInstance("voltamon"));
    // The child inherits the open lock file; it is still another process.
    EXPECT_EQ(ExitCode(Child([] {
                  if (AcquireSingleInstance("voltamon")) return 1;
                  ReleaseSingleInstance("voltamon");  // must not unlock the parent's lock
                  return 0;
              })),
              0);
    EXPECT_FALSE(OtherProcessAcquires("voltamon"));
}

TEST_F(SingleInstanceTest, StartedProgramDoesNotInheritTheLock) {
    // A monitor starts a program and then dies; the program runs on.
    int pidPipe[2];
    ASSERT_EQ(::pipe(pidPipe), 0);
    pid_t monitor = Child([&] {
        if (!AcquireSingleInstance("voltamon")) return 1;
        pid_t program = ::fork();
        if (program == 0) {
            ::execl("/bin/sleep", "sleep", "30", static_cast<char*>(nullptr));
            ::_exit(127);
        }
        (void)!::write(pidPipe[1], &program, sizeof program);
        // Wait until the exec has happened (the name changes): only the started program is left.
        for (int i = 0; i < 500; ++i) {
            std::ifstream comm("/proc/" + std::to_string(program) + "/comm");
            std::string name;
            if (std::getline(comm, name) && name == "sleep") break;
            ::usleep(10000);
        }
        return 0;
    });
    pid_t program = 0;
    bool gotPid = ::read(pidPipe[0], &program, sizeof program) == sizeof program;
    ::close(pidPipe[0]);
    ::close(pidPipe[1]);
    EXPECT_EQ(ExitCode(monitor), 0);
    ASSERT_TRUE(gotPid);

    bool acquired = AcquireSingleInstance("voltamon");
    ::kill(program, SIGKILL);  // reparented: not ours to reap
    EXPECT_TRUE(acquired);
}

}  // namespace
