// The PC clock: the simulated clock's arithmetic and sharing between processes, the real clock's
// refusal (through the setter seam: the machine's clock is never set here), and local time
// conversions across daylight-saving changes.
#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include "Fork.h"
#include "common/TempPrefix.h"
#include "platform/Prefix.h"
#include "platform/SystemClockSetter.h"

namespace {

constexpr double kSecond = 1.0 / 86400.0;
constexpr const char* kCet = "CET-1CEST,M3.5.0,M10.5.0/3";  // summer time from March's last Sunday to October's

int setterCalls = 0;
int setterResult = 0;
timespec setterTime{};

int FakeSetter(const timespec& unixTime) {
    ++setterCalls;
    setterTime = unixTime;
    return setterResult;
}

// A value computed in a forked child, which shares nothing of this process's state.
std::optional<double> ValueInChild(const std::function<double()>& body) {
    int fds[2];
    if (::pipe(fds) != 0) return std::nullopt;
    pid_t pid = Spawn([&] {
        double v = body();
        return ::write(fds[1], &v, sizeof v) == sizeof v ? 0 : 1;
    });
    ::close(fds[1]);
    double value = 0;
    bool ok = ::read(fds[0], &value, sizeof value) == sizeof value;
    ::close(fds[0]);
    if (Reap(pid) != 0 || !ok) return std::nullopt;
    return value;
}

double SecondsBetween(DateTime earlier, DateTime later) { return (later - earlier) * 86400.0; }

// Instant of a UTC civil time, worked out apart from the code under test.
double Utc(int y, int m, int d, int h) {
    using namespace std::chrono;
    return static_cast<double>(duration_cast<seconds>((sys_days{year{y} / m / d} + hours{h}).time_since_epoch()).count());
}

void UseZone(const char* zone) {
    ::setenv("TZ", zone, 1);
    ::tzset();
}

// Simulated seconds over a real sleep; real gets the real seconds it took.
double SimulatedSecondsOver(int sleepMs, double& real) {
    const auto realBefore = std::chrono::steady_clock::now();
    const DateTime before = ClockNow();
    std::this_thread::sleep_for(std::chrono::milliseconds(sleepMs));
    const DateTime after = ClockNow();
    real = std::chrono::duration<double>(std::chrono::steady_clock::now() - realBefore).count();
    return SecondsBetween(before, after);
}

class ClockTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* tz = std::getenv("TZ");
        savedTz = tz ? std::optional<std::string>(tz) : std::nullopt;
        SetSystemClockSetterForTest(&FakeSetter);  // the machine's clock stays untouched
        setterCalls = 0;
        setterResult = 0;
    }
    void TearDown() override {
        ClockUseReal();
        SetSystemClockSetterForTest(nullptr);
        if (savedTz) ::setenv("TZ", savedTz->c_str(), 1);
        else ::unsetenv("TZ");
        ::tzset();
    }
    TempPrefix prefix;
    std::optional<std::string> savedTz;
};

TEST_F(ClockTest, WithoutStateTheSystemClockIsUsed) {
    EXPECT_FALSE(ClockIsSimulated());
    EXPECT_EQ(ClockSpeed(), 1.0);
    EXPECT_EQ(ClockTickMilliseconds(), 1000);
    const DateTime system = LocalDateTimeFromUnix(static_cast<double>(std::time(nullptr)));
    EXPECT_LT(std::fabs(SecondsBetween(system, ClockNow())), 2.0);

    // A damaged state file is no simulated clock, and setting the clock then touches neither.
    for (const char* text : {"[Clock]\nAnchor=2026-11-19 10:03:20\nAnchorUnix=1\nSpeed=0\n",
                             "[Clock]\nAnchor=2026-13-19 10:03:20\nAnchorUnix=1\nSpeed=2\n",
                             "[Clock]\nAnchorUnix=1\nSpeed=2\n", "garbage"}) {
        TempPrefix::Write(PrefixRoot() / "clock.ini", text);
        EXPECT_FALSE(ClockIsSimulated()) << text;
        EXPECT_LT(std::fabs(SecondsBetween(system, ClockNow())), 2.0) << text;
        EXPECT_EQ(ClockSet(system).Number, ErrPathFileAccess) << text;
    }
    EXPECT_EQ(setterCalls, 0);
    EXPECT_FALSE(ClockUseReal());
    EXPECT_FALSE(ClockUseReal());  // already real: nothing to undo, no error
}

TEST_F(ClockTest, SimulatedClockRunsAtItsSpeedAndSettingItKeepsTheSpeed) {
    const DateTime start = MakeDateTime(2026, 11, 19, 10, 3, 20) + 0.25 * kSecond;
    ASSERT_FALSE(ClockSimulate(start, 60));
    EXPECT_TRUE(ClockIsSimulated());
    EXPECT_EQ(ClockTickMilliseconds(), 17);
    const std::string state = TempPrefix::Read(PrefixRoot() / "clock.ini");
    EXPECT_NE(state.find("2026-11-19 10:03:20.250"), std::string::npos) << state;
    EXPECT_NEAR(SecondsBetween(start, ClockNow()), 0.0, 1.0);

    // An hour pulse at 10:03:20 moves the clock back to 10:00:00; it runs on at its speed.
    const DateTime target = MakeDateTime(2026, 11, 19, 10, 0, 0);
    ASSERT_FALSE(ClockSet(target));
    EXPECT_NEAR(SecondsBetween(target, ClockNow()), 0.0, 1.0);
    EXPECT_EQ(ClockSpeed(), 60.0);
    double real = 0;
    const double simulated = SimulatedSecondsOver(1000, real);
    EXPECT_NEAR(simulated, real * 60, 3.0);
    EXPECT_GT(simulated, 60 - 5);
    // Across midnight at the year's end.
    ASSERT_FALSE(ClockSet(MakeDateTime(2027, 1, 1, 0, 0, 0)));
    const CivilTime now = ToCivil(ClockNow());
    EXPECT_EQ(std::make_tuple(now.Year, now.Month, now.Day), std::make_tuple(2027, 1, 1));
    EXPECT_EQ(setterCalls, 0) << "the simulated clock never touches the system clock";

    // Fast clocks still tick, slow ones tick slowly.
    ASSERT_FALSE(ClockSimulate(start, 5000));
    EXPECT_EQ(ClockTickMilliseconds(), 1);
    ASSERT_FALSE(ClockSimulate(start, 0.5));
    EXPECT_EQ(ClockTickMilliseconds(), 2000);
}

// "Now" keeps what it read of the prefix for a moment; pointing the process at another prefix
// must not leave it on the old prefix's clock for that moment.
TEST_F(ClockTest, AnotherPrefixIsSeenAtOnce) {
    const std::filesystem::path home = PrefixRoot();
    const DateTime future = MakeDateTime(2030, 1, 2, 3, 4, 5);
    ASSERT_FALSE(ClockSimulate(future, 1));
    EXPECT_NEAR(SecondsBetween(future, ClockNow()), 0.0, 1.0);

    UsePrefix(home.parent_path() / "other-prefix");
    const DateTime system = LocalDateTimeFromUnix(static_cast<double>(std::time(nullptr)));
    EXPECT_LT(std::fabs(SecondsBetween(system, ClockNow())), 2.0);
    UsePrefix(home);
    EXPECT_NEAR(SecondsBetween(future, ClockNow()), 0.0, 1.0);
}

TEST_F(ClockTest, InvalidSpeedOrMomentIsRefusedAndChangesNothing) {
    const DateTime start = MakeDateTime(2026, 1, 1, 0, 0, 0);
    for (double speed : {0.0, -2.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(ClockSimulate(start, speed).Number, ErrInvalidCall) << speed;
        EXPECT_FALSE(ClockIsSimulated());
    }
    // Moments the date type cannot hold are refused by both clocks.
    for (double date : {-657435.0, 2958466.0, 1e300, -1e300, std::nan("")}) {
        EXPECT_EQ(ClockSimulate(date, 1).Number, ErrInvalidCall) << date;
        EXPECT_EQ(ClockSet(date).Number, ErrInvalidCall) << date;
        EXPECT_EQ(UnixFromLocalDateTime(date), 0.0) << date;
    }
    EXPECT_EQ(setterCalls, 0);
    // Refused while simulated: the clock runs on as it was.
    ASSERT_FALSE(ClockSimulate(start, 10));
    EXPECT_EQ(ClockSimulate(MakeDateTime(2030, 1, 1, 0, 0, 0), -1).Number, ErrInvalidCall);
    EXPECT_EQ(ClockSpeed(), 10.0);
    EXPECT_NEAR(SecondsBetween(start, ClockNow()), 0.0, 5.0);

    // A hand-edited speed that runs off the calendar stops at its last moment.
    TempPrefix::Write(PrefixRoot() / "clock.ini", "[Clock]\nAnchor=2026-11-19 10:03:20\nAnchorUnix=1\nSpeed=1e300\n");
    ASSERT_TRUE(ClockIsSimulated());
    EXPECT_EQ(ToCivil(ClockNow()).Year, 9999);
    EXPECT_TRUE(InDateRange(ClockNow()));
}

// Other processes setting the clock and going back to the real one are in tests/e2e/host; here a
// move by another process that leaves the state the same size, which a cached read could miss.
TEST_F(ClockTest, AMoveByAnotherProcessIsSeenWithinAMoment) {
    ASSERT_FALSE(ClockSimulate(MakeDateTime(2026, 7, 1, 6, 0, 0), 10));
    std::optional<double> childNow = ValueInChild([] { return ClockNow(); });
    ASSERT_TRUE(childNow);
    EXPECT_NEAR(SecondsBetween(*childNow, ClockNow()), 0.0, 1.0);
    const DateTime moved = MakeDateTime(2026, 7, 1, 7, 0, 0);
    ASSERT_EQ(InChild([&] { return ClockSet(moved).Number; }), 0);
    ::usleep(30000);
    EXPECT_NEAR(SecondsBetween(moved, ClockNow()), 0.0, 1.0);
}

TEST_F(ClockTest, RealClockRefusalIsReportedAsPermissionDenied) {
    UseZone(kCet);
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
    EXPECT_EQ(setterTime.tv_sec, static_cast<time_t>(Utc(2026, 11, 19, 9)));
    EXPECT_EQ(setterTime.tv_nsec, 500000000L);
    EXPECT_EQ(ClockSet(std::nan("")).Number, ErrInvalidCall);
    EXPECT_EQ(setterCalls, 3);
}

TEST_F(ClockTest, ConversionsFollowTheZoneAcrossDaylightSavingChanges) {
    UseZone(kCet);
    EXPECT_NEAR(LocalDateTimeFromUnix(Utc(2026, 1, 15, 11)), MakeDateTime(2026, 1, 15, 12, 0, 0), 1e-9);
    EXPECT_NEAR(LocalDateTimeFromUnix(Utc(2026, 7, 15, 11)), MakeDateTime(2026, 7, 15, 13, 0, 0), 1e-9);
    // Milliseconds survive both ways.
    const double withMs = Utc(2026, 7, 15, 11) + 0.25;
    EXPECT_NEAR(LocalDateTimeFromUnix(withMs), MakeDateTime(2026, 7, 15, 13, 0, 0) + 0.25 * kSecond, 1e-9);
    EXPECT_NEAR(UnixFromLocalDateTime(LocalDateTimeFromUnix(withMs)), withMs, 1e-6);

    // Spring: 02:00 local does not exist; 01:59:59 is followed by 03:00:00.
    const double spring = Utc(2026, 3, 29, 1);
    EXPECT_NEAR(LocalDateTimeFromUnix(spring - 1), MakeDateTime(2026, 3, 29, 1, 59, 59), 1e-9);
    EXPECT_NEAR(LocalDateTimeFromUnix(spring), MakeDateTime(2026, 3, 29, 3, 0, 0), 1e-9);
    const double gap = UnixFromLocalDateTime(MakeDateTime(2026, 3, 29, 2, 30, 0));
    EXPECT_GE(gap, spring - 3600);
    EXPECT_LE(gap, spring + 3600);
    // Autumn: 02:00 to 03:00 local comes twice.
    const double autumn = Utc(2026, 10, 25, 1);
    EXPECT_NEAR(LocalDateTimeFromUnix(autumn - 1), MakeDateTime(2026, 10, 25, 2, 59, 59), 1e-9);
    EXPECT_NEAR(LocalDateTimeFromUnix(autumn), MakeDateTime(2026, 10, 25, 2, 0, 0), 1e-9);

    // Unix to local and back over a day each side of both changes (so every local time of those
    // days); in autumn's repeated hour either of the two instants may come back.
    for (double change : {spring, autumn}) {
        for (double t = change - 86400; t <= change + 86400; t += 420) {
            const double off = std::fabs(UnixFromLocalDateTime(LocalDateTimeFromUnix(t)) - t);
            const bool twice = change == autumn && t >= autumn - 3600 && t < autumn + 3600;
            ASSERT_TRUE(off < 1e-6 || (twice && std::fabs(off - 3600) < 1e-6)) << t - change;
        }
    }
    // Another zone, another answer for the same instant.
    UseZone("UTC0");
    EXPECT_NEAR(LocalDateTimeFromUnix(spring), MakeDateTime(2026, 3, 29, 1, 0, 0), 1e-9);
    EXPECT_NEAR(UnixFromLocalDateTime(MakeDateTime(1970, 1, 1, 0, 0, 0)), 0.0, 1e-9);
}

}  // namespace

// Like a PC clock, the simulated one runs in universal time and shows local time: in a zone with
// summer time it goes back an hour in autumn and on an hour in spring while running steadily.
TEST_F(ClockTest, SimulatedClockShowsSummerTimeChangesOfTheZone) {
    UseZone("Europe/London");
    constexpr double speed = 7200;  // two hours a second
    struct Change {
        DateTime start;     // a minute before the change, a time the zone has once only
        double jumpSeconds; // what local time does at the change
    };
    for (const Change& change : {Change{MakeDateTime(2026, 10, 25, 0, 59, 0), -3600},
                                 Change{MakeDateTime(2026, 3, 29, 0, 59, 0), 3600}}) {
        ASSERT_FALSE(ClockSimulate(change.start, speed));
        double real = 0;
        // 84 minutes, past the change; a margin for a busy machine (a millisecond is 7 s here).
        const double simulated = SimulatedSecondsOver(700, real);
        EXPECT_NEAR(simulated, real * speed + change.jumpSeconds, 600.0) << change.jumpSeconds;
        // Read by a process of the same zone, the same local time.
        const std::optional<double> child = ValueInChild([] { return ClockNow(); });
        ASSERT_TRUE(child);
        EXPECT_NEAR(SecondsBetween(ClockNow(), *child), 0.0, 600.0);
    }
}
