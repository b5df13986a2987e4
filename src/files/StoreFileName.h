#pragma once
// Where the month's store file lives: job data folder + "\Voltaris\" + prefix + "yymm" + ".lum".
#include <string>

#include "platform/DateSerial.h"
#include "platform/VbError.h"

// The store file path for the month of when, creating the "\Voltaris" folder (one level) when it
// is missing. The path is given even when the folder could not be made; the error says why.
VbResult<std::string> GetStoreFileName(const std::string& jobDataFolder, const std::string& storeFilePrefix,
                                       DateTime when);
