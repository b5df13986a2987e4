#include "platform/Paths.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

#include "platform/Prefix.h"

namespace {

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

bool IsDriveLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

bool HasDrive(std::string_view text) { return text.size() >= 2 && IsDriveLetter(text[0]) && text[1] == ':'; }

char UpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

bool SameIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (UpperAscii(a[i]) != UpperAscii(b[i])) return false;
    return true;
}

// The entry of folder whose name equals name without regard to case; the first in byte
// order when several do, so the choice does not depend on the directory's internal order.
// Empty when there is none or the folder cannot be read.
std::string FindIgnoringCase(const std::filesystem::path& folder, std::string_view name) {
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return {};
    std::string best;
    while (const dirent* entry = ::readdir(dir)) {
        std::string_view entryName(entry->d_name);
        if (entryName == "." || entryName == "..") continue;
        if (SameIgnoringCase(entryName, name) && (best.empty() || entryName < best)) best = entryName;
    }
    ::closedir(dir);
    return best;
}

enum class StepResult { Found, Missing };

// Extends path by one component, finding the existing spelling when there is one.
StepResult StepInto(std::filesystem::path& path, const std::string& component) {
    std::filesystem::path exact = path / component;
    struct stat info {};
    // The exact spelling is the common case and costs one stat; the folder is listed only
    // when it is missing, so nothing is cached and nothing can go stale.
    if (::lstat(exact.c_str(), &info) == 0) {
        path = std::move(exact);
        return StepResult::Found;
    }
    if (errno == ENOENT) {
        std::string match = FindIgnoringCase(path, component);
        if (!match.empty()) {
            path /= match;
            return StepResult::Found;
        }
    }
    path = std::move(exact);
    return StepResult::Missing;
}

std::filesystem::path WorkingFolder() {
    std::error_code ec;
    std::filesystem::path cwd = std::filesystem::current_path(ec);
    return ec ? std::filesystem::path("/") : cwd;
}

}  // namespace

std::filesystem::path LocalPath(std::string_view pathText) {
    std::filesystem::path result;
    std::filesystem::path floor;  // ".." never climbs above this (a drive's root)
    std::string_view rest = pathText;
    if (HasDrive(rest)) {
        result = PrefixDriveFolder(rest[0]);
        floor = result;
        rest.remove_prefix(2);
    } else if (!rest.empty() && IsSeparator(rest[0])) {
        result = "/";
        floor = result;
    } else {
        result = WorkingFolder();
        floor = "/";
    }

    std::vector<std::filesystem::path> trail;  // the folders walked, for ".."
    bool existing = true;
    size_t pos = 0;
    while (pos <= rest.size()) {
        size_t end = pos;
        while (end < rest.size() && !IsSeparator(rest[end])) ++end;
        std::string component(rest.substr(pos, end - pos));
        pos = end + 1;
        if (component.empty() || component == ".") continue;
        if (component == "..") {
            if (!trail.empty()) {
                result = trail.back();
                trail.pop_back();
            } else if (result != floor) {
                result = result.parent_path();
            }
            // Once above a missing folder, the parent may exist again.
            struct stat info {};
            existing = ::stat(result.c_str(), &info) == 0;
            continue;
        }
        trail.push_back(result);
        if (existing) {
            existing = StepInto(result, component) == StepResult::Found;
        } else {
            result /= component;
        }
    }
    return result;
}

std::string PathFolderPart(std::string_view pathText) {
    size_t last = pathText.find_last_of("\\/");
    if (last == std::string_view::npos) return HasDrive(pathText) ? std::string(pathText.substr(0, 2)) : std::string();
    if (last == 0) return std::string(pathText.substr(0, 1));  // "\x" is in the root
    return std::string(pathText.substr(0, last));
}

std::string PathFilePart(std::string_view pathText) {
    size_t last = pathText.find_last_of("\\/");
    if (last == std::string_view::npos) return std::string(HasDrive(pathText) ? pathText.substr(2) : pathText);
    return std::string(pathText.substr(last + 1));
}

std::string PathJoin(std::string_view folder, std::string_view name) {
    while (!name.empty() && IsSeparator(name.front())) name.remove_prefix(1);
    if (folder.empty()) return std::string(name);
    std::string joined(folder);
    if (!IsSeparator(joined.back())) joined += '\\';
    joined += name;
    return joined;
}
