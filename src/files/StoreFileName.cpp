#include "files/StoreFileName.h"

#include "platform/Files.h"
#include "platform/Paths.h"
#include "support/VbDate.h"

VbResult<std::string> GetStoreFileName(const std::string& jobDataFolder, const std::string& storeFilePrefix,
                                       DateTime when)
{
    VbResult<std::string> r;
    const std::string folder = jobDataFolder + "\\Voltaris";
    if (!FolderExists(folder)) {
        // One level only: a missing job data folder is the host's business, not ours to invent.
        if (!FolderExists(PathFolderPart(folder)))
            r.Error = VbError(ErrPathNotFound);
        else
            r.Error = MakeFolderPath(folder);
    }
    r.Value = folder + "\\" + storeFilePrefix + FormatDate(when, "yymm") + ".lum";
    return r;
}
