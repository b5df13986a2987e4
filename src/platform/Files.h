#pragma once
// File and folder operations on path texts (see Paths.h), matched without regard to case.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/DateSerial.h"
#include "platform/VbError.h"

bool FileExists(std::string_view pathText);     // an existing regular file
bool FolderExists(std::string_view pathText);   // an existing folder
// Creates the folder and every missing folder above it. Existing folders are fine.
VbError MakeFolderPath(std::string_view pathText);
// Copies src over dst (dst replaced when present). 53 when src is missing, 76 when dst's folder is.
VbError CopyFileReplacing(std::string_view src, std::string_view dst);
// Moves (renames) src to dst; across file systems it copies then deletes. dst must not exist (58).
VbError MoveFile(std::string_view src, std::string_view dst);
VbError DeleteFile(std::string_view pathText);
VbError DeleteFolder(std::string_view pathText);  // an empty folder
// True for an existing file without any write permission: the read-only attribute of the
// original platform. Settings writes refuse such files even when the process could replace them.
bool FileIsReadOnly(std::string_view pathText);
// Length in bytes; error 53 when missing.
VbResult<int64_t> FileLength(std::string_view pathText);
// Last modification as a local date-time; error 53 when missing.
VbResult<DateTime> FileDateTime(std::string_view pathText);
// Names (not paths) of the regular files in folder matching pattern ("*.CSV", "Site????.lum", "*"),
// letter case ignored in the pattern, in ascending order of name (byte order of the upper-case name).
std::vector<std::string> ListFiles(std::string_view folderText, std::string_view pattern);
// Pattern match with "*" and "?" and no regard to case.
bool MatchesPattern(std::string_view name, std::string_view pattern);

// Whole-file helpers for small files (settings, logs). ReadWholeFile gives error 53 when missing.
VbResult<std::string> ReadWholeFile(std::string_view pathText);
// Writes the file through a temporary name in the same folder, flushes and renames it into place,
// so a crash leaves either the old or the new file, never half of one.
VbError WriteFileAtomically(std::string_view pathText, std::string_view content);
// Appends to a file (created when missing), flushed before return.
VbError AppendToFile(std::string_view pathText, std::string_view content);
