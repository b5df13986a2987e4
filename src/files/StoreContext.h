#pragma once
// What the store file procedures share with the monitor: its tables, values, settings and flags,
// the host's folders and the screen. All owned by the caller; the procedures keep nothing.
#include <cstdint>
#include <string>

#include "files/CsvRejectMemo.h"
#include "files/HostFolders.h"
#include "files/MonitorSettings.h"
#include "files/SetupData.h"
#include "files/StoreFileView.h"
#include "files/TagValues.h"
#include "platform/DateSerial.h"

// Start-up and scan values of the main window that the file procedures read and write.
struct MonitorState {
    std::string SetupIniFile;      // full path text of "VoltarisSetup.ini"
    std::string SetupMtgFile;      // full path text of the tag setup file
    int16_t StartingUp = 1;        // 1 until start-up stage 2 has finished
    int16_t DataOkFlag = 0;        // flag of the next period record: 0 for the first after start-up
    int32_t LastSavedPeriod = 0;   // period number of the last period save; 0 until start-up
    DateTime SetupFileStamp = 0;   // modification time of the tag setup file at the last load
    // The clock as it stood just before it was seen to step (set back, or local time changing for
    // summer time) since the period save last looked; 0 when it has not stepped.
    DateTime ClockStepFrom = 0;
    DateTime LastSavedEnd = 0;     // end of the latest period saved in this run
    CsvRejectMemo CsvRejectsNoted; // what the rejects file holds for CSV files still waiting
};

struct StoreContext {
    SetupData& Setup;
    TagValues& Values;
    MonitorSettings& Settings;     // StoreFilePath, headertext, currencychr, Demo, BackupDir ...
    MonitorState& State;
    const HostFolders& Host;
    StoreFileView& View;
};
