#pragma once
// The monitor's own command line on Linux: --help, --version and --headless beside the classic
// switches "/d", "/csv" and "/log", which are found anywhere in the command line as before.
#include <string>

enum class CommandLineAction { Run, Exit };

struct MonitorCommandLine {
    CommandLineAction Action = CommandLineAction::Run;
    int ExitCode = 0;         // when Action is Exit
    bool Headless = false;    // --headless given
};

// Reads argv; answers --help and --version itself and refuses an unknown --option (exit 2).
// windowed tells whether this program can show a window at all (voltamon) or not (voltamond).
MonitorCommandLine ReadMonitorCommandLine(int argc, char** argv, bool windowed);

// The usage text of the monitor program, naming where it looks for its prefix and files.
std::string MonitorUsage(const std::string& program, bool windowed);
