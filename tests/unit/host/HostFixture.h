#pragma once
// A fake Telvane host for tests: a temporary prefix and program folder (environment set for the
// life of the fixture), the host's folder with copies of the built host libraries, its system
// profile entries, and direct access to the host's point state.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "HostState.h"
#include "common/TempPrefix.h"
#include "host/Telvane.h"
#include "platform/Paths.h"
#include "platform/WindowRegistry.h"
#include "support/Profile.h"

#define REQUIRE_LIBRARIES() \
    if (!HostFixture::LibrariesBuilt()) GTEST_SKIP() << "host libraries not built in VT_BIN_DIR"

class HostFixture {
public:
    static inline const std::vector<std::string> AllLibraries = {"hostpts32.dll", "hostrec32.dll", "hostarc.dll",
                                                                 "hostcmd32.dll"};

    HostFixture() : oldWorkingFolder_(std::filesystem::current_path()) {}
    ~HostFixture() {
        state_.Close();
        UnregisterAllWindows();
        std::error_code ec;
        std::filesystem::current_path(oldWorkingFolder_, ec);
    }
    HostFixture(const HostFixture&) = delete;
    HostFixture& operator=(const HostFixture&) = delete;

    // Where the built libraries are: $VT_BIN_DIR, else the test program's own folder (the
    // build puts programs and libraries in one folder).
    static std::filesystem::path BinDir() {
        const char* dir = std::getenv("VT_BIN_DIR");
        if (dir != nullptr && *dir != '\0') return std::filesystem::path(dir);
        std::error_code ec;
        return std::filesystem::read_symlink("/proc/self/exe", ec).parent_path();
    }

    static bool LibrariesBuilt() {
        for (const std::string& name : AllLibraries)
            if (!std::filesystem::exists(BinDir() / name)) return false;
        return true;
    }

    // Installs a host of generation 4 or 5 in folderText (default "C:\telvold" for V4 and
    // "C:\Telvane" for V5): the folder, copies of the named libraries, the profile's "directory"
    // entry (section "telvold" or "TelvnV5"), and for V5 the job folders in the point state.
    bool Install(int generation, std::string folderText = {}, const std::vector<std::string>& libraries = AllLibraries) {
        if (folderText.empty()) folderText = generation == 4 ? "C:\\telvold" : "C:\\Telvane";
        folderText_ = folderText;
        folder_ = LocalPath(folderText);
        std::error_code ec;
        std::filesystem::create_directories(folder_, ec);
        for (const std::string& name : libraries) {
            std::filesystem::copy_file(BinDir() / name, folder_ / name, std::filesystem::copy_options::overwrite_existing, ec);
            if (ec) return false;
        }
        WriteProfileString(generation == 4 ? "telvold" : "TelvnV5", "directory", folderText.c_str());
        if (!state_.Open(folder_.string())) return false;
        state_.SetGeneration(generation);
        state_.SetRecorderCount(generation == 4 ? 5 : 1);
        if (generation == 5) SetV5Job(folderText + "\\Job1");
        return true;
    }

    // Job folders and files a V5 host reports for a job in jobFolderText.
    void SetV5Job(const std::string& jobFolderText) {
        state_.SetJobText(HostJobText::JobDir, jobFolderText);
        state_.SetJobText(HostJobText::JobDataDir, jobFolderText + "\\Data");
        state_.SetJobText(HostJobText::JobSetupDir, jobFolderText + "\\Setup");
        state_.SetJobText(HostJobText::JobPath, jobFolderText);
        state_.SetJobText(HostJobText::JobTempDir, jobFolderText + "\\Temp");
        state_.SetJobText(HostJobText::MasterIniFile, folderText_ + "\\Telvane.ini");
        state_.SetJobText(HostJobText::JobIniFile, jobFolderText + "\\Job.ini");
        state_.SetJobText(HostJobText::JobName, "Job1");
    }

    // The point state of the installed host's folder.
    HostState& State() { return state_; }
    const std::string& FolderText() const { return folderText_; }
    const std::filesystem::path& Folder() const { return folder_; }
    std::filesystem::path PrefixDir() const { return prefix_.Prefix(); }
    std::filesystem::path ProgramDir() const { return prefix_.ProgramDir(); }
    static void WriteFile(const std::filesystem::path& path, const std::string& content) { TempPrefix::Write(path, content); }

private:
    TempPrefix prefix_;
    std::filesystem::path oldWorkingFolder_;
    std::filesystem::path folder_;
    std::string folderText_;
    HostState state_;
};

// Tests of an installed host of one generation, with the monitor's host object that found it.
template <int Generation>
class InstalledHost : public ::testing::Test {
protected:
    void SetUp() override {
        REQUIRE_LIBRARIES();
        ASSERT_TRUE(f.Install(Generation));
        host.emplace();
    }
    TelvaneIO& io() { return host->IO; }
    HostFixture f;
    HostState& s = f.State();
    std::optional<Telvane> host;
};
using V4Host = InstalledHost<4>;
using V5Host = InstalledHost<5>;

// An in-memory list box for the host layer's list members.
#include "host/ListControl.h"

class MemoryList : public ListControl {
public:
    struct Entry {
        std::string Text;
        int32_t Data;
    };
    std::vector<Entry> Entries;
    int32_t Selected = -1;

    void Clear() override {
        Entries.clear();
        Selected = -1;
    }
    void AddItem(const std::string& text, int32_t itemData) override { Entries.push_back({text, itemData}); }
    int32_t ListCount() const override { return static_cast<int32_t>(Entries.size()); }
    std::string List(int32_t index) const override { return Valid(index) ? Entries[index].Text : std::string(); }
    void SetList(int32_t index, const std::string& text) override {
        if (Valid(index)) Entries[index].Text = text;
    }
    int32_t ItemData(int32_t index) const override { return Valid(index) ? Entries[index].Data : 0; }
    int32_t ListIndex() const override { return Selected; }
    void SetListIndex(int32_t index) override { Selected = Valid(index) ? index : -1; }

private:
    bool Valid(int32_t index) const { return index >= 0 && index < ListCount(); }
};
