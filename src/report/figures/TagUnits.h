#pragma once
// The units a tag's values are in, read from its name: any text in its last brackets ("Main (kVArh)",
// "Steam [kg]"), or a last word that is a known unit ("Boiler house kWh", "Gas m3"). An energy unit
// gives its power unit for demand (kWh -> kW); any other unit gives "<unit>/h".
#include <string>

struct TagUnits {
    std::string Quantity;  // "" when the name names none
    std::string Demand;    // quantity per hour
};

TagUnits UnitsFromTagName(const std::string& name);
