#pragma once
// A store file opened for reading by the tools around the monitor: checked header, record layout
// and tag summaries. Every reason a file cannot be read is given as a sentence.
#include <cstdint>
#include <span>
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

// A record the monitor never wrote reads as flag 0 and zeros everywhere; so does a first period
// after start-up in which every tag metered nothing: the file cannot tell them apart.
bool RecordHoldsNothing(int16_t flag, std::span<const float> values);

// A tag name as shown: up to its first NUL, without padding.
std::string StoreTagName(const StoreTagSummary& summary);
