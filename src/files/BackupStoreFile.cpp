#include "files/BackupStoreFile.h"

#include "files/RandomAccessFile.h"
#include "platform/Paths.h"

VbError BackupStoreFile(const std::string& path, const std::string& backupDir)
{
    if (backupDir.empty())
        return {};
    return CopyFileSafely(path, backupDir + "\\" + PathFilePart(path));
}
