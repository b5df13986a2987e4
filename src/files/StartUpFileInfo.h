#pragma once
// Loading the tag setup and checking the current month's store file.
#include "files/GetSetupData.h"
#include "files/StoreContext.h"
#include "platform/VbError.h"

// Loads the tag setup, takes the dimensions from an existing store file (they hold for the month),
// sizes the tables and writes the header and setup copy. A store file the monitor cannot use shows
// its message, ends the program and gives ProgramEnds.
SetupLoadResult StartUpFileInfo(StoreContext& context, DateTime now);

// The tag setup file's modification time to whole seconds, as the scan compares it.
VbResult<DateTime> ReadSetupFileStamp(const std::string& setupMtgFile);
