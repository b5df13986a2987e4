#include "platform/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <string>

#include "platform/Prefix.h"

namespace {

struct HeldLock {
    int Fd = -1;
    pid_t Owner = 0;  // a forked child inherits the table but is not the holder
};

struct LockTable {
    std::mutex lock;
    std::map<std::string, HeldLock> held;
};

LockTable& Table() {
    static auto* table = new LockTable;  // the locks live until the process ends
    return *table;
}

std::string LockFileName(std::string_view name) {
    std::string file;
    for (char c : name) file += (c == '/' || c == '\\' || c == '\0') ? '_' : c;
    return file + ".lock";
}

// A forked child shares the parent's open lock, so it must neither count it as its own nor
// unlock it (that would free the parent's lock); closing its copy of the descriptor is harmless.
void ForgetInherited(LockTable& table, const std::string& name) {
    auto it = table.held.find(name);
    if (it != table.held.end() && it->second.Owner != ::getpid()) {
        ::close(it->second.Fd);
        table.held.erase(it);
    }
}

}  // namespace

bool AcquireSingleInstance(std::string_view name) {
    LockTable& table = Table();
    std::lock_guard<std::mutex> guard(table.lock);
    const std::string key(name);
    ForgetInherited(table, key);
    if (table.held.count(key)) return true;

    const std::string path = (PrefixRunFolder() / LockFileName(name)).string();
    // Close-on-exec: a program we start must not keep our instance lock after we end.
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    int result;
    do {
        result = ::flock(fd, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        ::close(fd);
        return false;
    }
    // The holder's pid, for whoever wonders which process has the prefix.
    const std::string pid = std::to_string(::getpid()) + "\n";
    if (::ftruncate(fd, 0) == 0) {
        ssize_t written = ::pwrite(fd, pid.data(), pid.size(), 0);
        (void)written;
    }
    table.held[key] = HeldLock{fd, ::getpid()};
    return true;
}

void ReleaseSingleInstance(std::string_view name) {
    LockTable& table = Table();
    std::lock_guard<std::mutex> guard(table.lock);
    const std::string key(name);
    ForgetInherited(table, key);
    auto it = table.held.find(key);
    if (it == table.held.end()) return;
    // The file stays: removing it could let two processes lock two different files.
    ::flock(it->second.Fd, LOCK_UN);
    ::close(it->second.Fd);
    table.held.erase(it);
}
