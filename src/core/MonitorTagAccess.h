#pragma once
#include "files/SetupData.h"
#include "files/TagValues.h"
#include "net/TagValueAccess.h"

// The socket server's window on the runtime tag values.
class MonitorTagAccess : public TagValueAccess {
public:
    MonitorTagAccess(const SetupData& setup, TagValues& values) : setup_(setup), values_(values) {}
    int MaxTags() const override;
    float ReadField(int tagNo, TagField field) const override;
    void WriteField(int tagNo, TagField field, float value) override;

private:
    const SetupData& setup_;
    TagValues& values_;
};
