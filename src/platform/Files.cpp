#include "platform/Files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string>

#include "platform/Paths.h"

namespace {

namespace fs = std::filesystem;

bool StatPath(const fs::path& path, struct stat& info) { return ::stat(path.c_str(), &info) == 0; }

bool IsFolderPath(const fs::path& path) {
    struct stat info {};
    return StatPath(path, info) && S_ISDIR(info.st_mode);
}

// A missing file whose folder is there is "File not found"; a missing folder on the way is "Path not found".
VbError MissingError(const fs::path& path) {
    return VbError(IsFolderPath(path.parent_path()) ? ErrFileNotFound : ErrPathNotFound);
}

// The error for a failed open or stat of path with errno err.
VbError OpenError(const fs::path& path, int err) {
    if (err == ENOENT) return MissingError(path);
    return VbErrorFromErrno(err);
}

VbError WriteAll(int fd, std::string_view content) {
    const char* data = content.data();
    size_t left = content.size();
    while (left > 0) {
        ssize_t written = ::write(fd, data, left);
        if (written < 0) {
            if (errno == EINTR) continue;
            return VbErrorFromErrno(errno);
        }
        data += written;
        left -= static_cast<size_t>(written);
    }
    return {};
}

VbError SyncAndClose(int fd) {
    VbError error;
    if (::fsync(fd) != 0 && errno != EINVAL) error = VbErrorFromErrno(errno);
    if (::close(fd) != 0 && !error) error = VbErrorFromErrno(errno);
    return error;
}

void SyncFolder(const fs::path& folder) {
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

VbError CopyLocal(const fs::path& from, const fs::path& to) {
    int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return OpenError(from, errno);
    struct stat fromInfo {};
    if (::fstat(in, &fromInfo) != 0 || S_ISDIR(fromInfo.st_mode)) {
        ::close(in);
        return VbError(ErrPathFileAccess);
    }
    struct stat toInfo {};
    if (StatPath(to, toInfo) && toInfo.st_dev == fromInfo.st_dev && toInfo.st_ino == fromInfo.st_ino) {
        // Truncating the target would destroy the source; the original refused this too.
        ::close(in);
        return VbError(ErrPermissionDenied);
    }
    int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, fromInfo.st_mode & 0777);
    if (out < 0) {
        int err = errno;
        ::close(in);
        if (err == ENOENT || err == ENOTDIR) return VbError(ErrPathNotFound);
        return VbErrorFromErrno(err);
    }
    VbError error;
    char buffer[65536];
    for (;;) {
        ssize_t got = ::read(in, buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) continue;
            error = VbErrorFromErrno(errno);
            break;
        }
        if (got == 0) break;
        error = WriteAll(out, std::string_view(buffer, static_cast<size_t>(got)));
        if (error) break;
    }
    ::close(in);
    VbError closing = SyncAndClose(out);
    if (!error) error = closing;
    // A half-written copy is worse than none.
    if (error) ::unlink(to.c_str());
    return error;
}

std::atomic<unsigned> temporaryCounter{0};

std::string TemporarySuffix() {
    timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return ".tmp" + std::to_string(::getpid()) + "-" + std::to_string(temporaryCounter.fetch_add(1)) + "-" +
           std::to_string(now.tv_nsec);
}

char UpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

std::string UpperText(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) c = UpperAscii(c);
    return upper;
}

}  // namespace

bool FileExists(std::string_view pathText) {
    struct stat info {};
    return StatPath(LocalPath(pathText), info) && S_ISREG(info.st_mode);
}

bool FolderExists(std::string_view pathText) { return IsFolderPath(LocalPath(pathText)); }

VbError MakeFolderPath(std::string_view pathText) {
    fs::path target = LocalPath(pathText);
    fs::path built;
    for (const fs::path& part : target) {
        built /= part;
        if (::mkdir(built.c_str(), 0777) == 0) continue;
        int err = errno;
        if (err == EEXIST) {
            if (IsFolderPath(built)) continue;
            return VbError(ErrPathFileAccess);  // a file stands where a folder should be
        }
        // Searching an unreadable folder above an existing one fails with EACCES; only report it
        // when the folder itself is not already there.
        if (IsFolderPath(built)) continue;
        return VbErrorFromErrno(err);
    }
    return {};
}

VbError CopyFileReplacing(std::string_view src, std::string_view dst) {
    return CopyLocal(LocalPath(src), LocalPath(dst));
}

VbError MoveFile(std::string_view src, std::string_view dst) {
    fs::path from = LocalPath(src);
    struct stat fromInfo {};
    if (::lstat(from.c_str(), &fromInfo) != 0) return OpenError(from, errno);
    fs::path to = LocalPath(dst);
    struct stat toInfo {};
    if (::lstat(to.c_str(), &toInfo) == 0) {
        if (toInfo.st_dev != fromInfo.st_dev || toInfo.st_ino != fromInfo.st_ino) return VbError(ErrFileExists);
        // Same entry under another spelling: only the letter case of the name changes.
        to = to.parent_path() / PathFilePart(dst);
        if (to == from) return {};
    }
    if (::rename(from.c_str(), to.c_str()) == 0) return {};
    int err = errno;
    if (err == ENOENT || err == ENOTDIR) return VbError(ErrPathNotFound);
    if (err != EXDEV) return VbErrorFromErrno(err);
    if (!S_ISREG(fromInfo.st_mode)) return VbError(ErrRenameAcrossDisks);
    if (VbError error = CopyLocal(from, to)) return error;
    if (::unlink(from.c_str()) != 0) return VbErrorFromErrno(errno);
    return {};
}

VbError DeleteFile(std::string_view pathText) {
    fs::path path = LocalPath(pathText);
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return OpenError(path, errno);
    if (S_ISDIR(info.st_mode)) return VbError(ErrFileNotFound);  // a folder is not a file
    if (::unlink(path.c_str()) != 0) return VbErrorFromErrno(errno);
    return {};
}

VbError DeleteFolder(std::string_view pathText) {
    fs::path path = LocalPath(pathText);
    if (::rmdir(path.c_str()) == 0) return {};
    int err = errno;
    if (err == ENOENT || err == ENOTDIR) return VbError(ErrPathNotFound);
    return VbErrorFromErrno(err);  // not empty: Path/File access error
}

VbResult<int64_t> FileLength(std::string_view pathText) {
    VbResult<int64_t> result;
    fs::path path = LocalPath(pathText);
    struct stat info {};
    if (!StatPath(path, info)) {
        result.Error = OpenError(path, errno);
    } else if (!S_ISREG(info.st_mode)) {
        result.Error = VbError(ErrFileNotFound);
    } else {
        result.Value = static_cast<int64_t>(info.st_size);
    }
    return result;
}

VbResult<DateTime> FileDateTime(std::string_view pathText) {
    VbResult<DateTime> result;
    fs::path path = LocalPath(pathText);
    struct stat info {};
    if (!StatPath(path, info)) {
        result.Error = OpenError(path, errno);
        return result;
    }
    time_t seconds = info.st_mtim.tv_sec;
    struct tm local {};
    if (!::localtime_r(&seconds, &local)) {
        result.Error = VbError(ErrOverflow);
        return result;
    }
    result.Value = MakeDateTime(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                                local.tm_sec);
    return result;
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
    // Greedy match with one backtrack point for the last "*": linear enough for file names.
    size_t n = 0, p = 0;
    size_t starP = std::string_view::npos, starN = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || UpperAscii(pattern[p]) == UpperAscii(name[n]))) {
            ++n;
            ++p;
        } else if (p < pattern.size() && pattern[p] == '*') {
            starP = p++;
            starN = n;
        } else if (starP != std::string_view::npos) {
            p = starP + 1;
            n = ++starN;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    // As on the original platform, a final ".*" also matches a name without an extension ("*.*" is everything).
    if (p < pattern.size() && pattern[p] == '.' && pattern.find_first_not_of('*', p + 1) == std::string_view::npos)
        return true;
    return p == pattern.size();
}

std::vector<std::string> ListFiles(std::string_view folderText, std::string_view pattern) {
    std::vector<std::string> names;
    fs::path folder = LocalPath(folderText);
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return names;
    while (const dirent* entry = ::readdir(dir)) {
        std::string_view name(entry->d_name);
        if (name == "." || name == "..") continue;
        if (!MatchesPattern(name, pattern)) continue;
        if (entry->d_type != DT_REG) {
            if (entry->d_type != DT_UNKNOWN && entry->d_type != DT_LNK) continue;
            struct stat info {};
            if (!StatPath(folder / std::string(name), info) || !S_ISREG(info.st_mode)) continue;
        }
        names.emplace_back(name);
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        std::string upperA = UpperText(a), upperB = UpperText(b);
        return upperA != upperB ? upperA < upperB : a < b;
    });
    return names;
}

VbResult<std::string> ReadWholeFile(std::string_view pathText) {
    VbResult<std::string> result;
    fs::path path = LocalPath(pathText);
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        result.Error = OpenError(path, errno);
        return result;
    }
    struct stat info {};
    if (::fstat(fd, &info) == 0) {
        if (S_ISDIR(info.st_mode)) {
            ::close(fd);
            result.Error = VbError(ErrPathFileAccess);
            return result;
        }
        result.Value.reserve(static_cast<size_t>(info.st_size));
    }
    char buffer[65536];
    for (;;) {
        ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) continue;
            result.Error = VbErrorFromErrno(errno);
            result.Value.clear();
            break;
        }
        if (got == 0) break;
        result.Value.append(buffer, static_cast<size_t>(got));
    }
    ::close(fd);
    return result;
}

VbError WriteFileAtomically(std::string_view pathText, std::string_view content) {
    fs::path target = LocalPath(pathText);
    fs::path folder = target.parent_path();
    if (!IsFolderPath(folder)) return VbError(ErrPathNotFound);

    struct stat targetInfo {};
    bool hadTarget = StatPath(target, targetInfo);
    // The temporary sits beside the target so the rename never crosses file systems.
    fs::path temporary;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        // Appended, never prepended: GCC 12 at -O3 warns falsely on "literal" + std::string.
        std::string name = ".";
        name += target.filename().string();
        name += TemporarySuffix();
        temporary = folder / name;
        fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) return VbErrorFromErrno(errno);
    }
    if (fd < 0) return VbError(ErrPathFileAccess);
    // Keep the permissions of the file being replaced.
    if (hadTarget && S_ISREG(targetInfo.st_mode)) ::fchmod(fd, targetInfo.st_mode & 07777);

    VbError error = WriteAll(fd, content);
    VbError closing = SyncAndClose(fd);
    if (!error) error = closing;
    if (!error && ::rename(temporary.c_str(), target.c_str()) != 0) error = VbErrorFromErrno(errno);
    if (error) {
        ::unlink(temporary.c_str());
        return error;
    }
    SyncFolder(folder);
    return {};
}

VbError AppendToFile(std::string_view pathText, std::string_view content) {
    fs::path path = LocalPath(pathText);
    int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) {
        int err = errno;
        if (err == ENOENT || err == ENOTDIR) return VbError(ErrPathNotFound);
        return VbErrorFromErrno(err);
    }
    // Written through to the system before return; logs do not pay for an fsync per line.
    VbError error = WriteAll(fd, content);
    if (::close(fd) != 0 && !error) error = VbErrorFromErrno(errno);
    return error;
}

bool FileIsReadOnly(std::string_view pathText) {
    struct stat st {};
    if (::stat(LocalPath(pathText).c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    return (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}
