#include "core/CommandLineSwitches.h"

#include "support/VbText.h"

CommandLineSwitches ReadCommandLineSwitches(std::string_view commandLine) {
    CommandLineSwitches switches;
    switches.DebugMode = ContainsNoCase(commandLine, "/d");
    switches.CsvOnlyMode = ContainsNoCase(commandLine, "/csv");
    switches.ScanLogging = ContainsNoCase(commandLine, "/log");
    return switches;
}
