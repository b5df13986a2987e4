#pragma once
// Where the running job keeps this month's store file and its peak table, found through the host
// and the settings file the way the monitor finds them.
#include <string>

#include "platform/DateSerial.h"

struct JobFiles {
    std::string StoreFile;     // path text of the store file for the month of now
    std::string SettingsFile;  // path text of the settings file (the peak table)
};

JobFiles FindJobFiles(DateTime now);
