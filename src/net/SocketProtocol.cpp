#include "net/SocketProtocol.h"

#include <cmath>

#include "net/ParseMeterRef.h"
#include "support/VbConvert.h"

namespace {

// Splits at every ";"; an empty request has no fields at all.
std::vector<std::string_view> SplitFields(std::string_view request) {
    std::vector<std::string_view> fields;
    if (request.empty()) return fields;
    size_t start = 0;
    while (true) {
        const size_t sep = request.find(';', start);
        if (sep == std::string_view::npos) {
            fields.push_back(request.substr(start));
            return fields;
        }
        fields.push_back(request.substr(start, sep - start));
        start = sep + 1;
    }
}

std::string Concat(std::initializer_list<std::string_view> parts) {
    std::string out;
    for (std::string_view p : parts) out.append(p);
    return out;
}

}  // namespace

std::optional<TagField> KeywordField(std::string_view keyword) {
    if (keyword == "Value") return TagField::Integrated;
    if (keyword == "Rate") return TagField::Rate;
    if (keyword == "Input") return TagField::Current;
    return std::nullopt;
}

RequestOutcome HandleRequest(std::string_view request, std::string_view remoteIp, std::string_view label,
                             TagValueAccess& tags, bool setsAllowed) {
    RequestOutcome out;
    out.Trace.push_back(Concat({"Received: ", request, " from ", remoteIp, "(", label, ")"}));

    const std::vector<std::string_view> fields = SplitFields(request);
    if (fields.size() != 2 && fields.size() != 3) return out;
    out.Understood = true;

    const int32_t tagNo = ParseMeterRef(fields[0]);
    const bool namesTag = tagNo >= 1 && tagNo <= tags.MaxTags();
    const std::optional<TagField> field = KeywordField(fields[1]);

    if (fields.size() == 2) {
        std::string value;
        if (namesTag && field) value = FormatFixed(tags.ReadField(tagNo, *field), 2);
        std::string reply = Concat({request, ";", value});
        out.Trace.push_back(Concat({"Sending: ", reply, " to ", remoteIp}));
        out.Reply = std::move(reply);
        return out;
    }

    if (!setsAllowed) {
        out.Trace.push_back(Concat({"Set Refused: ", request, " from ", remoteIp, " (this address may not set values)"}));
        return out;
    }
    if (namesTag && field) {
        // Only a finite float may reach the tag table: from there it goes into the store file and
        // the peak table.
        const VbResult<double> number = ValChecked(fields[2]);
        const VbResult<float> single = number.Ok() ? CSng(number.Value) : VbResult<float>{0.0F, number.Error};
        if (!single.Ok() || !std::isfinite(single.Value)) {
            out.Trace.push_back(Concat({"Set Refused: ", request, " from ", remoteIp, " (not a finite 32-bit number)"}));
            return out;
        }
        tags.WriteField(tagNo, *field, single.Value);
    }
    out.Trace.push_back(Concat({"Set Data: ", request, " from ", remoteIp}));
    return out;
}
