#include "files/RandomAccessFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "platform/Paths.h"

RandomAccessFile::~RandomAccessFile() { Close(); }

RandomAccessFile::RandomAccessFile(RandomAccessFile&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }

RandomAccessFile& RandomAccessFile::operator=(RandomAccessFile&& other) noexcept
{
    if (this != &other) {
        Close();
        fd_ = other.fd_;
        other.fd_ = -1;
    }
    return *this;
}

VbError RandomAccessFile::Open(std::string_view pathText, Mode mode)
{
    Close();
    if (pathText.empty())
        return VbError(ErrBadFileName);
    int flags = O_CLOEXEC;
    switch (mode) {
    case Mode::ReadOnly: flags |= O_RDONLY; break;
    case Mode::ReadWrite: flags |= O_RDWR; break;
    case Mode::ReadWriteCreate: flags |= O_RDWR | O_CREAT; break;
    case Mode::CreateTruncate: flags |= O_RDWR | O_CREAT | O_TRUNC; break;
    }
    const std::string local = LocalPath(pathText).string();
    const int fd = ::open(local.c_str(), flags, 0666);
    if (fd < 0) {
        // Creating a file fails with "no such entry" only when its folder is missing.
        if (errno == ENOENT && (flags & O_CREAT))
            return VbError(ErrPathNotFound);
        return VbErrorFromErrno(errno);
    }
    struct stat st {};
    if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        ::close(fd);
        return VbError(ErrPathFileAccess);
    }
    fd_ = fd;
    return {};
}

void RandomAccessFile::Close()
{
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
}

VbResult<int64_t> RandomAccessFile::Length() const
{
    VbResult<int64_t> r;
    if (fd_ < 0) {
        r.Error = VbError(ErrBadFileNameOrNumber);
        return r;
    }
    struct stat st {};
    if (::fstat(fd_, &st) != 0) {
        r.Error = VbErrorFromErrno(errno);
        return r;
    }
    r.Value = static_cast<int64_t>(st.st_size);
    return r;
}

VbError RandomAccessFile::ReadAt(int64_t offset, char* bytes, std::size_t count) const
{
    if (fd_ < 0)
        return VbError(ErrBadFileNameOrNumber);
    if (offset < 0)
        return VbError(ErrBadRecordNumber);
    std::size_t done = 0;
    while (done < count) {
        const ssize_t n = ::pread(fd_, bytes + done, count - done, static_cast<off_t>(offset + done));
        if (n < 0) {
            if (errno == EINTR) continue;
            return VbErrorFromErrno(errno);
        }
        if (n == 0)
            return VbError(ErrInputPastEnd);
        done += static_cast<std::size_t>(n);
    }
    return {};
}

VbError RandomAccessFile::WriteAt(int64_t offset, std::string_view bytes)
{
    if (fd_ < 0)
        return VbError(ErrBadFileNameOrNumber);
    if (offset < 0)
        return VbError(ErrBadRecordNumber);
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::pwrite(fd_, bytes.data() + done, bytes.size() - done,
                                   static_cast<off_t>(offset + done));
        if (n < 0) {
            if (errno == EINTR) continue;
            return VbErrorFromErrno(errno);
        }
        if (n == 0)
            return VbError(ErrDiskFull);
        done += static_cast<std::size_t>(n);
    }
    return {};
}

VbError RandomAccessFile::WriteZerosAt(int64_t offset, int64_t count)
{
    constexpr int64_t chunk = 1 << 20;
    const std::string zeros(static_cast<std::size_t>(count < chunk ? (count > 0 ? count : 0) : chunk), '\0');
    while (count > 0) {
        const int64_t n = count < chunk ? count : chunk;
        if (VbError e = WriteAt(offset, std::string_view(zeros.data(), static_cast<std::size_t>(n))))
            return e;
        offset += n;
        count -= n;
    }
    return {};
}

VbError RandomAccessFile::Flush()
{
    if (fd_ < 0)
        return VbError(ErrBadFileNameOrNumber);
    if (::fsync(fd_) != 0)
        return VbErrorFromErrno(errno);
    return {};
}

VbError ReplaceFileByRename(std::string_view fromText, std::string_view toText)
{
    const std::string from = LocalPath(fromText).string();
    const std::string to = LocalPath(toText).string();
    if (::rename(from.c_str(), to.c_str()) != 0)
        return VbErrorFromErrno(errno);
    return {};
}

VbError CopyFileSafely(std::string_view srcText, std::string_view dstText)
{
    RandomAccessFile src;
    if (VbError e = src.Open(srcText, RandomAccessFile::Mode::ReadOnly))
        return e;
    const VbResult<int64_t> length = src.Length();
    if (!length.Ok())
        return length.Error;

    const std::string tempText = PathJoin(PathFolderPart(dstText), "~" + PathFilePart(dstText) + ".tmp");
    RandomAccessFile dst;
    if (VbError e = dst.Open(tempText, RandomAccessFile::Mode::CreateTruncate))
        return e;

    VbError failure;
    constexpr std::size_t chunk = 1 << 20;
    std::vector<char> buffer(chunk);
    for (int64_t offset = 0; offset < length.Value && !failure;) {
        const std::size_t n = static_cast<std::size_t>(
            length.Value - offset < static_cast<int64_t>(chunk) ? length.Value - offset : chunk);
        failure = src.ReadAt(offset, buffer.data(), n);
        if (!failure)
            failure = dst.WriteAt(offset, std::string_view(buffer.data(), n));
        offset += static_cast<int64_t>(n);
    }
    if (!failure)
        failure = dst.Flush();
    dst.Close();
    if (!failure)
        failure = ReplaceFileByRename(tempText, dstText);
    if (failure) {
        const std::string temp = LocalPath(tempText).string();
        ::unlink(temp.c_str());
    }
    return failure;
}
