#include "files/ScanTypes.h"

ScanKind ScanKindOf(int16_t scanType)
{
    switch (scanType) {
    case 17: return {ScanSource::RecorderLine, ScanCalculation::Direct};
    case 24: return {ScanSource::HostTag, ScanCalculation::Direct};
    case 26: return {ScanSource::Dde, ScanCalculation::Direct};
    case 23: return {ScanSource::RecorderLine, ScanCalculation::Pulse};
    case 22: return {ScanSource::HostTag, ScanCalculation::Pulse};
    case 27: return {ScanSource::Dde, ScanCalculation::Pulse};
    case 21: return {ScanSource::RecorderLine, ScanCalculation::Total};
    case 28: return {ScanSource::HostTag, ScanCalculation::Total};
    case 29: return {ScanSource::Dde, ScanCalculation::Total};
    default: return {};
    }
}

std::string ScanTypeLabel(int16_t scanType)
{
    switch (scanType) {
    case 8: return "Maths";
    case 17: return "Rate - Recorder";
    case 21: return "Total - Recorder";
    case 22: return "Pulse - Scada Tag";
    case 23: return "Pulse - Recorder";
    case 24: return "Rate - Scada Tag";
    case 25: return "From Log File";
    case 26: return "Rate - DDE";
    case 27: return "Pulse - DDE";
    case 28: return "Total - Scada Tag";
    case 29: return "Total - DDE";
    default: return "Unknown Scan Type";
    }
}
