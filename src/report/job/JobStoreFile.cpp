#include "report/job/JobStoreFile.h"

#include <memory>

#include "core/TelvaneHostFolders.h"
#include "files/MonitorSettings.h"
#include "files/StoreFileName.h"
#include "files/clsVoltarisUpgrade.h"
#include "host/Telvane.h"

JobFiles FindJobFiles(DateTime now)
{
    const std::unique_ptr<Telvane> host = std::make_unique<Telvane>();
    const TelvaneHostFolders folders(host);
    // The settings file's place only: moving older files is the monitor's business.
    const clsVoltarisUpgrade places(&folders);
    JobFiles files;
    files.SettingsFile = places.SetupIniFile();
    files.StoreFile = GetStoreFileName(folders.JobDataFolder(), ReadStoreFilePrefix(files.SettingsFile), now).Value;
    return files;
}
