#pragma once
// Moves the settings and setup files of older installations to their current names and places,
// removes obsolete settings sections, points the settings at the moved files and records each
// moved file in the host's backup list. Run once at every start, before the settings are read.
#include <string>

#include "files/UpgradeHost.h"

class clsVoltarisUpgrade {
public:
    // Each property starts as the job's setup folder followed by its file name. host may be null
    // (no host): the properties are then bare names under an empty folder and Update does nothing.
    explicit clsVoltarisUpgrade(const UpgradeHost* host);

    const std::string& SetupIniFile() const { return setupIniFile_; }
    void SetupIniFile(const std::string& value) { setupIniFile_ = value; }
    const std::string& SetupMonitorFile() const { return setupMonitorFile_; }
    void SetupMonitorFile(const std::string& value) { setupMonitorFile_ = value; }
    const std::string& SetupControllerFile() const { return setupControllerFile_; }
    void SetupControllerFile(const std::string& value) { setupControllerFile_ = value; }
    const std::string& SetupTargetFile() const { return setupTargetFile_; }
    void SetupTargetFile(const std::string& value) { setupTargetFile_ = value; }

    // Runs the upgrade. Every step that fails is skipped without a word.
    void Update();

private:
    void UpgradeFiles();
    // The settings file from its old names and places.
    void UpgradeSettingsFile();
    // Moves the first existing candidate over current, as the tag setup, controller and target
    // files are moved; returns true when a file was moved.
    bool UpgradeOneFile(const std::string& alias, const std::string& old, const std::string& current);
    void RegisterBackupFile(const std::string& path);

    const UpgradeHost* host_;
    std::string jobSetupFolder_;
    std::string setupIniFile_;
    std::string setupMonitorFile_;
    std::string setupControllerFile_;
    std::string setupTargetFile_;
};
