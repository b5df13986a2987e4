#pragma once
// The request protocol of the socket server, free of any transport: one received piece of data in,
// the reply to send (if any) and the trace lines out; a set request writes through TagValueAccess.
//
// Read  "[Mn];keyword"           -> request + ";" + the field as "0.00" (empty when no tag/keyword)
// Set   "[Mn];keyword;value"     -> no reply; the field takes the value as a 32-bit float
// Any other number of fields     -> nothing
// Keywords (exact case): "Value" = Integrated, "Rate" = Rate, "Input" = Current.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "net/TagValueAccess.h"

struct RequestOutcome {
    std::optional<std::string> Reply;
    // "Received: ...", then "Sending: ..." or "Set Data: ...", in the order they happen.
    std::vector<std::string> Trace;
};

// The field a keyword names, or none.
std::optional<TagField> KeywordField(std::string_view keyword);

// Serves one request that arrived from remoteIp on the connection labelled label.
// Tag numbers outside 1 .. MaxTags name no tag.
RequestOutcome HandleRequest(std::string_view request, std::string_view remoteIp, std::string_view label,
                             TagValueAccess& tags);
