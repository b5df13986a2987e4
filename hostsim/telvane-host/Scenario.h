#pragma once
// The scenario of a telvane-host run: how the host is installed, which points carry meters and
// how those meters behave, which DDE items are served. Format: see SCENARIO.md.
#include <string>
#include <string_view>
#include <vector>

#include "DeviceSections.h"
#include "PointRef.h"

enum class MeterKind { Rate, Total, Pulse, HourPulse };

struct MeterConfig {
    std::string Name;            // the section's name; also the point's name when it has none of its own
    MeterKind Kind = MeterKind::Rate;
    bool HasPoint = false;
    PointRef Point;              // where the reading goes
    std::string DdeTopic;        // "APP|TOPIC" of a DDE item that carries the reading, or empty
    std::string DdeItem;
    double RateLow = 0;          // units per hour; equal bounds give a constant rate
    double RateHigh = 0;
    double PeriodSeconds = 3600; // of the rate's swing between low and high
    double Start = 0;            // totals and pulse counters start here
    double UnitsPerPulse = 1;
    double Rollover = 0;         // totals and counters wrap at this value; 0 = never
    double ClockOffsetSeconds = 0;  // hour pulses: how far the pulsing clock runs ahead of the PC clock
    int Decimals = 2;            // of the DDE text
    std::string Unit;            // appended to the DDE text after a blank
};

struct PointConfig {
    PointRef Point;
    std::string Name;
    bool Active = true;
    bool HasValue = false;
    double Value = 0;
};

struct PageConfig {
    int Page = 0;                // page index: V4 (recorder - 1) * 10 + page on recorder, V5 the page
    std::string Label;
    bool Active = true;
    std::vector<std::string> Files;  // store file names in the job data folder
};

struct DdeItemConfig {
    std::string Topic;           // "APP|TOPIC"
    std::string Item;
    std::string Text;
};

struct Scenario {
    int Generation = 0;          // 0: not given here (the command line decides)
    std::string HostFolder;      // path texts; empty: the generation's default
    std::string JobName;
    std::string JobFolder;
    std::string DataFolder;
    std::string InstallName;
    std::string InstallComment;
    int UserMode = 0;
    int RecorderCount = 0;       // 0: 5 on V4, 1 on V5
    bool HasLibraries = false;   // libraries listed: only those are installed
    std::vector<std::string> Libraries;
    std::vector<std::string> HiddenWindows;
    std::vector<MeterConfig> Meters;
    std::vector<PointConfig> Points;
    std::vector<PageConfig> Pages;
    std::vector<DdeItemConfig> DdeItems;
    std::vector<ModbusDeviceConfig> ModbusDevices;
    std::vector<MqttSourceConfig> MqttSources;
};

// Parses a scenario text. On failure gives false and a message naming the line.
bool ParseScenario(std::string_view text, Scenario& scenario, std::string& error);
// The scenario of a run without a scenario file.
Scenario DefaultScenario();
