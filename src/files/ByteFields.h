#pragma once
// Little-endian field readers and writers for the binary files (tag setup file, store file).
// Values are taken from and put into byte buffers one field at a time, never as whole structs.
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/VbError.h"

// Reads fields from a byte buffer with a cursor. A read that would pass the end of the buffer
// leaves its target unchanged, still moves the cursor, and records error 62 (the first error
// is kept), so a reader of a damaged file can carry on and fill what the bytes allow.
class ByteReader {
public:
    explicit ByteReader(std::string_view data) : data_(data) {}

    int64_t Position() const { return pos_; }
    int64_t Size() const { return static_cast<int64_t>(data_.size()); }
    void Seek(int64_t position) { pos_ = position; }
    void Skip(int64_t count) { pos_ += count; }

    bool Int16(int16_t& value);
    bool Int32(int32_t& value);
    bool Int64(int64_t& value);
    bool Float32(float& value);
    bool Float64(double& value);
    // Exactly length bytes, padding included.
    bool Text(std::string& value, std::size_t length);

    const VbError& FirstError() const { return error_; }
    bool Failed() const { return error_.Failed(); }

private:
    const char* Take(std::size_t count);

    std::string_view data_;
    int64_t pos_ = 0;
    VbError error_;
};

// Appends fields to a byte buffer.
class ByteWriter {
public:
    void Int16(int16_t value);
    void Int32(int32_t value);
    void Int64(int64_t value);
    void Float32(float value);
    void Float64(double value);
    // The text cut or padded with blanks to exactly length bytes.
    void Text(std::string_view value, std::size_t length);
    void Zeros(std::size_t count) { buffer_.append(count, '\0'); }
    void Bytes(std::string_view bytes) { buffer_.append(bytes); }

    std::size_t Size() const { return buffer_.size(); }
    const std::string& Buffer() const { return buffer_; }
    std::string& Buffer() { return buffer_; }

private:
    std::string buffer_;
};

// Single values at a position of a buffer (the buffer must hold them).
int16_t GetInt16At(std::string_view bytes, std::size_t offset);
int32_t GetInt32At(std::string_view bytes, std::size_t offset);
float GetFloat32At(std::string_view bytes, std::size_t offset);
void PutInt16At(std::string& bytes, std::size_t offset, int16_t value);
void PutInt32At(std::string& bytes, std::size_t offset, int32_t value);
void PutFloat32At(std::string& bytes, std::size_t offset, float value);
