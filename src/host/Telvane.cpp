#include "host/Telvane.h"

#include <climits>
#include <cmath>
#include <filesystem>
#include <system_error>

#include "host/HostNumbering.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Prefix.h"
#include "platform/Programs.h"
#include "platform/WindowRegistry.h"
#include "support/Profile.h"
#include "support/VbConvert.h"
#include "support/VbText.h"
#include "support/clsIni.h"

namespace {

constexpr const char* V5WindowClass = "TelvaneV5";
constexpr const char* LoaderWindowClass = "LoaderWClass";
constexpr const char* SysconWindowClass = "SYSCON";
constexpr const char* TrayWindowClass = "Tray32WndClass";
constexpr const char* PrintServerWindowClass = "Korvex32printserver";

bool WindowExists(const char* className) { return FindWindowByClass(className).has_value(); }

// One key of an INI file with an empty default through a 255-character buffer, cut at the first
// NUL and trimmed of blanks at both ends.
std::string ReadIniValue(const std::string& fileName, const std::string& section, const std::string& key) {
    return Trim(CutAtNull(GetPrivateProfileString(section, key, "", 255, fileName)));
}

std::string IniValue(const std::string& fileName, const std::string& section, const std::string& key) {
    clsIni ini;
    ini.FileName(fileName);
    ini.AppName(section);
    ini.KeyName(key);
    return ini.GetIni();
}

std::string WinIniValue(const std::string& section, const std::string& key) {
    clsIni ini;
    ini.AppName(section);
    ini.KeyName(key);
    return ini.GetWinIni();
}

std::string WindowsWinIni() { return PathJoin(WindowsFolderText(), "win.ini"); }

// Whether a candidate host folder is the monitor's own folder: the texts compared in lower
// case, or, since a path text and a local path can name the same folder, the folders they resolve to.
bool SameFolder(const std::string& candidate, const std::string& ownFolder) {
    if (candidate.empty()) return false;
    if (LCase(candidate) == LCase(ownFolder)) return true;
    std::error_code ec;
    auto a = std::filesystem::weakly_canonical(LocalPath(candidate), ec);
    if (ec) return false;
    auto b = std::filesystem::weakly_canonical(LocalPath(ownFolder), ec);
    if (ec) return false;
    std::string as = a.string(), bs = b.string();
    while (as.size() > 1 && as.back() == '/') as.pop_back();
    while (bs.size() > 1 && bs.back() == '/') bs.pop_back();
    return LCase(as) == LCase(bs);
}

void MakeFolder(const std::string& folder) { (void)MakeFolderPath(folder); }

}  // namespace

Telvane::Telvane() {
    DetectHost();
    LoadLibraries();
    WorkOutJobFiles();
    RefreshData();
}

Telvane::~Telvane() {
    libs_.Release(HostLibrary::Points);
    libs_.Release(HostLibrary::Recorder);
    libs_.Release(HostLibrary::Archive);
    libs_.Release(HostLibrary::Command);
}

void Telvane::DetectHost() {
    std::string v5Candidate = WinIniValue("TelvnV5", "directory");
    std::string v4Candidate = WinIniValue("telvold", "directory");
    std::string ownFolder = ProgramFolder();
    int generation = 0;
    if (SameFolder(v5Candidate, ownFolder)) generation = 5;
    else if (SameFolder(v4Candidate, ownFolder)) generation = 4;
    else if (WindowExists(V5WindowClass)) generation = 5;
    else if (WindowExists(LoaderWindowClass)) generation = 4;
    else if (WindowExists(SysconWindowClass)) generation = 4;
    else if (!v5Candidate.empty() && FolderExists(v5Candidate)) generation = 5;
    else if (!v4Candidate.empty() && FolderExists(v4Candidate)) generation = 4;

    if (generation == 5) {
        hostFolder_ = v5Candidate;
        versionText_ = "5.0";
    } else if (generation == 4) {
        hostFolder_ = v4Candidate;
        versionText_ = "4.0";
    } else {
        hostFolder_ = ownFolder;
        versionText_.clear();
    }
    // The generation tests run on every host call of a scan: read the version text once.
    const double whole = std::floor(Val(versionText_));
    versionNumber_ = (whole >= INT32_MIN && whole <= INT32_MAX) ? static_cast<int32_t>(whole) : 0;
}

void Telvane::LoadLibraries() {
    std::error_code ec;
    std::filesystem::current_path(LocalPath(hostFolder_), ec);  // a missing folder stays where we are

    if (libs_.Load(HostLibrary::Points, PathJoin(hostFolder_, HostLibraryFileName(HostLibrary::Points)))) {
        std::string tagService = PathJoin(hostFolder_, "hostsvc.exe");
        if (versionText_ == "4.0" && FileExists(tagService)) (void)StartProgram(tagService, "", WindowShow::Minimised);
    }
    if (libs_.Load(HostLibrary::Recorder, PathJoin(hostFolder_, HostLibraryFileName(HostLibrary::Recorder))))
        libs_.SetRecorderVersion(VersionNumber());
    libs_.Load(HostLibrary::Archive, PathJoin(hostFolder_, HostLibraryFileName(HostLibrary::Archive)));
    libs_.Load(HostLibrary::Command, PathJoin(hostFolder_, HostLibraryFileName(HostLibrary::Command)));
}

void Telvane::WorkOutJobFiles() {
    bool v4 = versionText_ == "4.0" && Hostpts32Loaded();
    bool v5 = versionText_ == "5.0" && Hostpts32Loaded();
    auto fromHost = [&](VbResult<std::string> r, std::string& target) {
        if (r.Ok()) target = r.Value;
    };

    jobFolder_ = hostFolder_;
    if (v5) fromHost(libs_.GetJobDir(), jobFolder_);
    MakeFolder(jobFolder_);

    jobDataFolder_ = hostFolder_;
    if (v4) jobDataFolder_ = LCase(ReadIniValue(WindowsWinIni(), "telvold", "storedirectory"));
    else if (v5) fromHost(libs_.GetJobDataDir(), jobDataFolder_);
    MakeFolder(jobDataFolder_);

    jobReportFolder_ = jobFolder_ + "\\report";
    MakeFolder(jobReportFolder_);

    jobSetupFolder_ = hostFolder_;
    if (v5) fromHost(libs_.GetJobSetupDir(), jobSetupFolder_);
    MakeFolder(jobSetupFolder_);

    jobRootFolder_ = hostFolder_;
    if (v5) {
        fromHost(libs_.GetJobPath(), jobRootFolder_);
        if (jobRootFolder_.empty()) jobRootFolder_ = hostFolder_;
    }
    MakeFolder(jobRootFolder_);

    jobTempFolder_ = hostFolder_ + "\\temp";
    if (v5) fromHost(libs_.GetJobTempDir(), jobTempFolder_);
    MakeFolder(jobTempFolder_);

    hostIniFile_ = WindowsWinIni();
    if (v5) fromHost(libs_.GetMasterINIFile(), hostIniFile_);
    setupIniFile_ = hostFolder_ + "\\setup.ini";
    jobIniFile_ = hostIniFile_;
    if (v5) fromHost(libs_.GetJobINIFile(), jobIniFile_);
}

void Telvane::RefreshData() {
    if (Hostpts32Loaded()) libs_.ReadInputModule();
    if (Hostrec32Loaded()) libs_.ReloadRecorderSetup();
}

void Telvane::DdeLabel(HostDdeLabel* label) {
    ddeLabel_ = label;
    IO.DdeLabel(label);
}

std::string Telvane::TelvaneStartupIniFile() const { return hostFolder_ + "\\Startup.ini"; }

std::string Telvane::JobAppSetupIniFile() const { return jobSetupFolder_ + "\\" + ProgramName() + ".ini"; }

std::string Telvane::InstallName() const { return IniValue(TelvaneStartupIniFile(), "setup", "installname"); }
std::string Telvane::InstallComment() const { return IniValue(TelvaneStartupIniFile(), "setup", "installcomment"); }

int32_t Telvane::VersionNumber() const { return versionNumber_; }

bool Telvane::V4() const { return Generation() == 4; }
bool Telvane::V5() const { return Generation() == 5; }

bool Telvane::VAny() const { return Generation() != 0; }

std::string Telvane::Version() const { return V4() ? "V4" : V5() ? "V5" : ""; }

std::string Telvane::JobName() {
    if (versionText_ == "4.0") return ReadIniValue(WindowsWinIni(), "telvold", "name1");
    if (versionText_ == "5.0") {
        VbResult<std::string> r = libs_.GetJobName();
        return r.Ok() ? r.Value : std::string();
    }
    return {};
}

bool Telvane::JobRun() {
    if (V5()) {
        VbResult<int32_t> r = libs_.IsVersion5JobRunning();
        return r.Ok() && r.Value > 0;
    }
    if (V4()) return WindowExists(LoaderWindowClass);
    return false;
}

std::string Telvane::TelvaneUserMode() {
    if (V4()) return "V4 User Mode";
    if (V5()) {
        VbResult<int32_t> r = libs_.GetUserMode();
        if (!r.Ok()) return {};
        if (r.Value == 0) return "Single Job Mode";
        if (r.Value == 1) return "Terminal Server Mode";
    }
    return {};
}

void Telvane::LogMessage(const std::string& strModuleName, const std::string& strTitle) {
    libs_.SaveLogMessage(Left(strModuleName, 10), Left(strTitle, 60));
}

int32_t Telvane::ImageInterfaceNumber() const {
    std::string section = V4() ? "Image_Interface" : "Image_interface32";
    return SelectionNumber(Val(IniValue(jobIniFile_, section, "interfacenumber")));
}

void Telvane::ImageInterfaceNumber(int32_t value) {
    clsIni ini;
    ini.FileName(jobIniFile_);
    ini.AppName(V4() ? "Image_Interface" : "Image_interface32");
    ini.KeyName("interfacenumber");
    ini.SetIni(std::to_string(value));
}

bool Telvane::V4Mode() const { return IniValue(jobIniFile_, "Setup.Manager", "V4Mode") == "1"; }

bool Telvane::TrayAppVisible(bool bolCloseWithTelvn, bool bolAddToTray) const {
    if (!(bolCloseWithTelvn && bolAddToTray)) return true;
    if (V4()) {
        if (WindowExists(LoaderWindowClass) && !IsWindowVisible(LoaderWindowClass)) return false;
    } else if (V5()) {
        if (WindowExists(V5WindowClass)) return WindowExists(PrintServerWindowClass) && IsWindowVisible(PrintServerWindowClass);
    }
    return true;
}

bool Telvane::TelvnRun() const { return V4() ? WindowExists(LoaderWindowClass) : WindowExists(V5WindowClass); }

bool Telvane::LoaderRun() const { return WindowExists(LoaderWindowClass); }

void Telvane::TelvnClose() const {
    if (WindowExists(TrayWindowClass)) PostRegisteredMessage(TrayWindowClass, "APPCLOSE");
}

bool Telvane::CancelFormUnLoads(bool bolCloseWithTelvane) const {
    if (bolCloseWithTelvane && TelvnRun()) {
        TelvnClose();
        return true;
    }
    return false;
}
