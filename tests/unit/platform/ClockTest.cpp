// The PC clock: the simulated clock's arithmetic and sharing between processes, the real
// clock's refusal (through the setter seam: the machine's clock is never set here), and
// local time conversions across daylight-saving changes.
#include "platform/Clock.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

#include "platform/Prefix.h"
#include "platform/SystemClockSetter.h"

namespace {

constexpr double kSecond = 1.0 / 86400.0;

int setterCalls = 0;
int setterResult = 0;
timespec setterTime{};

int FakeSetter(const timespec& unixTime) {
    ++setterCalls;
    setterTime = unixTime;
    return setterResult;
}

// A forked child computes a value and hands it back; nothing of the parent's state is shared.
std::optional<double> InChild(const std::function<double()> body) {
    int fds[2];
    if (::pipe(fds) != 0) return std::nullopt;
    pid_t pid = ::fork();
    if (pid == 0) {
        double value = body();
        (void)!::write(fds[1], &value, sizeof value);
        ::_exit(0);
    }
    ::close(fds[1]);
    double value = 0;
    pollfd p{fds[0], POLLIN, 0};
    bool ok = ::poll(&p, 1, 10000) == 1 && ::read(fds[0], &value, sizeof value) == sizeof value;
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!ok || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
    return value;
}

double SecondsBetween(DateTime earlier, DateTime later) { return (later - earlier) * 86400.0; }

std::string StateFileText() {
    std::ifstream in(PrefixRoot() / "clock.ini");
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class ClockTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/vt-clock-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root = pattern;
        ::setenv("VOLTARIS_PREFIX", root.c_str(), 1);
        const char* tz = std::getenv("TZ");
        savedTz = tz ? std::optional<std::string>(tz) : std::nullopt;
        // Whatever a test does, the machine's clock stays untouched.
        SetSystemClockSetterForTest(&FakeSetter);
        setterCalls = 0;
        setterResult = 0;
    }
    void TearDown() override {
        ClockUseReal();
        SetSystemClockSetterForTest(nullptr);
        std::error_code ec;
        std::filesystem::remove_all(root, ec);
        ::unsetenv("VOLTARIS_PREFIX");
        if (savedTz) ::setenv("TZ", savedTz->c_str(), 1);
        else ::unsetenv("TZ");
        ::tzset();
    }
    static void UseZone(const char* zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    std::filesystem::path root;
    std::optional<std::string> savedTz;
};

TEST_F(ClockTest, WithoutStateTheSystemClockIsUsed) {
    EXPECT_FALSE(ClockIsSimulated());
    EXPECT_EQ(ClockSpeed(), 1.0);
    EXPECT_EQ(ClockTickMilliseconds(), 1000);
    const DateTime system = LocalDateTimeFromUnix(static_cast<double>(std::time(nullptr)));
    EXPECT_LT(std::fabs(SecondsBetween(system, ClockNow())), 2.0);

    // A damaged state file is no simulated clock.
    for (const char* text : {"[Clock]\nAnchor=2026-11-19 10:03:20\nAnchorUnix=1\nSpeed=0\n",
                             "[Clock]\nAnchor=2026-13-19 10:03:20\nAnchorUnix=1\nSpeed=2\n",
                             "[Clock]\nAnchorUnix=1\nSpeed=2\n", "garbage"}) {
        std::ofstream(PrefixRoot() / "clock.ini", std::ios::trunc) << text;
        EXPECT_FALSE(ClockIsSimulated()) << text;
        EXPECT_LT(std::fabs(SecondsBetween(system, ClockNow())), 2.0) << text;
        // ...but setting the clock then touches neither it nor the machine's clock.
        EXPECT_EQ(ClockSet(system).Number, ErrPathFileAccess) << text;
    }
    EXPECT_EQ(setterCalls, 0);
    EXPECT_FALSE(ClockUseReal());
    EXPECT_FALSE(ClockUseReal());  // already real: nothing to undo, no error
}

TEST_F(ClockTest, SimulatedClockRunsAtItsSpeed) {
    const DateTime start = MakeDateTime(2026, 11, 19, 10, 3, 20) + 0.25 * kSecond;
    ASSERT_FALSE(ClockSimulate(start, 60));
    EXPECT_TRUE(ClockIsSimulated());
    EXPECT_EQ(ClockSpeed(), 60.0);
    EXPECT_EQ(ClockTickMilliseconds(), 17);
    // Readable in the prefix, with the milliseconds.
    EXPECT_NE(StateFileText().find("2026-11-19 10:03:20.250"), std::string::npos) << StateFileText();

    const auto realBefore = std::chrono::steady_clock::now();
    const DateTime before = ClockNow();
    EXPECT_NEAR(SecondsBetween(start, before), 0.0, 1.0);
    std::this_thread::sleep_for(std::chrono::milliseconds(1000));
    const DateTime after = ClockNow();
    const double real = std::chrono::duration<double>(std::chrono::steady_clock::now() - realBefore).count();
    EXPECT_NEAR(SecondsBetween(before, after), real * 60.0, 3.0);
    EXPECT_GT(SecondsBetween(before, after), 55.0);

    // Fast clocks still tick, slow ones tick slowly.
    ASSERT_FALSE(ClockSimulate(start, 5000));
    EXPECT_EQ(ClockTickMilliseconds(), 1);
    ASSERT_FALSE(ClockSimulate(start, 0.5));
    EXPECT_EQ(ClockTickMilliseconds(), 2000);
    EXPECT_NEAR(SecondsBetween(start, ClockNow()), 0.0, 0.5);
}

TEST_F(ClockTest, InvalidSpeedIsRefusedAndChangesNothing) {
    const DateTime start = MakeDateTime(2026, 1, 1, 0, 0, 0);
    for (double speed : {0.0, -2.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(ClockSimulate(start, speed).Number, ErrInvalidCall) << speed;
        EXPECT_FALSE(ClockIsSimulated());
    }
    // Moments the date type cannot hold are refused too, by both clocks.
    for (double date : {-657435.0, 2958466.0, 1e300, -1e300, std::nan("")}) {
        EXPECT_EQ(ClockSimulate(date, 1).Number, ErrInvalidCall) << date;
        EXPECT_EQ(ClockSet(date).Number, ErrInvalidCall) << date;
        EXPECT_EQ(UnixFromLocalDateTime(date), 0.0) << date;
    }
    EXPECT_EQ(setterCalls, 0);
    EXPECT_FALSE(ClockIsSimulated());
    ASSERT_FALSE(ClockSimulate(start, 10));
    EXPECT_EQ(ClockSimulate(MakeDateTime(2030, 1, 1, 0, 0, 0), -1).Number, ErrInvalidCall);
    EXPECT_EQ(ClockSet(1e300).Number, ErrInvalidCall);
    EXPECT_EQ(ClockSpeed(), 10.0);
    EXPECT_NEAR(SecondsBetween(start, ClockNow()), 0.0, 5.0);

    // A hand-edited speed that runs off the calendar stops at its last moment.
    std::ofstream(PrefixRoot() / "clock.ini", std::ios::trunc)
        << "[Clock]\nAnchor=2026-11-19 10:03:20\nAnchorUnix=1\nSpeed=1e300\n";
    ASSERT_TRUE(ClockIsSimulated());
    EXPECT_EQ(ToCivil(ClockNow()).Year, 9999);
    EXPECT_TRUE(InDateRange(ClockNow()));
}

TEST_F(ClockTest, SettingTheSimulatedClockKeepsItsSpeed) {
    ASSERT_FALSE(ClockSimulate(MakeDateTime(2026, 11, 19, 10, 3, 20), 60));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));

    // An hour pulse at 10:03:20 moves the clock back to 10:00:00.
    const DateTime target = MakeDateTime(2026, 11, 19, 10, 0, 0);
    ASSERT_FALSE(ClockSet(target));
    const auto realBefore = std::chrono::steady_clock::now();
    const DateTime before = ClockNow();
    EXPECT_NEAR(SecondsBetween(target, before), 0.0, 1.0);
    EXPECT_EQ(ClockSpeed(), 60.0);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const double real = std::chrono::duration<double>(std::chrono::steady_clock::now() - realBefore).count();
    EXPECT_NEAR(SecondsBetween(before, ClockNow()), real * 60.0, 3.0);

    // Across midnight at the year's end.
    const DateTime newYear = MakeDateTime(2027, 1, 1, 0, 0, 0);
    ASSERT_FALSE(ClockSet(newYear));
    const CivilTime now = ToCivil(ClockNow());
    EXPECT_EQ(now.Year, 2027);
    EXPECT_EQ(now.Month, 1);
    EXPECT_EQ(now.Day, 1);
    EXPECT_EQ(setterCalls, 0) << "the simulated clock never touches the system clock";
}

TEST_F(ClockTest, ProcessesOfOnePrefixShareTheSimulatedClock) {
    ClockNow();  // this process has looked at the real clock
    const DateTime start = MakeDateTime(2026, 6, 30, 23, 59, 0);
    ASSERT_EQ(InChild([&] { return static_cast<double>(ClockSimulate(start, 10).Number); }), 0.0);
    EXPECT_TRUE(ClockIsSimulated());
    EXPECT_EQ(ClockSpeed(), 10.0);
    EXPECT_NEAR(SecondsBetween(start, ClockNow()), 0.0, 2.0);

    // Set here, read there: both see the same time.
    ASSERT_FALSE(ClockSet(MakeDateTime(2026, 7, 1, 6, 0, 0)));
    std::optional<double> childNow = InChild([] { return ClockNow(); });
    ASSERT_TRUE(childNow);
    EXPECT_NEAR(SecondsBetween(*childNow, ClockNow()), 0.0, 1.0);

    // Moved again by another process, with a state of the same size: noticed within a moment.
    const DateTime moved = MakeDateTime(2026, 7, 1, 7, 0, 0);
    ClockNow();
    ASSERT_EQ(InChild([&] { return static_cast<double>(ClockSet(moved).Number); }), 0.0);
    ::usleep(30000);
    EXPECT_NEAR(SecondsBetween(moved, ClockNow()), 0.0, 1.0);

    ASSERT_EQ(InChild([] { return static_cast<double>(ClockUseReal().Number); }), 0.0);
    EXPECT_FALSE(ClockIsSimulated());
    EXPECT_EQ(ClockTickMilliseconds(), 1000);
    EXPECT_EQ(setterCalls, 0);
}

TEST_F(ClockTest, RealClockRefusalIsReportedAsPermissionDenied) {
    UseZone("CET-1CEST,M3.5.0,M10.5.0/3");
    const DateTime target = MakeDateTime(2026, 11, 19, 10, 0, 0) + 0.5 * kSecond;

    setterResult = EPERM;
    VbError refused = ClockSet(target);
    EXPECT_EQ(refused.Number, ErrPermissionDenied);
    EXPECT_EQ(refused.Description, "Permission denied");
    EXPECT_EQ(setterCalls, 1);

    setterResult = EINVAL;
    EXPECT_EQ(ClockSet(target).Number, ErrInvalidCall);

    // Accepted: the system clock gets the local time as Unix time (10:00 CET is 09:00 UTC).
    setterResult = 0;
    EXPECT_FALSE(ClockSet(target));
    tm utc{};
    utc.tm_year = 2026 - 1900;
    utc.tm_mon = 10;
    utc.tm_mday = 19;
    utc.tm_hour = 9;
    EXPECT_EQ(setterTime.tv_sec, ::timegm(&utc));
    EXPECT_EQ(setterTime.tv_nsec, 500000000L);
    EXPECT_EQ(ClockSet(std::nan("")).Number, ErrInvalidCall);
    EXPECT_EQ(setterCalls, 3);
}

// Instant of a UTC civil time, worked out apart from the code under test.
double Utc(int year, int month, int day, int hour, int minute, int second) {
    tm utc{};
    utc.tm_year = year - 1900;
    utc.tm_mon = month - 1;
    utc.tm_mday = day;
    utc.tm_hour = hour;
    utc.tm_min = minute;
    utc.tm_sec = second;
    return static_cast<double>(::timegm(&utc));
}

TEST_F(ClockTest, ConversionsFollowTheZoneAcrossDaylightSavingChanges) {
    UseZone("CET-1CEST,M3.5.0,M10.5.0/3");  // summer time from the last Sunday of March to that of October

    EXPECT_NEAR(LocalDateTimeFromUnix(Utc(2026, 1, 15, 11, 0, 0)), MakeDateTime(2026, 1, 15, 12, 0, 0), 1e-9);
    EXPECT_NEAR(LocalDateTimeFromUnix(Utc(2026, 7, 15, 11, 0, 0)), MakeDateTime(2026, 7, 15, 13, 0, 0), 1e-9);
    // Milliseconds survive both ways.
    const double withMs = Utc(2026, 7, 15, 11, 0, 0) + 0.25;
    EXPECT_NEAR(LocalDateTimeFromUnix(withMs), MakeDateTime(2026, 7, 15, 13, 0, 0) + 0.25 * kSecond, 1e-9);
    EXPECT_NEAR(UnixFromLocalDateTime(LocalDateTimeFromUnix(withMs)), withMs, 1e-6);

    // Spring: 02:00 local does not exist; 01:59:59 is followed by 03:00:00.
    const double spring = Utc(2026, 3, 29, 1, 0, 0);
    EXPECT_NEAR(LocalDateTimeFromUnix(spring - 1), MakeDateTime(2026, 3, 29, 1, 59, 59), 1e-9);
    EXPECT_NEAR(LocalDateTimeFromUnix(spring), MakeDateTime(2026, 3, 29, 3, 0, 0), 1e-9);
    const double gap = UnixFromLocalDateTime(MakeDateTime(2026, 3, 29, 2, 30, 0));
    EXPECT_GE(gap, spring - 3600);
    EXPECT_LE(gap, spring + 3600);
    for (double t = spring - 86400; t <= spring + 86400; t += 420)
        ASSERT_NEAR(UnixFromLocalDateTime(LocalDateTimeFromUnix(t)), t, 1e-6) << t - spring;

    // Autumn: 02:00 to 03:00 local comes twice; one of the two instants is given back.
    const double autumn = Utc(2026, 10, 25, 1, 0, 0);
    EXPECT_NEAR(LocalDateTimeFromUnix(autumn - 1), MakeDateTime(2026, 10, 25, 2, 59, 59), 1e-9);
    EXPECT_NEAR(LocalDateTimeFromUnix(autumn), MakeDateTime(2026, 10, 25, 2, 0, 0), 1e-9);
    for (double t = autumn - 86400; t <= autumn + 86400; t += 420) {
        const double back = UnixFromLocalDateTime(LocalDateTimeFromUnix(t));
        if (t >= autumn - 3600 && t < autumn + 3600) {
            EXPECT_TRUE(std::fabs(back - t) < 1e-6 || std::fabs(std::fabs(back - t) - 3600) < 1e-6) << t - autumn;
        } else {
            ASSERT_NEAR(back, t, 1e-6) << t - autumn;
        }
    }

    // Local to Unix and back over both change days, minute by minute (the missing hour excepted).
    for (int day : {0, 1}) {
        const int month = day == 0 ? 3 : 10;
        const int date = day == 0 ? 29 : 25;
        for (int minute = 0; minute < 24 * 60; minute += 7) {
            const DateTime local = MakeDateTime(2026, month, date, minute / 60, minute % 60, 0);
            if (month == 3 && minute / 60 == 2) continue;
            ASSERT_NEAR(LocalDateTimeFromUnix(UnixFromLocalDateTime(local)), local, 1e-9) << month << " " << minute;
        }
    }

    // Another zone, another answer for the same instant.
    UseZone("UTC0");
    EXPECT_NEAR(LocalDateTimeFromUnix(spring), MakeDateTime(2026, 3, 29, 1, 0, 0), 1e-9);
    EXPECT_NEAR(UnixFromLocalDateTime(MakeDateTime(1970, 1, 1, 0, 0, 0)), 0.0, 1e-9);
}

}  // namespace
