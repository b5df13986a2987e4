#pragma once
// The import folder and its two logs: the import log (one line per file processed) and the
// rejects file (one line per line that was not stored, with its file, line number and reason).
// Both are rotated at 600,000 bytes into five generations; the rejects file's generations end in
// ".re1" to ".re5" so that they never meet the import log's "@01" to "@05".
#include <string>
#include <string_view>

// Program folder + "\vtcsvlog".
std::string CsvImportFolder();
// Import folder + "\vtcsvlog.log", in lower case.
std::string CsvLogPath();
// Import folder + "\vtcsvlog.rej", in lower case.
std::string CsvRejectsPath();

// Appends time stamp + " - " + text to the import log, rotating it when it has grown too large.
// Its own failure is reported as "CSV_AddToLog, Error n/ ..." in the main log.
void CSV_AddToLog(std::string_view text);

// Appends time stamp + " - " + text to the rejects file. With skipRepeat, nothing is written when
// the file's last line already says exactly text (a file retried scan after scan). Failures lose
// the line.
void CSV_AddToRejects(std::string_view text, bool skipRepeat = false);
