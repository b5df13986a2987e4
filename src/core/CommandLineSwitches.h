#pragma once
// The monitor's command-line switches. Each is found anywhere in the whole command line without
// regard to case, so "/D" and a "/d" inside a longer word both count.
#include <string_view>

struct CommandLineSwitches {
    bool DebugMode = false;    // "/d": a failure of the log itself is asked about on screen
    bool CsvOnlyMode = false;  // "/csv": data only from CSV log files, no acquisition
    bool ScanLogging = false;  // "/log": every scan writes its values to the main log
};

CommandLineSwitches ReadCommandLineSwitches(std::string_view commandLine);
