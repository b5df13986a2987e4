#include "core/MonitorTagAccess.h"

int MonitorTagAccess::MaxTags() const {
    // Never beyond the values actually held, whatever the store file's header claims.
    const int held = static_cast<int>(values_.size()) - 1;
    return setup_.MaxTags < held ? setup_.MaxTags : held;
}

float MonitorTagAccess::ReadField(int tagNo, TagField field) const {
    const TagValue& v = values_[static_cast<std::size_t>(tagNo)];
    switch (field) {
    case TagField::Integrated: return v.Integrated;
    case TagField::Rate: return v.Rate;
    case TagField::Current: return v.Current;
    }
    return 0;
}

void MonitorTagAccess::WriteField(int tagNo, TagField field, float value) {
    TagValue& v = values_[static_cast<std::size_t>(tagNo)];
    switch (field) {
    case TagField::Integrated: v.Integrated = value; break;
    case TagField::Rate: v.Rate = value; break;
    case TagField::Current: v.Current = value; break;
    }
}
