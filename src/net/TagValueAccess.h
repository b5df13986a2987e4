#pragma once
// The socket server's view of the runtime tag values. The core implements it over its TagValues,
// so the server never sees the tag table itself.

// The TagValue fields a request can address.
enum class TagField {
    Integrated,  // "Value"
    Rate,        // "Rate"
    Current,     // "Input"
};

class TagValueAccess {
public:
    virtual ~TagValueAccess() = default;
    // Highest tag number; tags are 1 .. MaxTags().
    virtual int MaxTags() const = 0;
    // Only called with 1 <= tagNo <= MaxTags().
    virtual float ReadField(int tagNo, TagField field) const = 0;
    virtual void WriteField(int tagNo, TagField field, float value) = 0;
};
