#pragma once
// What a tag's scan type number means: where its reading comes from, how it becomes energy, and
// its label in the grid. One table for the scan, the period save, the resume file and the checks.
#include <cstdint>
#include <string>

enum class ScanSource { None, RecorderLine, HostTag, Dde };
enum class ScanCalculation { None, Direct, Total, Pulse };

struct ScanKind {
    ScanSource From = ScanSource::None;
    ScanCalculation Calc = ScanCalculation::None;
};

// Maths, "From Log File" and unknown scan types are of no source and no calculation.
ScanKind ScanKindOf(int16_t scanType);

// The grid label of a scan type ("Pulse - Scada Tag", "Unknown Scan Type" ...).
std::string ScanTypeLabel(int16_t scanType);
