// voltamond: the monitor for servers. The same monitor as voltamon without a window; it links no
// GUI library, so it runs where none is installed.
#include "app/HeadlessRun.h"
#include "app/MonitorCommandLine.h"
#include "platform/Programs.h"

int main(int argc, char** argv) {
    const MonitorCommandLine line = ReadMonitorCommandLine(argc, argv, false);
    if (line.Action == CommandLineAction::Exit) return line.ExitCode;
    // The same monitor as voltamon: the same log, error file and settings file names.
    SetProgramName("voltamon");
    SetCommandLine(argc, argv);
    return RunHeadless(argc, argv);
}
