#include "HostState.h"

#include <dlfcn.h>
#include <signal.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static_assert(__atomic_always_lock_free(sizeof(float), 0), "float readings must be lock-free");
static_assert(__atomic_always_lock_free(sizeof(double), 0), "totals must be lock-free");
static_assert(offsetof(HostPoint, DayTotal) % 8 == 0, "totals are 8-byte aligned");
static_assert(offsetof(HostStateData, Generation) % 64 == 0, "the lock has a cache line of its own");

namespace {

// Serialises creation and validation of the file between processes opening it at once.
class OpenLock {
public:
    explicit OpenLock(const std::string& path) {
        fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (fd_ >= 0) {
            while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
            }
        }
    }
    ~OpenLock() {
        if (fd_ >= 0) ::close(fd_);  // closing releases the lock
    }

private:
    int fd_ = -1;
};

bool InitialiseLock(pthread_mutex_t* mutex) {
    pthread_mutexattr_t attr;
    if (pthread_mutexattr_init(&attr) != 0) return false;
    pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attr, PTHREAD_MUTEX_ROBUST);
    int rc = pthread_mutex_init(mutex, &attr);
    pthread_mutexattr_destroy(&attr);
    return rc == 0;
}

bool HeaderValid(const HostStateData* data) {
    return data->Magic == HostStateMagic && data->LayoutVersion == HostStateLayoutVersion &&
           data->Size == sizeof(HostStateData);
}

// Writes a fresh state under a temporary name and renames it into place, so a process that
// still maps the old file keeps a consistent (if stale) view and never sees a half-built one.
bool CreateFresh(const std::string& path) {
    std::string temp = path + ".new." + std::to_string(::getpid());
    int fd = ::open(temp.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    bool ok = ::ftruncate(fd, static_cast<off_t>(sizeof(HostStateData))) == 0;
    if (ok) {
        void* map = ::mmap(nullptr, sizeof(HostStateData), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (map == MAP_FAILED) {
            ok = false;
        } else {
            auto* data = static_cast<HostStateData*>(map);
            ok = InitialiseLock(&data->TextLock);
            data->Magic = HostStateMagic;
            data->LayoutVersion = HostStateLayoutVersion;
            data->Size = sizeof(HostStateData);
            ::msync(map, sizeof(HostStateData), MS_SYNC);
            ::munmap(map, sizeof(HostStateData));
        }
    }
    ::close(fd);
    if (ok) ok = ::rename(temp.c_str(), path.c_str()) == 0;
    if (!ok) ::unlink(temp.c_str());
    return ok;
}

HostStateData* MapExisting(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct stat st {};
    HostStateData* result = nullptr;
    if (::fstat(fd, &st) == 0 && st.st_size == static_cast<off_t>(sizeof(HostStateData))) {
        void* map = ::mmap(nullptr, sizeof(HostStateData), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (map != MAP_FAILED) {
            result = static_cast<HostStateData*>(map);
            if (!HeaderValid(result)) {
                ::munmap(map, sizeof(HostStateData));
                result = nullptr;
            }
        }
    }
    ::close(fd);
    return result;
}

// Pids stay below 2^22 (the kernel's limit), leaving 42 bits for the start time in clock ticks.
constexpr int HostPidBits = 22;
constexpr uint64_t HostPidMask = (uint64_t{1} << HostPidBits) - 1;

// Whether the process that claimed the job still runs. A process that /proc hides from us (another
// user under hidepid) but that exists is taken as alive: ending the monitor needs certainty.
bool OwnerAlive(uint64_t owner) {
    const auto pid = static_cast<pid_t>(owner & HostPidMask);
    if (HostProcessIdentity(pid) == owner) return true;
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d", static_cast<int>(pid));
    if (::access(path, F_OK) == 0) return false;  // visible: ended, a zombie, or the pid reused
    return ::kill(pid, 0) == 0 || errno == EPERM;
}

template <class T, std::size_t N>
T* At(T (&table)[N], int index) {
    return (index >= 0 && static_cast<std::size_t>(index) < N) ? &table[index] : nullptr;
}

}  // namespace

HostState::~HostState() { Close(); }

bool HostState::Open(const std::string& hostFolder) {
    Close();
    std::string folder = hostFolder.empty() ? std::string(".") : hostFolder;
    std::string path = folder + "/" + HostStateFileName;
    OpenLock guard(path + ".lock");
    HostStateData* data = MapExisting(path);
    if (data == nullptr) {
        if (!CreateFresh(path)) return false;
        data = MapExisting(path);
        if (data == nullptr) return false;
    }
    data_ = data;
    filePath_ = path;
    return true;
}

void HostState::Close() {
    if (data_ != nullptr) ::munmap(data_, sizeof(HostStateData));
    data_ = nullptr;
    filePath_.clear();
}

void HostState::Reset() {
    if (data_ == nullptr) return;
    Lock();
    // Everything after the lock's cache line; the header and the lock itself stay valid.
    auto* begin = reinterpret_cast<unsigned char*>(&data_->Generation);
    std::memset(begin, 0, sizeof(HostStateData) - offsetof(HostStateData, Generation));
    Unlock();
}

void HostState::Lock() {
    int rc = pthread_mutex_lock(&data_->TextLock);
    if (rc == EOWNERDEAD) pthread_mutex_consistent(&data_->TextLock);  // a process died holding it
}

void HostState::Unlock() { pthread_mutex_unlock(&data_->TextLock); }

std::string HostState::ReadField(const char* field, std::size_t size) {
    if (data_ == nullptr || field == nullptr) return {};
    Lock();
    std::size_t n = ::strnlen(field, size);
    std::string text(field, n);
    Unlock();
    return text;
}

void HostState::WriteField(char* field, std::size_t size, std::string_view text) {
    if (data_ == nullptr || field == nullptr || size == 0) return;
    Lock();
    std::size_t n = text.size() < size ? text.size() : size;
    std::memcpy(field, text.data(), n);
    if (n < size) std::memset(field + n, 0, size - n);
    Unlock();
}

// --- points ---------------------------------------------------------------

int HostState::TableSize(HostTable table) {
    switch (table) {
    case HostTable::Tags: return HostMaxTags;
    case HostTable::OutputTags: return HostMaxOutputTags;
    case HostTable::Lines: return HostMaxLines;
    }
    return 0;
}

HostPoint* HostState::Point(HostTable table, int index) {
    if (data_ == nullptr) return nullptr;
    switch (table) {
    case HostTable::Tags: return At(data_->Tags, index);
    case HostTable::OutputTags: return At(data_->OutputTags, index);
    case HostTable::Lines: return At(data_->Lines, index);
    }
    return nullptr;
}

float HostState::Reading(HostTable table, int index) {
    HostPoint* p = Point(table, index);
    return p ? HostLoad(p->Reading) : 0.0f;
}

void HostState::SetReading(HostTable table, int index, float value) {
    if (HostPoint* p = Point(table, index)) {
        HostStore(p->Reading, value);
        __atomic_add_fetch(&p->WriteCount, 1u, __ATOMIC_ACQ_REL);
    }
}

float HostState::ReadValue(HostTable table, int index) {
    HostPoint* p = Point(table, index);
    return p ? HostLoad(p->ReadValue) : 0.0f;
}

void HostState::SetReadValue(HostTable table, int index, float value) {
    if (HostPoint* p = Point(table, index)) HostStore(p->ReadValue, value);
}

static int32_t* FlagField(HostPoint* p, HostFlag flag) {
    switch (flag) {
    case HostFlag::Active: return &p->Active;
    case HostFlag::InError: return &p->InError;
    case HostFlag::InAlarm: return &p->InAlarm;
    }
    return &p->Active;
}

bool HostState::Flag(HostTable table, int index, HostFlag flag) {
    HostPoint* p = Point(table, index);
    return p && HostLoad(*FlagField(p, flag)) == 1;
}

void HostState::SetFlag(HostTable table, int index, HostFlag flag, bool on) {
    if (HostPoint* p = Point(table, index)) HostStore(*FlagField(p, flag), on ? 1 : 0);
}

double HostState::Total(HostTable table, int index, HostTotal which) {
    HostPoint* p = Point(table, index);
    if (!p) return 0.0;
    return HostLoad(which == HostTotal::DayTotal ? p->DayTotal : p->GrandTotal);
}

void HostState::SetTotal(HostTable table, int index, HostTotal which, double value) {
    if (HostPoint* p = Point(table, index)) HostStore(which == HostTotal::DayTotal ? p->DayTotal : p->GrandTotal, value);
}

static float* StatField(HostPoint* p, HostStat which) {
    switch (which) {
    case HostStat::DayMin: return &p->DayMin;
    case HostStat::DayMax: return &p->DayMax;
    case HostStat::GrandMin: return &p->GrandMin;
    case HostStat::GrandMax: return &p->GrandMax;
    }
    return &p->DayMin;
}

float HostState::Stat(HostTable table, int index, HostStat which) {
    HostPoint* p = Point(table, index);
    return p ? HostLoad(*StatField(p, which)) : 0.0f;
}

void HostState::SetStat(HostTable table, int index, HostStat which, float value) {
    if (HostPoint* p = Point(table, index)) HostStore(*StatField(p, which), value);
}

int32_t HostState::LastInsertStack(HostTable table, int index) {
    HostPoint* p = Point(table, index);
    return p ? HostLoad(p->LastInsertStack) : 0;
}

void HostState::SetLastInsertStack(HostTable table, int index, int32_t value) {
    if (HostPoint* p = Point(table, index)) HostStore(p->LastInsertStack, value);
}

uint32_t HostState::WriteCount(HostTable table, int index) {
    HostPoint* p = Point(table, index);
    return p ? HostLoad(p->WriteCount) : 0u;
}

int32_t HostState::AlarmCounting(HostTable table, int index) {
    HostPoint* p = Point(table, index);
    return p ? HostLoad(p->AlarmCounting) : 0;
}

void HostState::SetAlarmCounting(HostTable table, int index, int32_t value) {
    if (HostPoint* p = Point(table, index)) HostStore(p->AlarmCounting, value);
}

int32_t HostState::AlarmTimer(HostTable table, int index) {
    HostPoint* p = Point(table, index);
    return p ? HostLoad(p->AlarmTimer) : 0;
}

void HostState::SetAlarmTimer(HostTable table, int index, int32_t value) {
    if (HostPoint* p = Point(table, index)) HostStore(p->AlarmTimer, value);
}

std::string HostState::Name(HostTable table, int index) {
    HostPoint* p = Point(table, index);
    return p ? ReadField(p->Name, sizeof p->Name) : std::string();
}

void HostState::SetName(HostTable table, int index, std::string_view text) {
    if (HostPoint* p = Point(table, index)) WriteField(p->Name, sizeof p->Name, text);
}

std::string HostState::Address(HostTable table, int index) {
    HostPoint* p = Point(table, index);
    return p ? ReadField(p->Address, sizeof p->Address) : std::string();
}

void HostState::SetAddress(HostTable table, int index, std::string_view text) {
    if (HostPoint* p = Point(table, index)) WriteField(p->Address, sizeof p->Address, text);
}

std::string HostState::Param(HostTable table, int index, int32_t code) {
    HostPoint* p = Point(table, index);
    if (!p || code == 0) return {};
    Lock();
    std::string text;
    for (const HostParamSlot& slot : p->Params) {
        if (slot.Code == code) {
            text.assign(slot.Text, ::strnlen(slot.Text, sizeof slot.Text));
            break;
        }
    }
    Unlock();
    return text;
}

bool HostState::HasParam(HostTable table, int index, int32_t code) {
    HostPoint* p = Point(table, index);
    if (!p || code == 0) return false;
    Lock();
    bool found = false;
    for (const HostParamSlot& slot : p->Params) found = found || slot.Code == code;
    Unlock();
    return found;
}

bool HostState::SetParam(HostTable table, int index, int32_t code, std::string_view text) {
    HostPoint* p = Point(table, index);
    if (!p || code == 0) return false;
    Lock();
    HostParamSlot* target = nullptr;
    for (HostParamSlot& slot : p->Params) {
        if (slot.Code == code) {
            target = &slot;
            break;
        }
    }
    if (target == nullptr) {
        for (HostParamSlot& slot : p->Params) {
            if (slot.Code == 0) {
                target = &slot;
                break;
            }
        }
    }
    if (target != nullptr) {
        target->Code = code;
        std::size_t n = text.size() < sizeof target->Text ? text.size() : sizeof target->Text;
        std::memcpy(target->Text, text.data(), n);
        std::memset(target->Text + n, 0, sizeof target->Text - n);
    }
    Unlock();
    return target != nullptr;
}

// --- pages ----------------------------------------------------------------

bool HostState::PageActive(int page) {
    HostPage* p = data_ ? At(data_->Pages, page) : nullptr;
    return p && HostLoad(p->Active) == 1;
}

void HostState::SetPageActive(int page, bool on) {
    if (HostPage* p = data_ ? At(data_->Pages, page) : nullptr) HostStore(p->Active, on ? 1 : 0);
}

float HostState::PageParam(int page, int code) {
    HostPage* p = data_ ? At(data_->Pages, page) : nullptr;
    if (!p || code < 0 || code >= HostPageParams) return 0.0f;
    return HostLoad(p->Params[code]);
}

void HostState::SetPageParam(int page, int code, float value) {
    HostPage* p = data_ ? At(data_->Pages, page) : nullptr;
    if (p && code >= 0 && code < HostPageParams) HostStore(p->Params[code], value);
}

std::string HostState::PageLabel(int page) {
    HostPage* p = data_ ? At(data_->Pages, page) : nullptr;
    return p ? ReadField(p->Label, sizeof p->Label) : std::string();
}

void HostState::SetPageLabel(int page, std::string_view text) {
    if (HostPage* p = data_ ? At(data_->Pages, page) : nullptr) WriteField(p->Label, sizeof p->Label, text);
}

// --- relays ---------------------------------------------------------------

HostRelay* HostState::Relay(HostRelayTable table, int index) {
    if (data_ == nullptr) return nullptr;
    return table == HostRelayTable::Recorder ? At(data_->RecRelays, index) : At(data_->TagRelays, index);
}

bool HostState::RelayActive(HostRelayTable table, int index) {
    HostRelay* r = Relay(table, index);
    return r && HostLoad(r->Active) == 1;
}

void HostState::SetRelayActive(HostRelayTable table, int index, bool on) {
    if (HostRelay* r = Relay(table, index)) HostStore(r->Active, on ? 1 : 0);
}

int32_t HostState::RelayState(HostRelayTable table, int index) {
    HostRelay* r = Relay(table, index);
    return r ? HostLoad(r->State) : 0;
}

void HostState::SetRelayState(HostRelayTable table, int index, int32_t value) {
    if (HostRelay* r = Relay(table, index)) HostStore(r->State, value);
}

std::string HostState::RelayLabel(HostRelayTable table, int index) {
    HostRelay* r = Relay(table, index);
    return r ? ReadField(r->Label, sizeof r->Label) : std::string();
}

void HostState::SetRelayLabel(HostRelayTable table, int index, std::string_view text) {
    if (HostRelay* r = Relay(table, index)) WriteField(r->Label, sizeof r->Label, text);
}

std::string HostState::RelayAddress(HostRelayTable table, int index) {
    HostRelay* r = Relay(table, index);
    return r ? ReadField(r->Address, sizeof r->Address) : std::string();
}

void HostState::SetRelayAddress(HostRelayTable table, int index, std::string_view text) {
    if (HostRelay* r = Relay(table, index)) WriteField(r->Address, sizeof r->Address, text);
}

// --- host-wide values -----------------------------------------------------

#define VT_HOST_INT_FIELD(Getter, Setter, Field)                     \
    int32_t HostState::Getter() { return data_ ? HostLoad(data_->Field) : 0; } \
    void HostState::Setter(int32_t value) {                            \
        if (data_) HostStore(data_->Field, value);                     \
    }

VT_HOST_INT_FIELD(Generation, SetGeneration, Generation)
VT_HOST_INT_FIELD(UserMode, SetUserMode, UserMode)
VT_HOST_INT_FIELD(RecorderCount, SetRecorderCount, RecorderCount)
VT_HOST_INT_FIELD(RecorderVersion, SetRecorderVersion, RecorderVersion)
VT_HOST_INT_FIELD(DialogAnswer, SetDialogAnswer, DialogAnswer)

#undef VT_HOST_INT_FIELD

int32_t HostState::JobRunning() {
    if (data_ == nullptr) return 0;
    const int32_t running = HostLoad(data_->JobRunning);
    const uint64_t owner = HostLoad(data_->JobOwner);
    if (running <= 0 || owner == 0) return running;
    std::lock_guard<std::mutex> guard(ownerLock_);
    const auto now = std::chrono::steady_clock::now();
    if (owner != checkedOwner_ || now - checkedAt_ >= std::chrono::seconds(1)) {
        ownerAlive_ = OwnerAlive(owner);
        checkedOwner_ = owner;
        checkedAt_ = now;
    }
    return ownerAlive_ ? running : 0;
}

void HostState::SetJobRunning(int32_t value) {
    if (data_) HostStore(data_->JobRunning, value);
}

void HostState::ClaimJob() {
    if (data_) HostStore(data_->JobOwner, HostProcessIdentity(static_cast<long>(::getpid())));
}

uint64_t HostState::JobOwner() { return data_ ? HostLoad(data_->JobOwner) : 0u; }

uint32_t HostState::ReadInputModuleCount() { return data_ ? HostLoad(data_->ReadInputModuleCount) : 0u; }
void HostState::CountReadInputModule() {
    if (data_) __atomic_add_fetch(&data_->ReadInputModuleCount, 1u, __ATOMIC_ACQ_REL);
}
uint32_t HostState::ReloadRecorderSetupCount() { return data_ ? HostLoad(data_->ReloadRecorderSetupCount) : 0u; }
void HostState::CountReloadRecorderSetup() {
    if (data_) __atomic_add_fetch(&data_->ReloadRecorderSetupCount, 1u, __ATOMIC_ACQ_REL);
}

std::string HostState::JobText(HostJobText which) {
    int i = static_cast<int>(which);
    if (data_ == nullptr || i < 0 || i >= static_cast<int>(HostJobText::Count)) return {};
    return ReadField(data_->JobTexts[i], HostPathSize);
}

void HostState::SetJobText(HostJobText which, std::string_view text) {
    int i = static_cast<int>(which);
    if (data_ == nullptr || i < 0 || i >= static_cast<int>(HostJobText::Count)) return;
    WriteField(data_->JobTexts[i], HostPathSize, text);
}

// --- host log -------------------------------------------------------------

void HostState::AppendLog(std::string_view module, std::string_view title) {
    if (data_ == nullptr) return;
    Lock();
    uint64_t sequence = data_->LogCount + 1;
    HostLogEntry& entry = data_->Log[(sequence - 1) % HostLogEntries];
    std::memset(&entry, 0, sizeof entry);
    entry.Sequence = sequence;
    std::memcpy(entry.Module, module.data(), module.size() < sizeof entry.Module ? module.size() : sizeof entry.Module);
    std::memcpy(entry.Title, title.data(), title.size() < sizeof entry.Title ? title.size() : sizeof entry.Title);
    HostStore(data_->LogCount, sequence);
    Unlock();
}

uint64_t HostState::LogCount() { return data_ ? HostLoad(data_->LogCount) : 0u; }

bool HostState::LogEntry(uint64_t sequence, std::string& module, std::string& title) {
    if (data_ == nullptr || sequence == 0) return false;
    Lock();
    const HostLogEntry& entry = data_->Log[(sequence - 1) % HostLogEntries];
    bool found = entry.Sequence == sequence;
    if (found) {
        module.assign(entry.Module, ::strnlen(entry.Module, sizeof entry.Module));
        title.assign(entry.Title, ::strnlen(entry.Title, sizeof entry.Title));
    }
    Unlock();
    return found;
}

uint64_t HostProcessIdentity(long pid) {
    if (pid <= 0 || static_cast<uint64_t>(pid) > HostPidMask) return 0;
    // /proc/<pid>/stat: "pid (name) state ppid ... starttime" with the start time the 22nd field;
    // the name may hold spaces and parentheses, so fields are counted from the last ')'.
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%ld/stat", pid);
    int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return 0;
    char text[1024];
    ssize_t n = ::read(fd, text, sizeof text - 1);
    ::close(fd);
    if (n <= 0) return 0;
    text[n] = '\0';
    const char* close = std::strrchr(text, ')');
    if (close == nullptr || close[1] != ' ') return 0;
    const char state = close[2];
    if (state == 'Z' || state == 'X' || state == 'x') return 0;
    const char* field = close + 2;  // field 3, the state
    for (int i = 3; i < 22 && field != nullptr; ++i) {
        field = std::strchr(field, ' ');
        if (field != nullptr) ++field;
    }
    if (field == nullptr) return 0;
    char* end = nullptr;
    const unsigned long long start = std::strtoull(field, &end, 10);
    if (end == field) return 0;
    return (static_cast<uint64_t>(start) << HostPidBits) | static_cast<uint64_t>(pid);
}

std::string HostModuleFolder(const void* address) {
    Dl_info info{};
    if (::dladdr(address, &info) == 0 || info.dli_fname == nullptr) return {};
    std::string file = info.dli_fname;
    if (file.find('/') == std::string::npos) {
        // The main program may be reported by bare name; its folder comes from /proc.
        char buffer[4096];
        ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
        if (n <= 0) return ".";
        file.assign(buffer, static_cast<std::size_t>(n));
    }
    std::size_t slash = file.rfind('/');
    return slash == 0 ? std::string("/") : file.substr(0, slash);
}
