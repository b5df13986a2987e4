#pragma once
// A store file opened for reading by the tools around the monitor: checked header, record layout
// and tag summaries. Every reason a file cannot be read is given as a sentence.
#include <string>
#include <vector>

#include "files/StoreFile.h"

struct OpenedStoreFile {
    StoreFile File;
    StoreHeader Header;
    StoreLayout Layout;
    std::vector<StoreTagSummary> Tags;  // 1..MaxTags, slot 0 unused
    int TagCount = 0;                   // tags 1..TagCount are saved in the records
};

// Opens path (a local path or a path text) read-only. Gives "" when the file can be read, else why
// not: "cannot open PATH: ..." or "PATH is not a store file: ...".
std::string OpenStoreFileForReading(const std::string& path, OpenedStoreFile& store);

// Year and month from a file name ending in "yymm.lum"; false when it does not.
bool StoreFileMonth(const std::string& path, int& year, int& month);
