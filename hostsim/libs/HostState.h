#pragma once
// The stand-in host's point state: one memory-mapped file in the host folder, shared by every
// process that loads the host libraries (the monitor) or runs the host (telvane-host). A reading the
// host sets is what the monitor reads; a rate the monitor writes is what the host shows.
//
// Layout rules: fixed-size records, numbers naturally aligned and accessed atomically, texts
// fixed-size byte fields (not necessarily NUL-terminated) read and written under the state's
// process-shared lock. All indexes below are zero-based, as the library calls pass them.
// Change the layout only by appending fields or tables and raising HostStateLayoutVersion.
#include <pthread.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

inline constexpr char HostStateFileName[] = "hoststate.bin";
inline constexpr uint32_t HostStateMagic = 0x53485456u;  // "VTHS"
inline constexpr uint32_t HostStateLayoutVersion = 1;

inline constexpr int HostMaxTags = 5000;        // V5 tags; V4 input tags are the first 1024
inline constexpr int HostMaxV4InputTags = 1024;
inline constexpr int HostMaxOutputTags = 2048;  // V4 output tags (tag numbers 2001 to 4048)
inline constexpr int HostMaxLines = 1000;       // V5 lines; V4 lines are the first 500
inline constexpr int HostMaxV4Lines = 500;
inline constexpr int HostMaxPages = 100;        // V5 pages; V4 uses 50 (5 recorders of 10)
inline constexpr int HostMaxRecorders = 5;
inline constexpr int HostMaxRecRelays = 320;    // recorder alarm relays (V4 uses 160)
inline constexpr int HostMaxTagRelays = 512;    // V4 tag alarm relays
inline constexpr int HostTextSize = 128;        // names, labels, addresses
inline constexpr int HostParamTextSize = 60;
inline constexpr int HostParamSlots = 16;       // set-up texts kept per point
inline constexpr int HostPageParams = 8;        // page set-up codes 0..7
inline constexpr int HostPathSize = 260;
inline constexpr int HostLogEntries = 256;
inline constexpr int HostLogModuleSize = 16;
inline constexpr int HostLogTitleSize = 64;

// One set-up text of a point, by the host's parameter code (Code 0 = free slot).
struct HostParamSlot {
    int32_t Code;
    char Text[HostParamTextSize];
};

// A tag, a V4 output tag or a recorder line.
struct HostPoint {
    float Reading;            // live value
    float ReadValue;          // V4 output: the value latched by ReadTagOutputValue
    int32_t Active;           // 1 = yes
    int32_t InError;
    int32_t InAlarm;
    int32_t LastInsertStack;  // insert-stack argument of the last output read or write
    uint32_t WriteCount;      // writes of the reading through the libraries
    int32_t AlarmCounting;    // line statistics served over DDE
    int32_t AlarmTimer;
    float DayMin;
    float DayMax;
    float GrandMin;
    float GrandMax;
    int32_t Reserved0;
    double DayTotal;
    double GrandTotal;
    char Name[HostTextSize];     // tag name or line label
    char Address[HostTextSize];  // line address (tags keep theirs as set-up text 11 / 106)
    HostParamSlot Params[HostParamSlots];
};

struct HostPage {
    int32_t Active;
    float Params[HostPageParams];  // set-up by code; 2 = operating mode
    int32_t Reserved0;
    char Label[HostTextSize];
};

struct HostRelay {
    int32_t Active;
    int32_t State;  // recorder relays: relay state served over DDE
    char Label[HostTextSize];
    char Address[HostTextSize];
};

struct HostLogEntry {
    uint64_t Sequence;  // 1-based number of the message
    char Module[HostLogModuleSize];
    char Title[HostLogTitleSize];
};

// What the job folders and files calls return (path texts such as "C:\Telvane\Job1").
enum class HostJobText { JobDir, JobDataDir, JobSetupDir, JobPath, JobTempDir, MasterIniFile, JobIniFile, JobName, Count };

enum class HostTable { Tags, OutputTags, Lines };
enum class HostFlag { Active, InError, InAlarm };
enum class HostTotal { DayTotal, GrandTotal };
enum class HostStat { DayMin, DayMax, GrandMin, GrandMax };
enum class HostRelayTable { Recorder, Tag };

struct HostStateData {
    uint32_t Magic;
    uint32_t LayoutVersion;
    uint64_t Size;  // sizeof(HostStateData)
    pthread_mutex_t TextLock;  // process-shared, robust
    char LockPad[64 - (16 + sizeof(pthread_mutex_t)) % 64];  // the lock gets cache lines of its own

    int32_t Generation;       // 4 or 5, set by the host; 0 = not set
    int32_t JobRunning;       // > 0 = the host job runs
    int32_t UserMode;         // V5: 0 single job, 1 terminal server
    int32_t RecorderCount;
    int32_t RecorderVersion;  // last SetRecorderVersion argument
    int32_t DialogAnswer;     // tag-number dialogs answer this when > 0, else the number passed in
    uint32_t ReadInputModuleCount;
    uint32_t ReloadRecorderSetupCount;
    uint64_t LogCount;        // messages written to the host log so far
    uint64_t JobOwner;        // the process that set the job running (HostProcessIdentity); 0 = none

    char JobTexts[static_cast<int>(HostJobText::Count)][HostPathSize];
    HostPoint Tags[HostMaxTags];
    HostPoint OutputTags[HostMaxOutputTags];
    HostPoint Lines[HostMaxLines];
    HostPage Pages[HostMaxPages];
    HostRelay RecRelays[HostMaxRecRelays];
    HostRelay TagRelays[HostMaxTagRelays];
    HostLogEntry Log[HostLogEntries];
};

// Atomic access to the numbers of the mapping (no torn values between processes).
template <class T>
inline T HostLoad(const T& field) {
    T out;
    __atomic_load(const_cast<T*>(&field), &out, __ATOMIC_ACQUIRE);
    return out;
}
template <class T>
inline void HostStore(T& field, T value) {
    __atomic_store(&field, &value, __ATOMIC_RELEASE);
}

// A mapping of the state file of one host folder. Every accessor is safe on a closed state or an
// index out of range: reads give 0 / empty, writes do nothing.
class HostState {
public:
    HostState() = default;
    ~HostState();
    HostState(const HostState&) = delete;
    HostState& operator=(const HostState&) = delete;

    // Maps <hostFolder>/hoststate.bin (a local path), creating it when missing and re-creating it
    // when it is too short, of another size or layout, or not ours. False when the folder is unusable.
    bool Open(const std::string& hostFolder);
    void Close();
    bool IsOpen() const { return data_ != nullptr; }
    const std::string& FilePath() const { return filePath_; }
    // Zeroes the whole state (points, texts, log) in place, as a freshly created file.
    void Reset();

    // The raw mapping, for callers that need a field without an accessor; nullptr when closed.
    HostStateData* Data() { return data_; }

    // Points. index is zero-based; the table's size is its Host* constant.
    HostPoint* Point(HostTable table, int index);
    static int TableSize(HostTable table);
    float Reading(HostTable table, int index);
    void SetReading(HostTable table, int index, float value);  // also counts a write
    float ReadValue(HostTable table, int index);
    void SetReadValue(HostTable table, int index, float value);
    bool Flag(HostTable table, int index, HostFlag flag);
    void SetFlag(HostTable table, int index, HostFlag flag, bool on);
    double Total(HostTable table, int index, HostTotal which);
    void SetTotal(HostTable table, int index, HostTotal which, double value);
    float Stat(HostTable table, int index, HostStat which);
    void SetStat(HostTable table, int index, HostStat which, float value);
    int32_t LastInsertStack(HostTable table, int index);
    void SetLastInsertStack(HostTable table, int index, int32_t value);
    uint32_t WriteCount(HostTable table, int index);
    int32_t AlarmCounting(HostTable table, int index);
    void SetAlarmCounting(HostTable table, int index, int32_t value);
    int32_t AlarmTimer(HostTable table, int index);
    void SetAlarmTimer(HostTable table, int index, int32_t value);
    std::string Name(HostTable table, int index);
    void SetName(HostTable table, int index, std::string_view text);
    std::string Address(HostTable table, int index);
    void SetAddress(HostTable table, int index, std::string_view text);
    // Set-up text of a parameter code; empty when the point has none for that code.
    std::string Param(HostTable table, int index, int32_t code);
    bool HasParam(HostTable table, int index, int32_t code);
    // Stores (or replaces) the text of a code; false when every slot of the point is taken.
    bool SetParam(HostTable table, int index, int32_t code, std::string_view text);

    // Pages (zero-based page index, 0..99).
    bool PageActive(int page);
    void SetPageActive(int page, bool on);
    float PageParam(int page, int code);
    void SetPageParam(int page, int code, float value);
    std::string PageLabel(int page);
    void SetPageLabel(int page, std::string_view text);

    // Recorder alarm relays (0..319) and V4 tag alarm relays (0..511).
    HostRelay* Relay(HostRelayTable table, int index);
    bool RelayActive(HostRelayTable table, int index);
    void SetRelayActive(HostRelayTable table, int index, bool on);
    int32_t RelayState(HostRelayTable table, int index);
    void SetRelayState(HostRelayTable table, int index, int32_t value);
    std::string RelayLabel(HostRelayTable table, int index);
    void SetRelayLabel(HostRelayTable table, int index, std::string_view text);
    std::string RelayAddress(HostRelayTable table, int index);
    void SetRelayAddress(HostRelayTable table, int index, std::string_view text);

    // Host-wide values.
    int32_t Generation();
    void SetGeneration(int32_t value);
    // The job flag as the libraries answer it: a job whose owner has died without stopping it
    // (killed) reads as 0. A flag set with no owner recorded is taken as it stands. The owner is
    // looked at no more than once a second per state; the answer in between is the last one.
    int32_t JobRunning();
    void SetJobRunning(int32_t value);
    // Makes the calling process the job's owner; the host does this before setting the job running.
    void ClaimJob();
    uint64_t JobOwner();
    int32_t UserMode();
    void SetUserMode(int32_t value);
    int32_t RecorderCount();
    void SetRecorderCount(int32_t value);
    int32_t RecorderVersion();
    void SetRecorderVersion(int32_t value);
    int32_t DialogAnswer();
    void SetDialogAnswer(int32_t value);
    uint32_t ReadInputModuleCount();
    void CountReadInputModule();
    uint32_t ReloadRecorderSetupCount();
    void CountReloadRecorderSetup();
    std::string JobText(HostJobText which);
    void SetJobText(HostJobText which, std::string_view text);

    // The host's own log: a ring of the last HostLogEntries messages.
    void AppendLog(std::string_view module, std::string_view title);
    uint64_t LogCount();
    // Message number sequence (1-based); false when it has left the ring or was never written.
    bool LogEntry(uint64_t sequence, std::string& module, std::string& title);

    // Text fields of the mapping, under the lock. ReadField stops at the first NUL or at size.
    std::string ReadField(const char* field, std::size_t size);
    void WriteField(char* field, std::size_t size, std::string_view text);

private:
    void Lock();
    void Unlock();

    HostStateData* data_ = nullptr;
    std::string filePath_;
    // The last look at the job's owner.
    std::mutex ownerLock_;
    uint64_t checkedOwner_ = 0;
    bool ownerAlive_ = false;
    std::chrono::steady_clock::time_point checkedAt_{};
};

// A live process as a number that a reused pid does not repeat: its pid and its start time since
// boot. 0 when there is no such process, or it has ended (a zombie counts as ended).
uint64_t HostProcessIdentity(long pid);

// Folder holding the shared object or program that contains address (dladdr), as a local path.
std::string HostModuleFolder(const void* address);
