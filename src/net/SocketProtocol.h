#pragma once
// The request protocol of the socket server, free of any transport: one received piece of data in,
// the reply to send (if any) and the trace lines out; a set request writes through TagValueAccess.
//
// Read  "[Mn];keyword"           -> request + ";" + the field as "0.00" (empty when no tag/keyword)
// Set   "[Mn];keyword;value"     -> no reply; the field takes the value as a 32-bit float. A set
//                                   from a client not allowed to set, or whose value is no finite
//                                   32-bit float, changes nothing and is traced as refused.
// Any other number of fields     -> nothing
// Keywords (exact case): "Value" = Integrated, "Rate" = Rate, "Input" = Current.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "net/TagValueAccess.h"

struct RequestOutcome {
    // A read or a set, whether or not it named a tag: what a client of this protocol sends.
    bool Understood = false;
    std::optional<std::string> Reply;
    // "Received: ...", then "Sending: ...", "Set Data: ..." or "Set Refused: ...", in the order
    // they happen.
    std::vector<std::string> Trace;
};

// The field a keyword names, or none.
std::optional<TagField> KeywordField(std::string_view keyword);

// Serves one request that arrived from remoteIp on the connection labelled label; setsAllowed
// says whether that client's sets are obeyed. Tag numbers outside 1 .. MaxTags name no tag.
RequestOutcome HandleRequest(std::string_view request, std::string_view remoteIp, std::string_view label,
                             TagValueAccess& tags, bool setsAllowed = true);
