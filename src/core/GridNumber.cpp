#include "core/GridNumber.h"

#include "support/VbConvert.h"

std::string GridNumber::Text() const {
    if (Shape == Form::Fixed) return FormatFixed(Value, 2);
    std::string text = "(" + std::to_string(Scans) + ") " + FormatFixed(Value, 2);
    if (Shape == Form::SmoothedWithLimit) text += " (" + FormatFixed(Limit, 2) + ")";
    return text;
}
