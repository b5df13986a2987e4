// The instance lock between processes. A second host refused and a killed host's lock freed are
// in tests/e2e/host; here the lock's owner, a forked child and programs the holder starts.
#include "platform/SingleInstance.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <string>

#include "Fork.h"
#include "common/TempPrefix.h"

namespace {

// What a fresh process would get for name right now.
bool OtherProcessAcquires(const char* name) {
    return InChild([name] { return AcquireSingleInstance(name) ? 0 : 1; }) == 0;
}

class SingleInstanceTest : public ::testing::Test {
protected:
    void TearDown() override {
        ReleaseSingleInstance("voltamon");
        ReleaseSingleInstance("other");
    }
    TempPrefix prefix;
};

TEST_F(SingleInstanceTest, HolderKeepsTheLockUntilItReleases) {
    ASSERT_TRUE(AcquireSingleInstance("voltamon"));
    EXPECT_TRUE(AcquireSingleInstance("voltamon"));  // asking again is no conflict with itself
    EXPECT_FALSE(OtherProcessAcquires("voltamon"));
    EXPECT_TRUE(OtherProcessAcquires("other"));  // names are independent
    ReleaseSingleInstance("voltamon");
    EXPECT_TRUE(OtherProcessAcquires("voltamon"));
}

TEST_F(SingleInstanceTest, ForkedChildDoesNotShareOrFreeTheParentsLock) {
    ASSERT_TRUE(AcquireSingleInstance("voltamon"));
    // The child inherits the open lock file; it is still another process.
    EXPECT_EQ(InChild([] {
                  if (AcquireSingleInstance("voltamon")) return 1;
                  ReleaseSingleInstance("voltamon");  // must not unlock the parent's lock
                  return 0;
              }),
              0);
    EXPECT_FALSE(OtherProcessAcquires("voltamon"));
}

TEST_F(SingleInstanceTest, StartedProgramDoesNotInheritTheLock) {
    // A monitor starts a program and then dies; the program runs on.
    int pidPipe[2];
    ASSERT_EQ(::pipe(pidPipe), 0);
    pid_t monitor = Spawn([&] {
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
    EXPECT_EQ(Reap(monitor), 0);
    ASSERT_TRUE(gotPid);
    bool acquired = AcquireSingleInstance("voltamon");
    ::kill(program, SIGKILL);  // reparented: not ours to reap
    EXPECT_TRUE(acquired);
}

}  // namespace
