#pragma once
// What vt-store prints, apart from its command line: each report writes to out, says what is
// wrong with its file on err, and gives the exit status (0 when the report was printed).
// Any file may be given; one that is not what it should be is refused with its reason.
#include <ostream>
#include <string>

// The header and the tags of the setup copy of a monthly store file.
int StoreInfoReport(const std::string& path, std::ostream& out, std::ostream& err);
// Its period records as CSV, one column per tag in use; savedOnly leaves out periods that hold
// nothing saved.
int StoreRecordsReport(const std::string& path, std::ostream& out, std::ostream& err, bool savedOnly = false);
// The table of the 24 highest site totals in a settings file.
int PeakTableReport(const std::string& iniPath, std::ostream& out, std::ostream& err);
