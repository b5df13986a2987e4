#include "app/MonitorCommandLine.h"

#include <string_view>

#include "platform/Prefix.h"
#include "platform/Programs.h"
#include "support/ProgramInfo.h"

std::string MonitorUsage(const std::string& program, bool windowed) {
    std::string usage = "usage: " + program + (windowed ? " [--headless]" : "") + " [/d] [/csv] [/log]\n" +
                        "       " + program + " --help | --version\n\n";
    usage += windowed ? "Runs the energy monitor beside the host job of its prefix: in its main window when a\n"
                        "display is there, otherwise (or with --headless) without one, its messages then going\n"
                        "to stderr and to its log.\n"
                      : "Runs the energy monitor beside the host job of its prefix, without a window: its\n"
                        "messages go to stderr and to its log. It needs no display and no GUI libraries.\n";
    usage +=
        "\n"
        "  /d          debug mode: ask before going on when the log cannot be written\n"
        "  /csv        CSV-only mode: no scans, store files filled from CSV files only\n"
        "  /log        log every scan\n"
        "  --headless  (voltamon) run without the window even when a display is there\n"
        "The switches are found anywhere in the command line, in any letter case.\n"
        "\n"
        "Prefix:         $VOLTARIS_PREFIX, else ~/.voltaris; now " + PrefixRootName().string() + "\n"
        "Program folder: $VOLTARIS_PROGRAM_DIR, else the program file's folder when it can be written,\n"
        "                else <prefix>/program\n"
        "                (logs voltamon.log, voltamon.err, voltamon_PC_Clock.log, and vtcsvlog/)\n"
        "Host job, store files and settings: found through the host registered in the prefix.\n"
        "SIGTERM or SIGINT ends the monitor cleanly.\n";
    return usage;
}

MonitorCommandLine ReadMonitorCommandLine(int argc, char** argv, bool windowed) {
    MonitorCommandLine line;
    const std::string program = windowed ? "voltamon" : "voltamond";
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--help" || argument == "-h") {
            line.Action = CommandLineAction::Exit;
            line.ExitCode = PrintUsage(MonitorUsage(program, windowed));
            return line;
        }
        if (argument == "--version") {
            line.Action = CommandLineAction::Exit;
            line.ExitCode = PrintVersion(program);
            return line;
        }
        if (argument == "--headless") {
            line.Headless = true;
            continue;
        }
        if (IsLongOption(argument)) {
            line.Action = CommandLineAction::Exit;
            line.ExitCode = RefuseCommandLine(program, "unknown option " + std::string(argument),
                                              MonitorUsage(program, windowed));
            return line;
        }
    }
    return line;
}
