#include "files/ByteFields.h"

#include <bit>

namespace {

uint64_t LoadLittle(const char* p, std::size_t count)
{
    uint64_t v = 0;
    for (std::size_t i = 0; i < count; ++i)
        v |= static_cast<uint64_t>(static_cast<unsigned char>(p[i])) << (8 * i);
    return v;
}

void StoreLittle(char* p, uint64_t v, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        p[i] = static_cast<char>((v >> (8 * i)) & 0xFF);
}

void AppendLittle(std::string& out, uint64_t v, std::size_t count)
{
    char bytes[8];
    StoreLittle(bytes, v, count);
    out.append(bytes, count);
}

} // namespace

const char* ByteReader::Take(std::size_t count)
{
    const int64_t start = pos_;
    pos_ += static_cast<int64_t>(count);
    if (start < 0 || start > Size() || static_cast<int64_t>(count) > Size() - start) {
        if (!error_.Failed())
            error_ = VbError(ErrInputPastEnd);
        return nullptr;
    }
    return data_.data() + start;
}

bool ByteReader::Int16(int16_t& value)
{
    const char* p = Take(2);
    if (!p) return false;
    value = static_cast<int16_t>(static_cast<uint16_t>(LoadLittle(p, 2)));
    return true;
}

bool ByteReader::Int32(int32_t& value)
{
    const char* p = Take(4);
    if (!p) return false;
    value = static_cast<int32_t>(static_cast<uint32_t>(LoadLittle(p, 4)));
    return true;
}

bool ByteReader::Int64(int64_t& value)
{
    const char* p = Take(8);
    if (!p) return false;
    value = static_cast<int64_t>(LoadLittle(p, 8));
    return true;
}

bool ByteReader::Float32(float& value)
{
    const char* p = Take(4);
    if (!p) return false;
    value = std::bit_cast<float>(static_cast<uint32_t>(LoadLittle(p, 4)));
    return true;
}

bool ByteReader::Float64(double& value)
{
    const char* p = Take(8);
    if (!p) return false;
    value = std::bit_cast<double>(LoadLittle(p, 8));
    return true;
}

bool ByteReader::Text(std::string& value, std::size_t length)
{
    const char* p = Take(length);
    if (!p) return false;
    value.assign(p, length);
    return true;
}

void ByteWriter::Int16(int16_t value) { AppendLittle(buffer_, static_cast<uint16_t>(value), 2); }
void ByteWriter::Int32(int32_t value) { AppendLittle(buffer_, static_cast<uint32_t>(value), 4); }
void ByteWriter::Int64(int64_t value) { AppendLittle(buffer_, static_cast<uint64_t>(value), 8); }
void ByteWriter::Float32(float value) { AppendLittle(buffer_, std::bit_cast<uint32_t>(value), 4); }
void ByteWriter::Float64(double value) { AppendLittle(buffer_, std::bit_cast<uint64_t>(value), 8); }

void ByteWriter::Text(std::string_view value, std::size_t length)
{
    const std::size_t n = value.size() < length ? value.size() : length;
    buffer_.append(value.data(), n);
    buffer_.append(length - n, ' ');
}

int16_t GetInt16At(std::string_view bytes, std::size_t offset)
{
    return static_cast<int16_t>(static_cast<uint16_t>(LoadLittle(bytes.data() + offset, 2)));
}

int32_t GetInt32At(std::string_view bytes, std::size_t offset)
{
    return static_cast<int32_t>(static_cast<uint32_t>(LoadLittle(bytes.data() + offset, 4)));
}

float GetFloat32At(std::string_view bytes, std::size_t offset)
{
    return std::bit_cast<float>(static_cast<uint32_t>(LoadLittle(bytes.data() + offset, 4)));
}

void PutInt16At(std::string& bytes, std::size_t offset, int16_t value)
{
    StoreLittle(bytes.data() + offset, static_cast<uint16_t>(value), 2);
}

void PutInt32At(std::string& bytes, std::size_t offset, int32_t value)
{
    StoreLittle(bytes.data() + offset, static_cast<uint32_t>(value), 4);
}

void PutFloat32At(std::string& bytes, std::size_t offset, float value)
{
    StoreLittle(bytes.data() + offset, std::bit_cast<uint32_t>(value), 4);
}
