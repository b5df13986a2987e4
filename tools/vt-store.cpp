// vt-store: prints a monthly store file and the peak table.
//   vt-store info FILE.lum        header and the tags of the setup copy
//   vt-store records FILE.lum     the period records as CSV, one column per tag in use
//   vt-store peaks SETTINGS.ini   the table of the 24 highest site totals
// Paths may be local paths or path texts of the prefix.
#include <iostream>
#include <string>

#include "StoreReport.h"

namespace {

const char* const UsageText =
    "usage: vt-store info FILE.lum        print the header and the tags of a monthly store file\n"
    "       vt-store records FILE.lum     print its period records as CSV: date, period, period end,\n"
    "                                     flag (0 = first period after start-up), one column per tag\n"
    "       vt-store peaks SETTINGS.ini   print the table of the 24 highest site totals\n";

int Usage(bool asked)
{
    (asked ? std::cout : std::cerr) << UsageText;
    return asked ? 0 : 2;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 1 ? argv[1] : "";
    if (argc == 2 && (command == "--help" || command == "-h" || command == "help"))
        return Usage(true);
    const bool known = command == "info" || command == "records" || command == "peaks";
    if (known && argc == 3) {
        if (command == "info")
            return StoreInfoReport(argv[2], std::cout, std::cerr);
        if (command == "records")
            return StoreRecordsReport(argv[2], std::cout, std::cerr);
        return PeakTableReport(argv[2], std::cout, std::cerr);
    }
    if (known)
        std::cerr << "vt-store: '" << command << "' takes one path\n";
    else if (!command.empty())
        std::cerr << "vt-store: unknown command '" << command << "'\n";
    return Usage(false);
}
