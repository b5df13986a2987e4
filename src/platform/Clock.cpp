#include "platform/Clock.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Prefix.h"
#include "platform/SystemClockSetter.h"

namespace {

// The simulated clock: it showed Anchor when the real clock stood at AnchorUnix, and runs
// Speed times faster than real time from there. Like a PC clock it runs in universal time and
// shows local time through the time zone, so summer time begins and ends on it as on a real one.
struct SimulatedClock {
    DateTime Anchor = 0;
    double AnchorUnix = 0;
    double Speed = 1;
    double AnchorInstant = 0;  // Anchor as Unix time in the zone of this process
};

constexpr int64_t kMsPerDay = 86400000;

int SystemSetClock(const timespec& unixTime) {
    return ::clock_settime(CLOCK_REALTIME, &unixTime) == 0 ? 0 : errno;
}

std::atomic<SystemClockSetter> clockSetter{&SystemSetClock};

// Date-times before 30 Dec 1899 keep their time of day as a positive fraction (-1.25 is
// 29 Dec 06:00), so arithmetic goes through a plain linear day count.
double LinearDays(DateTime value) {
    if (value >= 0) return value;
    const double whole = std::trunc(value);
    return whole + (whole - value);
}

DateTime FromLinearDays(double days) {
    if (days >= 0) return days;
    const double whole = std::floor(days);
    const double fraction = days - whole;
    return fraction == 0 ? whole : whole - fraction;
}

// Whole days and milliseconds of the day, rounded to the millisecond.
void SplitMilliseconds(DateTime value, int64_t& days, int64_t& msOfDay) {
    const double linear = LinearDays(value);
    const double whole = std::floor(linear);
    days = static_cast<int64_t>(whole);
    msOfDay = std::llround((linear - whole) * static_cast<double>(kMsPerDay));
    if (msOfDay >= kMsPerDay) {
        msOfDay -= kMsPerDay;
        ++days;
    }
}

DateTime AddMilliseconds(DateTime value, double ms) {
    return FromLinearDays(LinearDays(value) + ms / static_cast<double>(kMsPerDay));
}

DateTime FromCivil(int year, int month, int day, int64_t msOfDay) {
    const int64_t seconds = msOfDay / 1000;
    const DateTime whole = MakeDateTime(year, month, day, static_cast<int>(seconds / 3600),
                                        static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
    return AddMilliseconds(whole, static_cast<double>(msOfDay % 1000));
}

double RealUnixNow() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

std::string DoubleText(double value) {
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::optional<double> ParseDouble(std::string_view text) {
    double value = 0;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
        text.remove_suffix(1);
    return text;
}

bool SameKey(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

// "2026-11-19 10:03:20.250": readable by whoever looks into the prefix, exact to the millisecond.
std::string AnchorText(DateTime value) {
    int64_t days = 0, ms = 0;
    SplitMilliseconds(value, days, ms);
    const CivilTime date = ToCivil(static_cast<double>(days));
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d.%03d", date.Year, date.Month, date.Day,
                  static_cast<int>(ms / 3600000), static_cast<int>(ms / 60000 % 60),
                  static_cast<int>(ms / 1000 % 60), static_cast<int>(ms % 1000));
    return buffer;
}

std::optional<DateTime> ParseAnchor(std::string_view text) {
    std::string copy(text);
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, ms = 0, used = 0;
    int fields = std::sscanf(copy.c_str(), "%d-%d-%d %d:%d:%d%n", &year, &month, &day, &hour, &minute, &second,
                             &used);
    if (fields != 6) return std::nullopt;
    std::string_view rest = std::string_view(copy).substr(static_cast<size_t>(used));
    if (!rest.empty()) {
        if (rest.size() != 4 || rest[0] != '.') return std::nullopt;
        auto result = std::from_chars(rest.data() + 1, rest.data() + rest.size(), ms);
        if (result.ec != std::errc() || result.ptr != rest.data() + rest.size() || ms < 0) return std::nullopt;
    }
    if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) ||
        hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59)
        return std::nullopt;
    return FromCivil(year, month, day, ((hour * 60 + minute) * 60 + second) * int64_t{1000} + ms);
}

std::optional<SimulatedClock> ParseState(std::string_view text) {
    std::optional<DateTime> anchor;
    std::optional<double> anchorUnix, speed;
    while (!text.empty()) {
        size_t end = text.find('\n');
        std::string_view line = Trim(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        size_t equals = line.find('=');
        if (line.empty() || line[0] == ';' || line[0] == '[' || equals == std::string_view::npos) continue;
        std::string_view key = Trim(line.substr(0, equals));
        std::string_view value = Trim(line.substr(equals + 1));
        if (SameKey(key, "Anchor")) anchor = ParseAnchor(value);
        else if (SameKey(key, "AnchorUnix")) anchorUnix = ParseDouble(value);
        else if (SameKey(key, "Speed")) speed = ParseDouble(value);
    }
    if (!anchor || !anchorUnix || !speed || !(*speed > 0)) return std::nullopt;
    return SimulatedClock{*anchor, *anchorUnix, *speed, UnixFromLocalDateTime(*anchor)};
}

std::string StateText(const SimulatedClock& state) {
    return "; Simulated PC clock of this prefix. Delete this file to return to the system clock.\n"
           "[Clock]\n"
           "Anchor=" + AnchorText(state.Anchor) + "\n"
           "AnchorUnix=" + DoubleText(state.AnchorUnix) + "\n"
           "Speed=" + DoubleText(state.Speed) + "\n";
}

std::filesystem::path StatePath() { return PrefixRoot() / "clock.ini"; }

VbError WriteAtomically(const std::filesystem::path& path, const std::string& content) {
    static std::atomic<unsigned> counter{0};
    const std::string temp = path.string() + ".tmp-" + std::to_string(::getpid()) + "-" +
                             std::to_string(counter.fetch_add(1));
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return VbErrorFromErrno(errno);
    size_t done = 0;
    while (done < content.size()) {
        ssize_t n = ::write(fd, content.data() + done, content.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            int err = n < 0 ? errno : EIO;
            ::close(fd);
            ::unlink(temp.c_str());
            return VbErrorFromErrno(err);
        }
        done += static_cast<size_t>(n);
    }
    if (::close(fd) != 0 || ::rename(temp.c_str(), path.c_str()) != 0) {
        int err = errno;
        ::unlink(temp.c_str());
        return VbErrorFromErrno(err);
    }
    return {};
}

// The state file as last read, so the several calls a second cost one stat each.
struct StateCache {
    std::mutex lock;
    bool valid = false;    // the fields below describe the file as read
    bool present = false;  // a state file exists, readable or not
    std::string path;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};
    std::optional<SimulatedClock> state;  // nothing: the system clock (also when the file is damaged)
    double checkedAt = -1;                 // monotonic seconds of the last look at the file
    unsigned checkedGeneration = 0;        // PrefixGeneration() at that look
};

// How long "now" may rely on the state file as last seen, and on the prefix it lies in. The scan
// asks for the time once per tag; another program's change of the clock is still seen within this.
constexpr double kRecheckSeconds = 0.02;

// The coarse clock: the state file is looked at again after tens of milliseconds, far above its tick.
double MonotonicSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

StateCache& Cache() {
    static auto* cache = new StateCache;  // never destroyed: the clock may be read during exit
    return *cache;
}

bool SameTime(const timespec& a, const timespec& b) { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; }

// The prefix's simulated clock, or nothing for the real clock. Caller holds the cache lock.
std::optional<SimulatedClock> CurrentState(StateCache& cache) {
    cache.checkedAt = MonotonicSeconds();
    cache.checkedGeneration = PrefixGeneration();
    const std::string path = StatePath().string();
    struct stat info {};
    cache.present = ::stat(path.c_str(), &info) == 0;
    if (!cache.present) {
        cache.valid = false;
        cache.state.reset();
        return std::nullopt;
    }
    if (cache.valid && cache.path == path && cache.device == info.st_dev && cache.inode == info.st_ino &&
        cache.size == info.st_size && SameTime(cache.modified, info.st_mtim) && SameTime(cache.changed, info.st_ctim))
        return cache.state;

    std::string text;
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        char buffer[4096];
        for (;;) {
            ssize_t n = ::read(fd, buffer, sizeof buffer);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0 || text.size() > 65536) break;
            text.append(buffer, static_cast<size_t>(n));
        }
        // Describe the file that was read, not the one stat saw, in case it was replaced in between.
        ::fstat(fd, &info);
        ::close(fd);
    }
    // An unreadable or damaged state file means the system clock.
    cache.state = fd >= 0 ? ParseState(text) : std::nullopt;
    cache.valid = fd >= 0;
    cache.path = path;
    cache.device = info.st_dev;
    cache.inode = info.st_ino;
    cache.size = info.st_size;
    cache.modified = info.st_mtim;
    cache.changed = info.st_ctim;
    return cache.state;
}

// The first and last moments the date type can hold.
constexpr DateTime kEarliest = -657434.0;
constexpr DateTime kLatest = 2958465.0 + 86399.0 / 86400.0;

// Unix times the zone conversion takes: the years 100 to 9999 and a little more.
constexpr double kEarliestUnix = -59011459200.0 - 86400.0 * 2;
constexpr double kLatestUnix = 253402300800.0 + 86400.0 * 2;

DateTime SimulatedNow(const SimulatedClock& state) {
    const double instant = state.AnchorInstant + (RealUnixNow() - state.AnchorUnix) * state.Speed;
    // A state file with an absurd speed runs off the calendar: it stops at its ends instead.
    if (std::isnan(instant)) return state.Anchor;
    if (instant <= kEarliestUnix) return kEarliest;
    if (instant >= kLatestUnix) return kLatest;
    const DateTime now = LocalDateTimeFromUnix(instant);
    return now < kEarliest ? kEarliest : now > kLatest ? kLatest : now;
}

VbError ErrorFromSetter(int err) {
    if (err == 0) return {};
    if (err == EPERM || err == EACCES) return VbError(ErrPermissionDenied);
    if (err == EINVAL) return VbError(ErrInvalidCall);
    return VbErrorFromErrno(err);
}

}  // namespace

SystemClockSetter SetSystemClockSetterForTest(SystemClockSetter setter) {
    return clockSetter.exchange(setter ? setter : &SystemSetClock);
}

DateTime LocalDateTimeFromUnix(double unixSeconds) {
    if (!std::isfinite(unixSeconds) || std::fabs(unixSeconds) > 1e15) return 0;
    const double whole = std::floor(unixSeconds);
    const time_t seconds = static_cast<time_t>(whole);
    tm local{};
    if (!::localtime_r(&seconds, &local)) return 0;
    // The part of the second is kept whole, not rounded to milliseconds: scans of a fast site
    // follow each other within a millisecond and must still see time pass.
    return FromCivil(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                     ((local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec) * int64_t{1000}) +
           (unixSeconds - whole) / 86400.0;
}

double UnixFromLocalDateTime(DateTime value) {
    if (!InDateRange(value)) return 0;
    int64_t days = 0, ms = 0;
    SplitMilliseconds(value, days, ms);
    const CivilTime date = ToCivil(static_cast<double>(days));
    tm local{};
    local.tm_year = date.Year - 1900;
    local.tm_mon = date.Month - 1;
    local.tm_mday = date.Day;
    local.tm_hour = static_cast<int>(ms / 3600000);
    local.tm_min = static_cast<int>(ms / 60000 % 60);
    local.tm_sec = static_cast<int>(ms / 1000 % 60);
    local.tm_isdst = -1;  // let the zone decide, so summer and winter times both come out right
    const time_t seconds = ::mktime(&local);
    return static_cast<double>(seconds) + static_cast<double>(ms % 1000) / 1000.0;
}

ClockReading ClockRead() {
    StateCache& cache = Cache();
    std::optional<SimulatedClock> state;
    {
        std::lock_guard<std::mutex> guard(cache.lock);
        const bool fresh = cache.checkedAt >= 0 && MonotonicSeconds() - cache.checkedAt < kRecheckSeconds &&
                           cache.checkedGeneration == PrefixGeneration();
        state = fresh ? cache.state : CurrentState(cache);
    }
    if (state) return {SimulatedNow(*state), state->Speed};
    return {LocalDateTimeFromUnix(RealUnixNow()), 1.0};
}

DateTime ClockNow() { return ClockRead().Now; }

VbError ClockSet(DateTime localDateTime) {
    if (!InDateRange(localDateTime)) return VbError(ErrInvalidCall);
    StateCache& cache = Cache();
    std::lock_guard<std::mutex> guard(cache.lock);
    if (std::optional<SimulatedClock> state = CurrentState(cache)) {
        // A new anchor at the real now; the speed stays.
        cache.checkedAt = -1;
        return WriteAtomically(StatePath(), StateText({localDateTime, RealUnixNow(), state->Speed}));
    }
    // A state file that cannot be read shows someone meant to simulate: never fall through to
    // setting the machine's clock because of it.
    if (cache.present) return VbError(ErrPathFileAccess);
    const double unixTime = UnixFromLocalDateTime(localDateTime);
    timespec target{};
    target.tv_sec = static_cast<time_t>(std::floor(unixTime));
    target.tv_nsec = static_cast<long>(std::llround((unixTime - std::floor(unixTime)) * 1000.0)) * 1000000L;
    if (target.tv_nsec >= 1000000000L) {
        target.tv_nsec -= 1000000000L;
        ++target.tv_sec;
    }
    return ErrorFromSetter(clockSetter.load()(target));
}

VbError ClockSimulate(DateTime start, double speed) {
    if (!InDateRange(start) || !std::isfinite(speed) || !(speed > 0)) return VbError(ErrInvalidCall);
    StateCache& cache = Cache();
    std::lock_guard<std::mutex> guard(cache.lock);
    cache.checkedAt = -1;
    return WriteAtomically(StatePath(), StateText({start, RealUnixNow(), speed}));
}

VbError ClockUseReal() {
    StateCache& cache = Cache();
    std::lock_guard<std::mutex> guard(cache.lock);
    if (::unlink(StatePath().c_str()) != 0 && errno != ENOENT) return VbErrorFromErrno(errno);
    cache.valid = false;
    cache.present = false;
    cache.state.reset();
    cache.checkedAt = -1;
    return {};
}

bool ClockIsSimulated() {
    StateCache& cache = Cache();
    std::lock_guard<std::mutex> guard(cache.lock);
    return CurrentState(cache).has_value();
}

double ClockSpeed() { return ClockRead().Speed; }

int64_t CoarseMonotonicMs() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

int ClockTickMilliseconds() {
    const double ms = std::round(1000.0 / ClockSpeed());
    if (ms >= static_cast<double>(std::numeric_limits<int>::max())) return std::numeric_limits<int>::max();
    return ms < 1 ? 1 : static_cast<int>(ms);
}
