#include "platform/WindowRegistry.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <system_error>

#include "platform/Prefix.h"

// Layout under <prefix>/run:
//   windows/<class>@<pid>.<start>            one window: class, title, visibility, owner
//   messages/<class>@<pid>.<start>/<stamp>   one posted message per file, named in posting order
// <class> is the class name folded to lower case and made safe for a file name; <start> is the
// owner's start time, so a later process that happens to get the same pid is never taken for it.

namespace {

namespace fs = std::filesystem;

struct Entry {
    WindowInfo Info;
    unsigned long long StartTime = 0;
    std::string Boot;
    uint64_t Registered = 0;  // monotonic nanoseconds: the earliest registration wins a shared class
    std::string FileName;
};

// A window this process registered, with the paths it was registered under (the prefix
// may be pointed elsewhere later; the entry stays where it was made).
struct OwnWindow {
    Entry Window;
    fs::path EntryPath;
    fs::path QueuePath;
    pid_t Owner = 0;  // a forked child inherits this table but owns none of these windows
};

struct Registry {
    std::mutex lock;
    std::map<std::string, OwnWindow> own;  // by folded class name
    bool exitHookInstalled = false;
    unsigned long long selfStart = 0;
    pid_t selfStartPid = 0;
};

Registry& State() {
    static auto* registry = new Registry;  // still needed by the exit hook
    return *registry;
}

std::atomic<unsigned> fileCounter{0};

uint64_t MonotonicNanoseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000ULL + static_cast<uint64_t>(now.tv_nsec);
}

std::optional<std::string> ReadSmallFile(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    std::string text;
    char buffer[4096];
    for (;;) {
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            ::close(fd);
            return std::nullopt;
        }
        if (n == 0) break;
        text.append(buffer, static_cast<size_t>(n));
    }
    ::close(fd);
    return text;
}

// Writes through a temporary name beside the target, so readers see the old or the new file.
bool WriteAtomically(const fs::path& path, const std::string& content) {
    const fs::path temp = path.parent_path() /
                          (".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(fileCounter.fetch_add(1)));
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    size_t done = 0;
    bool ok = true;
    while (ok && done < content.size()) {
        ssize_t n = ::write(fd, content.data() + done, content.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) ok = false;
        else done += static_cast<size_t>(n);
    }
    if (::close(fd) != 0) ok = false;
    if (ok && ::rename(temp.c_str(), path.c_str()) == 0) return true;
    ::unlink(temp.c_str());
    return false;
}

// Start time of a running process (clock ticks after boot, /proc/<pid>/stat field 22);
// nothing when it has ended, also when it is a zombie nobody has reaped yet.
std::optional<unsigned long long> ProcessStartTime(long pid) {
    if (pid <= 0) return std::nullopt;
    std::optional<std::string> stat = ReadSmallFile("/proc/" + std::to_string(pid) + "/stat");
    if (!stat) return std::nullopt;
    // The command name (field 2) may hold blanks and parentheses: count from its closing one.
    size_t close = stat->rfind(')');
    if (close == std::string::npos) return std::nullopt;
    const char* p = stat->c_str() + close + 1;
    int field = 2;
    char state = 0;
    while (*p) {
        while (*p == ' ') ++p;
        if (!*p) break;
        ++field;
        if (field == 3) state = *p;
        if (field == 22) {
            if (state == 'Z' || state == 'X') return std::nullopt;
            char* end = nullptr;
            unsigned long long start = std::strtoull(p, &end, 10);
            if (end == p) return std::nullopt;
            return start;
        }
        while (*p && *p != ' ') ++p;
    }
    return std::nullopt;
}

const std::string& BootId() {
    static const std::string boot = [] {
        std::string text = ReadSmallFile("/proc/sys/kernel/random/boot_id").value_or("");
        while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
        return text;
    }();
    return boot;
}

bool OwnerAlive(const Entry& entry) {
    if (entry.Boot != BootId()) return false;  // the run folder outlived a restart
    std::optional<unsigned long long> start = ProcessStartTime(entry.Info.OwnerPid);
    return start && *start == entry.StartTime;
}

// Window classes are matched without regard to letter case.
std::string FoldCase(std::string_view text) {
    std::string folded(text);
    for (char& c : folded)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return folded;
}

std::string EncodeClass(std::string_view className) {
    static const char hex[] = "0123456789abcdef";
    std::string encoded;
    for (char c : FoldCase(className)) {
        auto byte = static_cast<unsigned char>(c);
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-') {
            encoded += c;
        } else {
            encoded += '%';
            encoded += hex[byte >> 4];
            encoded += hex[byte & 15];
        }
    }
    if (encoded.size() > 160) {
        // Keep file names short; the class in the entry still decides the match.
        uint64_t hash = 14695981039346656037ULL;
        for (char c : encoded) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
        char tail[20];
        std::snprintf(tail, sizeof tail, "~%016llx", static_cast<unsigned long long>(hash));
        encoded.resize(140);
        encoded += tail;
    }
    return encoded;
}

// Entry values are one line each: escape what would break a line.
std::string EscapeValue(std::string_view text) {
    std::string escaped;
    for (char c : text) {
        if (c == '%' || c == '\n' || c == '\r' || c == '\0') {
            char code[4];
            std::snprintf(code, sizeof code, "%%%02x", static_cast<unsigned char>(c));
            escaped += code;
        } else {
            escaped += c;
        }
    }
    return escaped;
}

std::string UnescapeValue(std::string_view text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            plain += static_cast<char>(std::strtol(std::string(text.substr(i + 1, 2)).c_str(), nullptr, 16));
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

std::string EntryText(const Entry& entry) {
    return "class=" + EscapeValue(entry.Info.ClassName) + "\n" +
           "title=" + EscapeValue(entry.Info.Title) + "\n" +
           "visible=" + (entry.Info.Visible ? "1" : "0") + "\n" +
           "pid=" + std::to_string(entry.Info.OwnerPid) + "\n" +
           "start=" + std::to_string(entry.StartTime) + "\n" +
           "boot=" + entry.Boot + "\n" +
           "registered=" + std::to_string(entry.Registered) + "\n";
}

std::optional<Entry> ParseEntry(const std::string& text, const std::string& fileName) {
    Entry entry;
    entry.FileName = fileName;
    int seen = 0;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string::npos) end = text.size();
        std::string_view line(text.data() + pos, end - pos);
        pos = end + 1;
        size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        std::string_view key = line.substr(0, equals);
        std::string value(line.substr(equals + 1));
        if (key == "class") entry.Info.ClassName = UnescapeValue(value), seen |= 1;
        else if (key == "title") entry.Info.Title = UnescapeValue(value);
        else if (key == "visible") entry.Info.Visible = value == "1";
        else if (key == "pid") entry.Info.OwnerPid = std::strtol(value.c_str(), nullptr, 10), seen |= 2;
        else if (key == "start") entry.StartTime = std::strtoull(value.c_str(), nullptr, 10), seen |= 4;
        else if (key == "boot") entry.Boot = value;
        else if (key == "registered") entry.Registered = std::strtoull(value.c_str(), nullptr, 10);
    }
    if (seen != 7) return std::nullopt;
    return entry;
}

fs::path WindowsFolder() { return PrefixRunFolder() / "windows"; }
fs::path MessagesFolder() { return PrefixRunFolder() / "messages"; }

void RemoveQueue(const fs::path& queue) {
    std::error_code ec;
    fs::remove_all(queue, ec);
}

// A temporary file left by a writer that died half-way (".tmp-<pid>-<n>").
void RemoveStaleTemp(const fs::path& folder, const std::string& name) {
    long pid = std::strtol(name.c_str() + 5, nullptr, 10);
    if (pid > 0 && ::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH) ::unlink((folder / name).c_str());
}

// Every live window of the prefix (of one class when foldedClass is given), earliest
// registered first. Entries of ended owners are removed on the way.
std::vector<Entry> LiveEntries(const std::string* foldedClass) {
    std::vector<Entry> entries;
    const fs::path folder = WindowsFolder();
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return entries;
    const std::string prefix = foldedClass ? EncodeClass(*foldedClass) + "@" : std::string();
    std::vector<std::string> names;
    while (dirent* item = ::readdir(dir)) {
        std::string name = item->d_name;
        if (name.rfind(".tmp-", 0) == 0) {
            RemoveStaleTemp(folder, name);
            continue;
        }
        if (name.empty() || name[0] == '.') continue;
        if (name.compare(0, prefix.size(), prefix) != 0) continue;
        names.push_back(std::move(name));
    }
    ::closedir(dir);

    for (const std::string& name : names) {
        std::optional<std::string> text = ReadSmallFile((folder / name).string());
        if (!text) continue;  // unregistered meanwhile
        std::optional<Entry> entry = ParseEntry(*text, name);
        if (!entry) continue;
        if (!OwnerAlive(*entry)) {
            ::unlink((folder / name).c_str());
            RemoveQueue(MessagesFolder() / name);
            continue;
        }
        if (foldedClass && FoldCase(entry->Info.ClassName) != *foldedClass) continue;
        entries.push_back(std::move(*entry));
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        if (a.Registered != b.Registered) return a.Registered < b.Registered;
        return a.Info.OwnerPid < b.Info.OwnerPid;
    });
    return entries;
}

std::optional<Entry> FirstLiveEntry(std::string_view className) {
    if (className.empty()) return std::nullopt;
    const std::string folded = FoldCase(className);
    std::vector<Entry> entries = LiveEntries(&folded);
    if (entries.empty()) return std::nullopt;
    return entries.front();
}

// Drops windows inherited through fork: they belong to the parent. Caller holds the lock.
void ForgetInherited(Registry& registry) {
    const pid_t self = ::getpid();
    for (auto it = registry.own.begin(); it != registry.own.end();) {
        if (it->second.Owner != self) it = registry.own.erase(it);
        else ++it;
    }
}

unsigned long long SelfStartTime(Registry& registry) {
    if (registry.selfStartPid != ::getpid()) {
        registry.selfStart = ProcessStartTime(::getpid()).value_or(0);
        registry.selfStartPid = ::getpid();
    }
    return registry.selfStart;
}

void RemoveOwn(const OwnWindow& window) {
    // The entry goes first, so a poster no longer finds the window before its queue disappears.
    ::unlink(window.EntryPath.c_str());
    RemoveQueue(window.QueuePath);
}

void UnregisterAtExit() { UnregisterAllWindows(); }

}  // namespace

bool RegisterWindow(std::string_view className, std::string_view title, bool visible) {
    if (className.empty()) return false;
    Registry& registry = State();
    std::lock_guard<std::mutex> guard(registry.lock);
    ForgetInherited(registry);
    const std::string folded = FoldCase(className);

    auto existing = registry.own.find(folded);
    if (existing != registry.own.end()) {
        OwnWindow updated = existing->second;
        updated.Window.Info.Title = std::string(title);
        updated.Window.Info.Visible = visible;
        if (!WriteAtomically(updated.EntryPath, EntryText(updated.Window))) return false;
        existing->second = std::move(updated);
        return true;
    }

    OwnWindow window;
    window.Owner = ::getpid();
    window.Window.Info = WindowInfo{std::string(className), std::string(title), static_cast<long>(window.Owner), visible};
    window.Window.StartTime = SelfStartTime(registry);
    window.Window.Boot = BootId();
    window.Window.Registered = MonotonicNanoseconds();
    window.Window.FileName = EncodeClass(folded) + "@" + std::to_string(window.Owner) + "." +
                             std::to_string(window.Window.StartTime);
    const fs::path windows = WindowsFolder();
    const fs::path messages = MessagesFolder();
    std::error_code ec;
    fs::create_directories(windows, ec);
    fs::create_directories(messages, ec);
    window.EntryPath = windows / window.Window.FileName;
    window.QueuePath = messages / window.Window.FileName;

    // The queue exists before the entry, so whoever finds the window can post to it.
    if (::mkdir(window.QueuePath.c_str(), 0755) != 0 && errno != EEXIST) return false;
    if (!WriteAtomically(window.EntryPath, EntryText(window.Window))) {
        RemoveQueue(window.QueuePath);
        return false;
    }
    if (!registry.exitHookInstalled) {
        registry.exitHookInstalled = std::atexit(&UnregisterAtExit) == 0;
    }
    registry.own.emplace(folded, std::move(window));
    return true;
}

bool SetWindowVisible(std::string_view className, bool visible) {
    Registry& registry = State();
    std::lock_guard<std::mutex> guard(registry.lock);
    ForgetInherited(registry);
    auto it = registry.own.find(FoldCase(className));
    if (it == registry.own.end()) return false;
    Entry changed = it->second.Window;
    changed.Info.Visible = visible;
    if (!WriteAtomically(it->second.EntryPath, EntryText(changed))) return false;
    it->second.Window = std::move(changed);
    return true;
}

void UnregisterWindow(std::string_view className) {
    Registry& registry = State();
    std::lock_guard<std::mutex> guard(registry.lock);
    ForgetInherited(registry);
    auto it = registry.own.find(FoldCase(className));
    if (it == registry.own.end()) return;
    RemoveOwn(it->second);
    registry.own.erase(it);
}

void UnregisterAllWindows() {
    Registry& registry = State();
    std::lock_guard<std::mutex> guard(registry.lock);
    ForgetInherited(registry);
    for (const auto& [folded, window] : registry.own) RemoveOwn(window);
    registry.own.clear();
}

std::optional<WindowInfo> FindWindowByClass(std::string_view className) {
    std::optional<Entry> entry = FirstLiveEntry(className);
    if (!entry) return std::nullopt;
    return entry->Info;
}

bool IsWindowVisible(std::string_view className) {
    std::optional<Entry> entry = FirstLiveEntry(className);
    return entry && entry->Info.Visible;
}

std::vector<WindowInfo> OpenWindows() {
    std::vector<WindowInfo> windows;
    for (Entry& entry : LiveEntries(nullptr)) windows.push_back(std::move(entry.Info));
    return windows;
}

bool PostRegisteredMessage(std::string_view className, std::string_view messageName) {
    if (messageName.empty()) return false;
    std::optional<Entry> entry = FirstLiveEntry(className);
    if (!entry) return false;
    const fs::path queue = MessagesFolder() / entry->FileName;
    // Names sort in posting order; pid and counter keep two posters' names apart.
    char name[80];
    std::snprintf(name, sizeof name, "%020llu-%010ld-%010u", static_cast<unsigned long long>(MonotonicNanoseconds()),
                  static_cast<long>(::getpid()), fileCounter.fetch_add(1));
    // Fails when the owner unregistered after we found it: its queue is gone.
    if (!WriteAtomically(queue / name, std::string(messageName))) return false;
    if (!OwnerAlive(*entry)) {
        // The owner ended while we posted: nobody will read it.
        ::unlink((queue / name).c_str());
        return false;
    }
    return true;
}

std::vector<std::string> TakeWindowMessages(std::string_view className) {
    std::vector<std::string> messages;
    fs::path queue;
    {
        Registry& registry = State();
        std::lock_guard<std::mutex> guard(registry.lock);
        ForgetInherited(registry);
        auto it = registry.own.find(FoldCase(className));
        if (it == registry.own.end()) return messages;
        queue = it->second.QueuePath;
    }
    // Polled from the event loop: with nothing posted this is one directory read.
    DIR* dir = ::opendir(queue.c_str());
    if (!dir) return messages;
    std::vector<std::string> names;
    while (dirent* item = ::readdir(dir)) {
        if (item->d_name[0] != '.') names.emplace_back(item->d_name);
    }
    ::closedir(dir);
    if (names.empty()) return messages;
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const fs::path path = queue / name;
        std::optional<std::string> text = ReadSmallFile(path.string());
        // Only the reader whose unlink succeeds delivers, so no message is taken twice.
        if (text && ::unlink(path.c_str()) == 0) messages.push_back(std::move(*text));
    }
    return messages;
}
