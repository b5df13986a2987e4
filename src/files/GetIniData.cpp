#include <algorithm>

#include "files/MonitorSettings.h"
#include "files/StoreFileName.h"
#include "platform/Files.h"
#include "support/Log.h"
#include "support/Profile.h"
#include "support/VbConvert.h"
#include "support/VbText.h"

namespace {

const char* const General = "general";

// The value read through a buffer of bufferSize, placed into a fixed-width field.
void ReadIntoField(std::string& field, const char* section, const char* key, const char* defaultValue,
                   int bufferSize, const std::string& file)
{
    const std::string value = GetPrivateProfileString(section, key, defaultValue, bufferSize, file);
    const std::size_t n = std::min(value.size(), field.size());
    std::copy_n(value.begin(), n, field.begin());
    if (n < field.size())
        field[n] = '\0';
}

// A key read as text and converted as far as it forms a number, rounded (halves to even). A value
// out of range is reported and leaves the target as it was.
template <class Assign>
void ReadRounded(const char* section, const char* key, const char* defaultValue, const std::string& file,
                 Assign assign)
{
    const VbResult<int16_t> v = CInt(Val(GetPrivateProfileString(section, key, defaultValue, 10, file)));
    if (v.Ok())
        assign(v.Value);
    else
        ReportError("GetIniData", v.Error);
}

// Whether text starts (after blanks) with something Val can read as a number.
bool StartsWithNumber(const std::string& text)
{
    for (char c : text) {
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r')
            continue;
        return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == '&';
    }
    return false;
}

} // namespace

std::string ReadStoreFilePrefix(const std::string& setupIniFile)
{
    std::string prefix =
        Trim(CutAtNull(GetPrivateProfileString(General, "StoreFilePrefix", "Vtrs", 80, setupIniFile)));
    std::replace(prefix.begin(), prefix.end(), '\\', '-');
    return prefix.empty() ? "Voltaris" : prefix;
}

void GetIniData(const std::string& setupIniFile, MonitorSettings& s, clsClockSync& clockSync,
                clsWatchdog& watchdog, const HostFolders& host, SettingsView& view, DateTime now)
{
    const std::string& file = setupIniFile;
    view.ShowWaitMessage("Getting INI Data");

    ReadIntoField(s.DiagFile, General, "DiagFile", "c:\\lumdiag.txt", 80, file);
    ReadIntoField(s.errorlog, General, "errorlog", "off", 4, file);

    s.StoreFilePrefix = ReadStoreFilePrefix(file);
    const VbResult<std::string> storeFile = GetStoreFileName(host.JobDataFolder(), s.StoreFilePrefix, now);
    if (!storeFile.Ok())
        ReportError("GetIniData", storeFile.Error);
    s.StoreFilePath = storeFile.Value;

    const std::string logScans = GetPrivateProfileString(General, "LogScans", "0", 80, file);
    if (!StartsWithNumber(logScans))
        ReportError("GetIniData", VbError(ErrTypeMismatch));
    s.ScanLogging = Val(logScans) == 1 ? 1 : 0;
    view.SetViewLogAvailable(s.ScanLogging == 1);

    ReadIntoField(s.headertext, General, "headertext", "", 51, file);
    ReadIntoField(s.SCADArun, General, "SCADArun", "yes", 4, file);
    const VbResult<int16_t> currency = CInt(GetPrivateProfileInt(General, "currencychr", 36, file));
    if (currency.Ok())
        s.currencychr = currency.Value;
    else
        ReportError("GetIniData", currency.Error);

    int scan = GetPrivateProfileInt(General, "timer1scan", 30, file);
    if (scan < 5) {
        scan = 5;
        if (!WritePrivateProfileString(General, "timer1scan", "5", file))
            ReportError("GetIniData", VbError(ErrPermissionDenied));
    } else if (scan > 60) {
        scan = 60;
        if (!WritePrivateProfileString(General, "timer1scan", "60", file))
            ReportError("GetIniData", VbError(ErrPermissionDenied));
    }
    s.ScanSeconds = static_cast<int16_t>(scan);

    ReadRounded(General, "AverageScans", "5", file, [&](int16_t v) { s.AverageScans = v; });
    const VbResult<int16_t> demo = CInt(GetPrivateProfileInt(General, "Demo", 0, file));
    if (demo.Ok())
        s.Demo = demo.Value;
    else
        ReportError("GetIniData", demo.Error);

    ReadRounded("Monitor_PC_Clock_Sync", "Offset", "0", file, [&](int16_t v) { clockSync.Offset(v); });
    ReadRounded("Monitor_PC_Clock_Sync", "InputTag", "0", file, [&](int16_t v) { clockSync.InputTag(v); });
    ReadRounded("Monitor_WatchDog", "Seconds", "0", file, [&](int16_t v) { watchdog.ToggleSecs(v); });
    ReadRounded("Monitor_WatchDog", "OutputTag", "0", file, [&](int16_t v) { watchdog.OutputTag(v); });

    s.BackupDir = Trim(CutAtNull(GetPrivateProfileString(General, "BackupDir", "", 80, file)));
    if (!FolderExists(s.BackupDir))
        s.BackupDir.clear();

    ReadRounded(General, "ShedMeter", "0", file, [&](int16_t v) { s.ShedMeter = v; });
    ReadRounded(General, "UnShedMeter", "0", file, [&](int16_t v) { s.UnShedMeter = v; });
    ReadRounded(General, "ResumeAfterRestart", "0", file, [&](int16_t v) { s.ResumeAfterRestart = v; });
}
