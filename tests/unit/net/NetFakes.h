#pragma once
// A tag table and a socket log window for the server's tests.
#include <string>
#include <vector>

#include "net/SocketTrace.h"
#include "net/TagValueAccess.h"

class FakeTagValues : public TagValueAccess {
public:
    struct Fields {
        float Integrated = 0;
        float Rate = 0;
        float Current = 0;
    };

    explicit FakeTagValues(int maxTags) : values(static_cast<size_t>(maxTags) + 1) {}

    int MaxTags() const override { return static_cast<int>(values.size()) - 1; }
    float ReadField(int tagNo, TagField field) const override {
        const Fields& f = values.at(static_cast<size_t>(tagNo));
        switch (field) {
        case TagField::Integrated: return f.Integrated;
        case TagField::Rate: return f.Rate;
        case TagField::Current: return f.Current;
        }
        return 0;
    }
    void WriteField(int tagNo, TagField field, float value) override {
        Fields& f = values.at(static_cast<size_t>(tagNo));
        ++writes;
        switch (field) {
        case TagField::Integrated: f.Integrated = value; break;
        case TagField::Rate: f.Rate = value; break;
        case TagField::Current: f.Current = value; break;
        }
    }

    std::vector<Fields> values;  // index 0 unused
    int writes = 0;
};

class RecordingTrace : public SocketTrace {
public:
    bool Tracing() const override { return on; }
    void AddLog(const std::string& text) override { lines.push_back(text); }

    bool on = true;
    std::vector<std::string> lines;
};
