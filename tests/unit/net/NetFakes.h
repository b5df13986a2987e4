#pragma once
// A tag table and a socket log window for the server's tests.
#include <string>
#include <vector>

#include "net/SocketTrace.h"
#include "net/TagValueAccess.h"

class FakeTagValues : public TagValueAccess {
public:
    struct Fields {
        float Integrated = 0, Rate = 0, Current = 0;
    };
    explicit FakeTagValues(int maxTags) : values(static_cast<size_t>(maxTags) + 1) {}

    int MaxTags() const override { return static_cast<int>(values.size()) - 1; }
    float ReadField(int tagNo, TagField field) const override {
        Fields f = values.at(static_cast<size_t>(tagNo));
        return Of(f, field);
    }
    void WriteField(int tagNo, TagField field, float value) override {
        ++writes;
        Of(values.at(static_cast<size_t>(tagNo)), field) = value;
    }

    std::vector<Fields> values;  // index 0 unused
    int writes = 0;

private:
    static float& Of(Fields& f, TagField field) {
        return field == TagField::Integrated ? f.Integrated : field == TagField::Rate ? f.Rate : f.Current;
    }
};

class RecordingTrace : public SocketTrace {
public:
    bool Tracing() const override { return on; }
    void AddLog(const std::string& text) override { lines.push_back(text); }
    bool on = true;
    std::vector<std::string> lines;
};
