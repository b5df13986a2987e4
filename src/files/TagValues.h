#pragma once
// The runtime values of every tag, indexed by tag number 0..MaxTags (slot 0 unused). Written by
// acquisition, the calculations and the CSV import; read by the period save and the socket server.
#include <vector>

#include "platform/DateSerial.h"

struct TagValue {
    float Current = 0;
    float Previous = 0;
    DateTime LastReadTime = 0;
    DateTime PulseTime = 0;
    float Integrated = 0;      // quantity since the last period save
    float LastGoodDelta = 0;
    float LastGoodRate = 0;
    float Rate = 0;
    // Taken back at start-up from the last scan before a restart: the first reading counts on from
    // the kept base instead of only setting one.
    bool Resumed = false;
};

using TagValues = std::vector<TagValue>;
