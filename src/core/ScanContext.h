#pragma once
// What one acquisition pass works on: the tag setup, the runtime values, the settings and flags,
// the host object, the screen and the per-tag DDE links. All owned by the main window; the scan
// procedures keep nothing between calls.
#include <cstdint>
#include <functional>

#include "core/DdeInputLinks.h"
#include "core/MonitorView.h"
#include "files/MonitorSettings.h"
#include "files/SetupData.h"
#include "files/StoreContext.h"
#include "files/TagValues.h"
#include "host/Telvane.h"

struct ScanContext {
    SetupData& Setup;           // TagTable, TagCount, MaxTags
    TagValues& Values;          // indexed like TagTable
    MonitorSettings& Settings;  // AverageScans; ScanLogging (key LogScans) turns the scan log line on
    MonitorState& State;        // StartingUp: the first pulse reading only sets the base
    Telvane& Host;              // its point cursor IO reads sources and takes rates and display values
    MonitorView& View;          // grid cells, row colours, Panel3D2, DoEvents
    DdeInputLinks& DdeInputs;   // lblDDEInput
    int16_t& CsvOnlyMode;       // "/csv": the scan runs only the CSV import, never Input_General
    std::function<DateTime()> ReadClock = {};  // now for the pass; the PC clock when not given
};
