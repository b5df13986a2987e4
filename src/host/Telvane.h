#pragma once
// The host object: finds the Telvane host and its generation (V4, V5 or none), loads the host
// libraries from its folder, knows the current job's folders and INI files, watches whether the
// host and its job run, and asks the host to close. One instance lives as long as the monitor;
// generation, folders and libraries are fixed when it is built. No member raises an error: a
// failing step is skipped and the member returns what it holds.
#include <cstdint>
#include <string>

#include "host/HostLibraries.h"
#include "host/TelvaneIO.h"
#include "host/TelvaneInterface.h"
#include "host/TelvaneMimic.h"
#include "host/TelvanePLC.h"
#include "host/TelvaneRecorder.h"
#include "host/TelvaneTags.h"

class HostDdeLabel;

class Telvane {
public:
    // Creates the sub-objects, detects the host, loads the libraries, works out the job folders
    // and files, then asks the libraries to read the host configuration.
    Telvane();
    // Releases the libraries it loaded: point, recorder, archive, command.
    ~Telvane();
    Telvane(const Telvane&) = delete;
    Telvane& operator=(const Telvane&) = delete;

    TelvaneIO IO{this};
    TelvaneRecorder Recorder{this};
    TelvaneInterface interface{this};
    TelvaneTags Tags{this};
    TelvaneMimic Mimic{this};
    TelvanePLC PLC{this};

    HostDdeLabel* DdeLabel() const { return ddeLabel_; }
    // Also hands the label to the point cursor.
    void DdeLabel(HostDdeLabel* label);
    const std::string& TelvaneFolder() const { return hostFolder_; }
    const std::string& TelvaneVersion() const { return versionText_; }
    std::string TelvaneStartupIniFile() const;
    bool Hostpts32Loaded() const { return libs_.Loaded(HostLibrary::Points); }
    bool Hostrec32Loaded() const { return libs_.Loaded(HostLibrary::Recorder); }
    bool HostarcLoaded() const { return libs_.Loaded(HostLibrary::Archive); }
    bool Hostcmd32Loaded() const { return libs_.Loaded(HostLibrary::Command); }
    void RefreshData();
    const std::string& JobDataFolder() const { return jobDataFolder_; }
    const std::string& JobFolder() const { return jobFolder_; }
    const std::string& JobReportFolder() const { return jobReportFolder_; }
    const std::string& JobSetupFolder() const { return jobSetupFolder_; }
    std::string JobAppSetupIniFile() const;
    const std::string& JobTempFolder() const { return jobTempFolder_; }
    std::string InstallName() const;
    std::string InstallComment() const;
    const std::string& TelvaneIniFile() const { return hostIniFile_; }
    const std::string& SetupIniFile() const { return setupIniFile_; }
    const std::string& JobWinIniFile() const { return jobIniFile_; }
    const std::string& JobRootFolder() const { return jobRootFolder_; }
    std::string JobName();
    bool JobRun();
    std::string TelvaneUserMode();
    bool VAny() const;
    bool V4() const;
    bool V5() const;
    // 4 or 5 while that host's libraries are loaded, else 0. Asked at every host point selection.
    int Generation() const {
        return (versionNumber_ == 4 || versionNumber_ == 5) && Hostpts32Loaded() && Hostrec32Loaded() ? versionNumber_
                                                                                                     : 0;
    }
    std::string Version() const;
    void LogMessage(const std::string& strModuleName, const std::string& strTitle);
    int32_t ImageInterfaceNumber() const;
    void ImageInterfaceNumber(int32_t value);
    bool V4Mode() const;
    bool TrayAppVisible(bool bolCloseWithTelvn, bool bolAddToTray) const;
    bool TelvnRun() const;
    bool LoaderRun() const;
    void TelvnClose() const;
    bool CancelFormUnLoads(bool bolCloseWithTelvane) const;

    // The loaded host libraries, for the direct calls of the clock synchronisation and watchdog.
    HostLibraries& Libraries() { return libs_; }

private:
    void DetectHost();
    void LoadLibraries();
    void WorkOutJobFiles();
    // Integer part of the version text's numeric value.
    int32_t VersionNumber() const;

    HostLibraries libs_;
    std::string versionText_;
    int32_t versionNumber_ = 0;  // integer part of versionText_
    std::string hostFolder_;
    std::string jobFolder_;
    std::string jobDataFolder_;
    std::string jobReportFolder_;
    std::string jobSetupFolder_;
    std::string jobRootFolder_;
    std::string jobTempFolder_;
    std::string hostIniFile_;
    std::string jobIniFile_;
    std::string setupIniFile_;
    HostDdeLabel* ddeLabel_ = nullptr;
};
