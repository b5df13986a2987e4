// Socket requests from arbitrary bytes: no crash, a reply exactly for two-field requests (the
// request echoed, ";", then nothing or a "0.00" number), writes only for three-field requests,
// only to tags 1 .. MaxTags and only of finite numbers, none from a client that may not set, and
// a trace that always starts with the received text.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "net/ParseMeterRef.h"
#include "net/SocketProtocol.h"

namespace {

void Check(bool condition) {
    if (!condition) std::abort();
}

class FuzzTags : public TagValueAccess {
public:
    explicit FuzzTags(int maxTags) : values(static_cast<size_t>(maxTags) + 1) {
        for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<float>(i) * -1.255f;
    }
    int MaxTags() const override { return static_cast<int>(values.size()) - 1; }
    float ReadField(int tagNo, TagField) const override {
        Check(tagNo >= 1 && tagNo <= MaxTags());
        return values[static_cast<size_t>(tagNo)];
    }
    void WriteField(int tagNo, TagField, float value) override {
        Check(tagNo >= 1 && tagNo <= MaxTags());
        Check(std::isfinite(value));
        values[static_cast<size_t>(tagNo)] = value;
        ++writes;
    }
    std::vector<float> values;
    int writes = 0;
};

bool IsFixedTwo(std::string_view v) {
    if (!v.empty() && v[0] == '-') v.remove_prefix(1);
    const size_t dot = v.find('.');
    if (dot == std::string_view::npos || dot == 0 || v.size() - dot != 3) return false;
    for (size_t i = 0; i < v.size(); ++i) {
        if (i != dot && (v[i] < '0' || v[i] > '9')) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view request(reinterpret_cast<const char*>(data), size);
    FuzzTags tags(200);

    const int32_t tagNo = ParseMeterRef(request.substr(0, request.find(';')));
    Check(request.starts_with("[M") || tagNo == 0);

    const RequestOutcome out = HandleRequest(request, "127.0.0.1", "12", tags);
    Check(!out.Trace.empty());
    Check(out.Trace[0] == "Received: " + std::string(request) + " from 127.0.0.1(12)");

    size_t fields = request.empty() ? 0 : 1;
    for (char c : request) fields += c == ';';
    Check(out.Reply.has_value() == (fields == 2));
    if (out.Reply) {
        Check(out.Reply->starts_with(std::string(request) + ";"));
        const std::string_view value = std::string_view(*out.Reply).substr(request.size() + 1);
        Check(value.empty() || IsFixedTwo(value));
        Check(out.Trace.size() == 2 && out.Trace[1] == "Sending: " + *out.Reply + " to 127.0.0.1");
    } else if (fields == 3) {
        Check(out.Trace.size() == 2);
        const bool refused = out.Trace[1].starts_with("Set Refused: " + std::string(request) + " from 127.0.0.1 (");
        Check(refused || out.Trace[1] == "Set Data: " + std::string(request) + " from 127.0.0.1");
        Check(!refused || tags.writes == 0);
    } else {
        Check(out.Trace.size() == 1);
    }
    Check(out.Understood == (fields == 2 || fields == 3));
    Check(tags.writes <= (fields == 3 ? 1 : 0));

    // The same from a client that may not set: the same reply, no write.
    FuzzTags untouched(200);
    const RequestOutcome barred = HandleRequest(request, "10.0.0.9", "12", untouched, /*setsAllowed=*/false);
    Check(barred.Reply == out.Reply);
    Check(untouched.writes == 0);
    return 0;
}
