#pragma once
// Loading the tag setup file (.MTG) into the in-memory tables.
#include <cstdint>
#include <string>
#include <string_view>

#include "files/HostFolders.h"
#include "files/ScanTypes.h"
#include "files/SetupData.h"
#include "files/SetupLoadView.h"
#include "platform/VbError.h"

enum class SetupLoadResult { Loaded, ProgramEnds };

// Reads setupMtgFile into setup, fills the tag columns of the grid and shows progress. A file of an
// older version shows its message or starts the setup editor, asks the view to end the program and
// gives ProgramEnds. A damaged file leaves partly filled tables and one "GetSetupData, Error" line.
SetupLoadResult GetSetupData(const std::string& setupMtgFile, const HostFolders& host, SetupData& setup,
                             SetupLoadView& view);

// The same on bytes already read; openError is the failure to read them, if any.
SetupLoadResult LoadSetupFileBytes(std::string_view bytes, const VbError& openError, const HostFolders& host,
                                   SetupData& setup, SetupLoadView& view);


// A table bigger than this many elements is refused as out of memory. Every file whose tags end
// before the fixed entries fits (at most 291 tariffs, 1579 centers, 38 x 201 aux entries); a damaged
// count easily does not.
inline constexpr int64_t MaxSetupTableElements = 8192;
