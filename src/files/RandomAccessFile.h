#pragma once
// Positioned binary reads and writes on one file named by a path text (see platform/Paths.h).
// The store file is written record by record in place, so it needs reads and writes at offsets,
// a flush that reaches the disk, and a replace-by-rename for copies that must never be half there.
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/VbError.h"

class RandomAccessFile {
public:
    enum class Mode { ReadOnly, ReadWrite, ReadWriteCreate, CreateTruncate };

    RandomAccessFile() = default;
    ~RandomAccessFile();
    RandomAccessFile(const RandomAccessFile&) = delete;
    RandomAccessFile& operator=(const RandomAccessFile&) = delete;
    RandomAccessFile(RandomAccessFile&& other) noexcept;
    RandomAccessFile& operator=(RandomAccessFile&& other) noexcept;

    VbError Open(std::string_view pathText, Mode mode);
    void Close();
    bool IsOpen() const { return fd_ >= 0; }

    VbResult<int64_t> Length() const;
    // Reads exactly bytes.size() bytes at offset; a file that ends earlier gives error 62.
    VbError ReadAt(int64_t offset, char* bytes, std::size_t count) const;
    // Writes all of bytes at offset in one call where the system allows (short writes are continued).
    VbError WriteAt(int64_t offset, std::string_view bytes);
    // Writes count zero bytes at offset.
    VbError WriteZerosAt(int64_t offset, int64_t count);
    // Pushes the written bytes to the disk.
    VbError Flush();

private:
    int fd_ = -1;
};

// Renames fromText over toText (replacing it in one step).
VbError ReplaceFileByRename(std::string_view fromText, std::string_view toText);
// Copies the whole of srcText to dstText through a temporary file in dstText's folder that is
// flushed and then renamed into place, so dstText is always either the old or the new copy.
VbError CopyFileSafely(std::string_view srcText, std::string_view dstText);
