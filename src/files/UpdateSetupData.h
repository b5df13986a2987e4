#pragma once
// Writing the header, setup copy and per-tag section of a store file.
#include "files/StoreContext.h"
#include "files/StoreFile.h"

// Writes into the open file; a new (short) file also gets all its period records as zeros. A file
// whose dimensions differ from those in memory is left as it is.
void UpdateSetupData(StoreContext& context, StoreFile& file);
