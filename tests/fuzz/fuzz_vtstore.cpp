// vt-store on any file: each report either prints or says why not, and never fails otherwise.
// The same bytes go to the store file reports and, as a settings file, to the peak table.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <unistd.h>

#include "FuzzSupport.h"
#include "StoreReport.h"
#include "platform/Files.h"
#include "platform/Prefix.h"

namespace {

std::string Folder;

// A report's outcome: printed (status 0, something on out) or refused (status 1, a reason on err).
void CheckOutcome(int status, const std::ostringstream& out, const std::ostringstream& err)
{
    Check(status == 0 || status == 1);
    if (status == 0)
        Check(!out.str().empty());
    else
        Check(!err.str().empty());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Folder = MakeScratchFolder("vtstore");
    UsePrefix(Folder + "/prefix");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    // A month's name, so the records report dates its days (February of a leap year).
    const std::string file = Folder + "/Vtrs2402.lum";
    if (WriteFileAtomically(file, std::string_view(reinterpret_cast<const char*>(data), size)).Failed())
        return 0;
    using Report = int (*)(const std::string&, std::ostream&, std::ostream&);
    const Report reports[] = {
        StoreInfoReport,
        [](const std::string& path, std::ostream& out, std::ostream& err) { return StoreRecordsReport(path, out, err); },
        [](const std::string& path, std::ostream& out, std::ostream& err) {
            return StoreRecordsReport(path, out, err, true);
        },
        PeakTableReport,
    };
    for (Report report : reports) {
        std::ostringstream out, err;
        CheckOutcome(report(file, out, err), out, err);
    }
    return 0;
}
