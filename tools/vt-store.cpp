// vt-store: prints a monthly store file and the peak table.
//   vt-store info FILE.lum        header and the tags of the setup copy
//   vt-store records [--saved] FILE.lum   the period records as CSV, one column per tag in use
//   vt-store peaks SETTINGS.ini   the table of the 24 highest site totals
// Paths may be local paths or path texts of the prefix.
#include <iostream>
#include <string>
#include <vector>

#include "StoreReport.h"
#include "support/ProgramInfo.h"

namespace {

const char* const UsageText =
    "usage: vt-store info FILE.lum        print the header and the tags of a monthly store file\n"
    "       vt-store records [--saved] FILE.lum\n"
    "                                     print its period records as CSV: date, period, end,\n"
    "                                     flag (0 = first period after start-up), one column per tag\n"
    "       vt-store peaks SETTINGS.ini   print the table of the 24 highest site totals\n"
    "       vt-store --help | --version\n"
    "\n"
    "records: the end column is the date and time the period ends, so the last period of a day\n"
    "ends at 00:00 of the next day. A period that holds nothing saved (flag 0 and every value 0:\n"
    "the monitor did not save it) has empty flag and value cells; --saved leaves such periods out.\n"
    "\n"
    "Paths are local paths, or path texts of the prefix: \"C:\\Telvane\\Job1\\Data\\Voltaris\\Vtrs2611.lum\"\n"
    "is <prefix>/drives/c/Telvane/Job1/Data/Voltaris/Vtrs2611.lum. The prefix is $VOLTARIS_PREFIX\n"
    "(default ~/.voltaris).\n";

} // namespace

int main(int argc, char** argv)
{
    const char* const program = "vt-store";
    const ToolCommandLine line = ReadToolCommandLine(argc, argv, program, UsageText, "--saved");
    if (line.Done)
        return line.ExitCode;
    const std::vector<std::string>& words = line.Words;
    const bool savedOnly = line.Flag;
    const std::string command = words.empty() ? "" : words[0];
    if (words.size() == 1 && (command == "-h" || command == "help"))
        return PrintUsage(UsageText);
    if (savedOnly && command != "records")
        return RefuseCommandLine(program, "--saved goes with 'records'", UsageText);
    const bool known = command == "info" || command == "records" || command == "peaks";
    if (known && words.size() == 2) {
        if (command == "info")
            return StoreInfoReport(words[1], std::cout, std::cerr);
        if (command == "records")
            return StoreRecordsReport(words[1], std::cout, std::cerr, savedOnly);
        return PeakTableReport(words[1], std::cout, std::cerr);
    }
    if (known)
        return RefuseCommandLine(program, "'" + command + "' takes one path", UsageText);
    if (command.empty())
        return RefuseCommandLine(program, "give a command", UsageText);
    return RefuseCommandLine(program, "unknown command '" + command + "'", UsageText);
}
