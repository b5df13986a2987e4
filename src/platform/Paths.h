#pragma once
// Path texts as the monitor builds them ("C:\Telvane\Job1\Data\Voltaris\Site0611.lum",
// program folder + "\voltamon.log") resolved to real paths under the prefix.
//  - "\" and "/" are both separators; repeated separators count as one.
//  - "X:" at the start names drive X: <prefix>/drives/x/...
//  - A text starting with "/" is an absolute local path; anything else is relative to the working folder.
//  - Every component that already exists is matched without regard to letter case (an exact
//    match wins); components that do not exist keep the case given, so a new file takes its name as written.
#include <filesystem>
#include <string>
#include <string_view>

std::filesystem::path LocalPath(std::string_view pathText);

// Splits of a path text on either separator.
std::string PathFolderPart(std::string_view pathText);  // "C:\a\b.txt" -> "C:\a"
std::string PathFilePart(std::string_view pathText);    // "C:\a\b.txt" -> "b.txt"
// Joins folder and name with a single "\" (no doubled separator when the folder already ends in one).
std::string PathJoin(std::string_view folder, std::string_view name);
