#pragma once
// Shared pieces of the data-file tests: a temporary prefix, a view that records what it is asked,
// fixed host folders, and byte helpers that know nothing of the code under test.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "common/TempPrefix.h"
#include "files/HostFolders.h"
#include "files/SettingsView.h"
#include "files/StartUpFileInfo.h"
#include "files/StoreContext.h"
#include "files/StoreFileName.h"
#include "files/StoreFileView.h"
#include "platform/DateSerial.h"
#include "platform/Paths.h"
#include "platform/Prefix.h"

namespace filestest {

namespace fs = std::filesystem;

inline void WriteBytes(const fs::path& path, const std::string& bytes) { TempPrefix::Write(path, bytes); }
inline std::string ReadBytes(const fs::path& path) { return TempPrefix::Read(path); }

// A fresh prefix and program folder per test.
class TempPrefixTest : public ::testing::Test {
protected:
    // Lines of the main log containing text.
    int LogLinesWith(const std::string& text) const
    {
        std::istringstream in(LogText());
        int n = 0;
        for (std::string line; std::getline(in, line);)
            n += line.find(text) != std::string::npos;
        return n;
    }
    int LogLines() const { return LogLinesWith(""); }
    std::string LogText() const { return ReadBytes(root / "program" / "voltamon.log"); }

    // A tool built beside the tests, or "" when it is not.
    static std::string ToolPath(const std::string& program)
    {
        const char* bin = std::getenv("VT_BIN_DIR");
        return bin && fs::exists(fs::path(bin) / program) ? (fs::path(bin) / program).string() : "";
    }
    // Runs a tool with its arguments as given (quote paths): the exit code, fills out and err.
    int Run(const std::string& program, const std::string& args)
    {
        const int status = std::system((ToolPath(program) + " " + args + " > '" + (root / "out").string() + "' 2> '" +
                                        (root / "err").string() + "'").c_str());
        out = ReadBytes(root / "out");
        err = ReadBytes(root / "err");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    static std::string Quoted(const fs::path& path) { return "'" + path.string() + "'"; }

    TempPrefix prefix;
    fs::path root = prefix.Root();
    fs::path drive = root / "prefix" / "drives" / "c";
    std::string out, err;
};

// Little-endian values at absolute offsets, growing the buffer when needed.
inline void Put(std::string& b, std::size_t off, uint64_t v, int n)
{
    if (b.size() < off + static_cast<std::size_t>(n))
        b.resize(off + static_cast<std::size_t>(n), '\0');
    for (int i = 0; i < n; ++i)
        b[off + static_cast<std::size_t>(i)] = static_cast<char>((v >> (8 * i)) & 0xFF);
}
inline void Put16(std::string& b, std::size_t off, int v) { Put(b, off, static_cast<uint16_t>(v), 2); }
inline void Put32(std::string& b, std::size_t off, int64_t v) { Put(b, off, static_cast<uint32_t>(v), 4); }
inline void PutF32(std::string& b, std::size_t off, float f)
{
    uint32_t u;
    std::memcpy(&u, &f, 4);
    Put(b, off, u, 4);
}
inline void PutText(std::string& b, std::size_t off, const std::string& text, std::size_t width)
{
    std::string field = text.substr(0, width);
    field.resize(width, ' ');
    if (b.size() < off + width)
        b.resize(off + width, '\0');
    b.replace(off, width, field);
}
inline uint64_t Get(const std::string& b, std::size_t off, int n)
{
    uint64_t v = 0;
    for (int i = 0; i < n; ++i)
        v |= static_cast<uint64_t>(static_cast<unsigned char>(b.at(off + static_cast<std::size_t>(i)))) << (8 * i);
    return v;
}
inline int16_t Get16(const std::string& b, std::size_t off) { return static_cast<int16_t>(Get(b, off, 2)); }
inline int32_t Get32(const std::string& b, std::size_t off) { return static_cast<int32_t>(Get(b, off, 4)); }
template <typename T> T GetAs(const std::string& b, std::size_t off)
{
    const uint64_t u = Get(b, off, sizeof(T));
    T value;
    std::memcpy(&value, &u, sizeof(T));  // little-endian host
    return value;
}
inline float GetF32(const std::string& b, std::size_t off) { return GetAs<float>(b, off); }

// Records what it is asked; window events and the wait window may run a test's hook.
class RecordingView : public StoreFileView, public SettingsView {
public:
    void ShowWait(const std::string& caption) override
    {
        waits.push_back(caption);
        if (onWait)
            onWait();
    }
    void SetWaitProgress(const std::string& text) override { progress.push_back(text); }
    void DoEvents() override
    {
        ++doEvents;
        if (onEvents)
            onEvents();
    }
    void SetGridCell(int row, int column, const std::string& text) override { grid[{row, column}] = text; }
    void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) override
    {
        messages.push_back({text, title, icon});
    }
    void EndProgram() override { ended = true; }
    void StartProgram(const std::string& program, const std::string& args) override { started.push_back(program + " " + args); }
    void CloseWait() override {}
    void SetStatusText(const std::string& text) override { status.push_back(text); }
    void ShowWaitMessage(const std::string& text) override { waitMessages.push_back(text); }
    void SetViewLogAvailable(bool available) override { viewLog = available; }

    std::string Cell(int row, int column) const
    {
        const auto it = grid.find({row, column});
        return it == grid.end() ? "<unset>" : it->second;
    }

    struct Message {
        std::string text, title;
        MessageIcon icon;
    };
    std::vector<std::string> waits, progress, started, status, waitMessages;
    std::map<std::pair<int, int>, std::string> grid;
    std::vector<Message> messages;
    int doEvents = 0;
    bool ended = false, viewLog = false;
    std::function<void()> onEvents, onWait;
};

class FixedHost : public HostFolders {
public:
    std::string JobDataFolder() const override { return data; }
    std::string TelvaneFolder() const override { return telvane; }
    std::string data = "C:\\Telvane\\Job1\\Data";
    std::string telvane = "C:\\Telvane";
};

// Where a store file's tag data starts, worked out from the record sizes: header 199, tariff
// 206 + 66 M, pair table 62, center 38, tag summary 62, three int16 per tag, fixed entry 30.
constexpr int64_t TagDataStart(int n, int m, int k, int maxTags)
{
    return 199 + int64_t{n} * (206 + 66 * m) + 20 * 62 + k * 38 + maxTags * 62 + maxTags * 6 + 67 * 30 + 1;
}

// A tag setup file laid out by hand: offsets computed here from the record sizes, not by the reader.
struct MtgImage {
    int n, m, k;
    std::string bytes;

    MtgImage(int tariffs, int entries, int centers, int version = 250, int periods = 48)
        : n(tariffs), m(entries), k(centers), bytes(112196 + 67 * 30, '\0')
    {
        for (int i = 0; i < 6; ++i)
            Put16(bytes, 2 * static_cast<std::size_t>(i), std::array<int, 6>{version, 7, periods, n, m, k}[i]);
    }
    std::size_t Tariff(int i) const { return 12 + static_cast<std::size_t>(i) * (206 + 66 * m); }
    std::size_t Entry(int i, int e) const { return Tariff(i) + 64 + 66 * static_cast<std::size_t>(e); }
    std::size_t Pair(int p) const { return Tariff(n) + 62 * static_cast<std::size_t>(p - 1); }
    std::size_t CenterAt(int c) const { return Pair(21) + 38 * static_cast<std::size_t>(c - 1); }
    std::size_t Tag(int t) const { return CenterAt(k + 1) + static_cast<std::size_t>(t - 1) * (254 + 8 * m); }
    std::size_t TagTail(int t) const { return Tag(t) + 230 + 8 * static_cast<std::size_t>(m); }
    std::size_t Fixed(int f) const { return 112196 + 30 * static_cast<std::size_t>(f); }

    void OnlineTag(int t, const std::string& name, int tagType, int scanType)
    {
        PutText(bytes, Tag(t), name, 24);
        Put16(bytes, Tag(t) + 24, 1);
        Put16(bytes, Tag(t) + 50, tagType);
        Put16(bytes, Tag(t) + 114, scanType);
    }
};

// The monitor's tables, values, settings and flags as the store-file code sees them, with the job
// folders of FixedHost under the prefix's drive C.
class StoreTest : public TempPrefixTest {
protected:
    fs::path SetupFolder() const { return drive / "Telvane" / "Job1" / "Setup"; }
    fs::path DataFolder() const { return drive / "Telvane" / "Job1" / "Data"; }
    void WriteMtg(const std::string& bytes) const { WriteBytes(SetupFolder() / "Site.MTG", bytes); }

    // Start-up on the tag setup file written last: the store file of the month of now, then its check.
    SetupLoadResult Start(DateTime now)
    {
        fs::create_directories(DataFolder());
        state.SetupMtgFile = "C:\\Telvane\\Job1\\Setup\\Site.MTG";
        state.SetupIniFile = "C:\\Telvane\\Job1\\Setup\\VoltarisSetup.ini";
        state.StartingUp = 0;
        settings.StoreFilePath = GetStoreFileName(host.data, settings.StoreFilePrefix, now).Value;
        return StartUpFileInfo(c, now);
    }

    SetupData setup;
    TagValues values;
    MonitorSettings settings;
    MonitorState state;
    FixedHost host;
    RecordingView view;
    StoreContext c{setup, values, settings, state, host, view};
};

} // namespace filestest
