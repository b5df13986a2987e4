// The shared point state: two mappings of one host folder see each other's values, and a file
// that is not a valid state is replaced rather than trusted.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "HostFixture.h"
#include "HostState.h"

namespace {

std::filesystem::path StateFile(const HostFixture& f) { return f.ProgramDir() / HostStateFileName; }

class HostStateTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(s.Open(dir)); }
    HostFixture f;
    std::string dir = f.ProgramDir().string();
    HostState s;
};

}  // namespace

TEST_F(HostStateTest, TwoMappingsShareValuesAndTexts) {
    HostState& a = s;
    HostState b;
    ASSERT_TRUE(b.Open(dir));
    a.SetReading(HostTable::Tags, 4999, 12.5f);
    a.SetTotal(HostTable::Lines, 999, HostTotal::GrandTotal, 1e12 + 0.25);
    a.SetName(HostTable::OutputTags, 2047, "Boiler 3 rate");
    a.SetParam(HostTable::Tags, 7, 20, "1.5");
    EXPECT_FLOAT_EQ(b.Reading(HostTable::Tags, 4999), 12.5f);
    EXPECT_DOUBLE_EQ(b.Total(HostTable::Lines, 999, HostTotal::GrandTotal), 1e12 + 0.25);
    EXPECT_EQ(b.Name(HostTable::OutputTags, 2047), "Boiler 3 rate");
    EXPECT_EQ(b.Param(HostTable::Tags, 7, 20), "1.5");
    EXPECT_EQ(b.WriteCount(HostTable::Tags, 4999), 1u);
}

TEST_F(HostStateTest, IndexesOutsideTheTablesReadEmptyAndWriteNothing) {
    s.SetReading(HostTable::Tags, HostMaxTags, 1.0f);
    s.SetReading(HostTable::OutputTags, -1, 1.0f);
    s.SetName(HostTable::Lines, HostMaxLines, "x");
    s.SetPageLabel(HostMaxPages, "x");
    s.SetRelayLabel(HostRelayTable::Tag, HostMaxTagRelays, "x");
    EXPECT_EQ(s.Reading(HostTable::Tags, HostMaxTags), 0.0f);
    EXPECT_EQ(s.Name(HostTable::Lines, -5), "");
    EXPECT_EQ(s.PageLabel(-1), "");
    EXPECT_EQ(s.PageParam(0, HostPageParams), 0.0f);
    // A closed state answers too.
    HostState closed;
    EXPECT_EQ(closed.Reading(HostTable::Tags, 0), 0.0f);
    EXPECT_EQ(closed.JobText(HostJobText::JobDir), "");
}

TEST_F(HostStateTest, TextsAreCutToTheirFieldsAndParamSlotsRunOut) {
    s.SetName(HostTable::Tags, 0, std::string(300, 'n'));
    EXPECT_EQ(s.Name(HostTable::Tags, 0).size(), static_cast<std::size_t>(HostTextSize));
    for (int code = 1; code <= HostParamSlots; ++code) EXPECT_TRUE(s.SetParam(HostTable::Lines, 3, code, "v"));
    EXPECT_FALSE(s.SetParam(HostTable::Lines, 3, 99, "no room"));
    EXPECT_TRUE(s.SetParam(HostTable::Lines, 3, 5, "replaced"));  // an existing code reuses its slot
    EXPECT_EQ(s.Param(HostTable::Lines, 3, 5), "replaced");
    EXPECT_EQ(s.Param(HostTable::Lines, 3, 99), "");
    EXPECT_FALSE(s.SetParam(HostTable::Lines, 3, 0, "code 0 marks a free slot"));
}

TEST_F(HostStateTest, LogKeepsTheLastMessagesInOrder) {
    for (int i = 1; i <= HostLogEntries + 3; ++i) s.AppendLog("M" + std::to_string(i), "T" + std::to_string(i));
    EXPECT_EQ(s.LogCount(), static_cast<uint64_t>(HostLogEntries + 3));
    std::string module, title;
    EXPECT_FALSE(s.LogEntry(3, module, title));  // overwritten
    ASSERT_TRUE(s.LogEntry(4, module, title));
    EXPECT_EQ(module, "M4");
    ASSERT_TRUE(s.LogEntry(HostLogEntries + 3, module, title));
    EXPECT_EQ(title, "T" + std::to_string(HostLogEntries + 3));
    EXPECT_FALSE(s.LogEntry(0, module, title));
}

TEST(HostState, BadFilesAreReplacedNotTrusted) {
    HostFixture f;
    const std::string dir = f.ProgramDir().string();
    // Too short, and the right size with garbage.
    for (const std::string& bad : {std::string("garbage"), std::string(sizeof(HostStateData), '\x7f')}) {
        HostFixture::WriteFile(StateFile(f), bad);
        HostState s;
        ASSERT_TRUE(s.Open(dir));
        EXPECT_EQ(s.Reading(HostTable::Tags, 0), 0.0f);
        EXPECT_EQ(s.Name(HostTable::Tags, 0), "");
        s.SetReading(HostTable::Tags, 0, 4.0f);
    }
    EXPECT_EQ(std::filesystem::file_size(StateFile(f)), sizeof(HostStateData));
    {
        HostState s;
        ASSERT_TRUE(s.Open(dir));
        EXPECT_EQ(s.Reading(HostTable::Tags, 0), 4.0f) << "a valid file is kept";
        s.Data()->LayoutVersion = HostStateLayoutVersion + 1;
    }
    HostState s;
    ASSERT_TRUE(s.Open(dir));
    EXPECT_EQ(s.Reading(HostTable::Tags, 0), 0.0f);
    EXPECT_EQ(s.Data()->LayoutVersion, HostStateLayoutVersion);
}

TEST(HostState, UnusableFolderFailsWithoutCrashing) {
    HostState s;
    EXPECT_FALSE(s.Open("/nonexistent-folder/for/sure"));
    EXPECT_FALSE(s.IsOpen());
    s.SetReading(HostTable::Tags, 0, 1.0f);
    s.AppendLog("a", "b");
    EXPECT_EQ(s.LogCount(), 0u);
}

TEST_F(HostStateTest, ValuesWrittenByAnotherProcessAreWholeAndALockHeldByADeadProcessIsRecovered) {
    pid_t child = ::fork();
    if (child == 0) {
        HostState c;
        if (!c.Open(f.ProgramDir().string())) ::_exit(1);
        for (int i = 0; i < 200000; ++i) c.SetTotal(HostTable::Tags, 1, HostTotal::DayTotal, (i % 2) ? -1.0 : 1e300);
        // Dies holding the text lock.
        ::pthread_mutex_lock(&c.Data()->TextLock);
        ::_exit(0);
    }
    for (int i = 0; i < 200000; ++i) {
        double v = s.Total(HostTable::Tags, 1, HostTotal::DayTotal);
        ASSERT_TRUE(v == 0.0 || v == -1.0 || v == 1e300) << v;
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    s.SetName(HostTable::Tags, 1, "after");
    EXPECT_EQ(s.Name(HostTable::Tags, 1), "after");
}

// A killed owner, zombie or reaped, reading as no job is in tests/e2e/host (HostObject, HostProgram).
TEST_F(HostStateTest, AJobIsOwnedByTheLiveProcessThatClaimedIt) {
    const uint64_t self = HostProcessIdentity(::getpid());
    ASSERT_NE(self, 0u);
    for (long pid : {0L, -1L, 1L << 22, 1L << 40}) EXPECT_EQ(HostProcessIdentity(pid), 0u) << pid;
    // Set without an owner (a host that records none): taken as it stands.
    s.SetJobRunning(1);
    EXPECT_EQ(s.JobOwner(), 0u);
    EXPECT_EQ(s.JobRunning(), 1);
    s.ClaimJob();
    EXPECT_EQ(s.JobOwner(), self);
    EXPECT_EQ(s.JobRunning(), 1);
    s.SetJobRunning(0);
    EXPECT_EQ(s.JobRunning(), 0);
}
