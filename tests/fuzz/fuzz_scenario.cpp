// The stand-in host's scenario file from anywhere: the parser must never fail, a refusal names
// its reason, and every meter it takes has a place for its reading.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "Scenario.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Scenario scenario;
    std::string error;
    if (!ParseScenario(text, scenario, error)) {
        Check(!error.empty());
        return 0;
    }
    Check(error.empty());
    Check(scenario.Generation == 0 || scenario.Generation == 4 || scenario.Generation == 5);
    for (const MeterConfig& meter : scenario.Meters) {
        Check(meter.HasPoint || (!meter.DdeTopic.empty() && !meter.DdeItem.empty()));
        if (!meter.HasPoint)
            continue;
        // A point the parser took reads back the same from its own text on either generation.
        for (int generation : {4, 5}) {
            HostTable table{};
            int index = 0;
            if (!PointLocation(meter.Point, generation, table, index))
                continue;
            PointRef again;
            Check(ParsePointRef(PointRefText(meter.Point, generation), again));
            HostTable table2{};
            int index2 = 0;
            Check(PointLocation(again, generation, table2, index2) && table2 == table && index2 == index);
        }
    }
    // The same text gives the same scenario.
    Scenario twice;
    std::string error2;
    Check(ParseScenario(text, twice, error2) && twice.Meters.size() == scenario.Meters.size() &&
          twice.Points.size() == scenario.Points.size() && twice.Pages.size() == scenario.Pages.size());
    return 0;
}
