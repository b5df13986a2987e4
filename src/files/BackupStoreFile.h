#pragma once
// The copy of the store file in the backup folder.
#include <string>

#include "platform/VbError.h"

// Copies the file at path into backupDir (nothing when backupDir is empty), replacing an older copy
// in one step: the backup folder holds the old copy or the new one, never part of one.
VbError BackupStoreFile(const std::string& path, const std::string& backupDir);
