#include "net/ParseMeterRef.h"

#include <string>

#include "support/VbConvert.h"

namespace {

// One left-to-right pass, as a text replace does: "[[MM]" loses only its inner "[M".
std::string RemoveAll(std::string_view text, std::string_view what) {
    std::string out;
    out.reserve(text.size());
    size_t pos = 0;
    while (pos < text.size()) {
        size_t hit = text.find(what, pos);
        if (hit == std::string_view::npos) {
            out.append(text.substr(pos));
            break;
        }
        out.append(text.substr(pos, hit - pos));
        pos = hit + what.size();
    }
    return out;
}

}  // namespace

int32_t ParseMeterRef(std::string_view field) {
    if (!field.starts_with("[M")) return 0;
    const std::string digits = RemoveAll(RemoveAll(field, "[M"), "]");
    const VbResult<double> number = ValChecked(digits);
    if (!number.Ok()) return 0;
    const VbResult<int32_t> tagNo = CLng(number.Value);
    return tagNo.Ok() ? tagNo.Value : 0;
}
