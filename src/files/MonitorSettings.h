#pragma once
// The monitor's operating settings from the settings INI file ("VoltarisSetup.ini").
#include <cstdint>
#include <string>

#include "files/HostFolders.h"
#include "files/SettingsView.h"
#include "platform/DateSerial.h"
#include "support/clsClockSync.h"
#include "support/clsWatchdog.h"

// Fixed-width texts keep their full width: the value, a NUL when it is shorter, then whatever the
// field held before (all NULs at first). Only the part before the first NUL is the value.
struct MonitorSettings {
    std::string DiagFile = std::string(80, '\0');
    std::string errorlog = std::string(3, '\0');
    std::string StoreFilePrefix;
    std::string StoreFilePath;
    int16_t ScanLogging = 0;
    std::string headertext = std::string(50, '\0');
    std::string SCADArun = std::string(3, '\0');
    int16_t currencychr = 0;
    int16_t ScanSeconds = 0;
    int16_t AverageScans = 0;
    int16_t Demo = 0;
    std::string BackupDir;
    int16_t ShedMeter = 0;
    int16_t UnShedMeter = 0;
    // Non-zero: the tag values are kept after every scan and taken back by a restart in the same period.
    int16_t ResumeAfterRestart = 0;
};

// The store file name prefix as the settings file gives it: blanks trimmed, backslashes made "-",
// "Voltaris" when empty. The report program finds the job's store file with it too.
std::string ReadStoreFilePrefix(const std::string& setupIniFile);

// Reads every key of setupIniFile into settings, hands the clock-sync and watchdog keys to their
// objects and builds the store file path for the month of now. Errors are reported as
// "GetIniData, Error n/ message" and reading goes on with the next key.
void GetIniData(const std::string& setupIniFile, MonitorSettings& settings, clsClockSync& clockSync,
                clsWatchdog& watchdog, const HostFolders& host, SettingsView& view, DateTime now);
