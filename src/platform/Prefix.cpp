#include "platform/Prefix.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <system_error>

namespace {

std::atomic<unsigned> generation{0};

std::string EnvText(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::string(value) : std::string();
}

std::filesystem::path ChosenRoot() {
    std::string given = EnvText("VOLTARIS_PREFIX");
    if (!given.empty()) {
        std::error_code ec;
        std::filesystem::path absolute = std::filesystem::absolute(given, ec);
        return (ec ? std::filesystem::path(given) : absolute).lexically_normal();
    }
    std::string home = EnvText("HOME");
    if (!home.empty()) return std::filesystem::path(home) / ".voltaris";
    // No home (services, stripped environments): a per-user folder that still works.
    return std::filesystem::path("/tmp") / (".voltaris-" + std::to_string(::getuid()));
}

bool IsFolder(const std::filesystem::path& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

void UsePrefix(const std::filesystem::path& root) {
    if (root.empty()) ::unsetenv("VOLTARIS_PREFIX");
    else ::setenv("VOLTARIS_PREFIX", root.c_str(), 1);
    generation.fetch_add(1);
}

unsigned PrefixGeneration() { return generation.load(std::memory_order_relaxed); }

std::filesystem::path PrefixRoot() {
    std::filesystem::path root = ChosenRoot();
    // run/ is made last, so its presence means the standard folders are all there.
    // One stat per call keeps this cheap and still notices a prefix that was removed.
    if (!IsFolder(root / "run")) {
        std::error_code ec;
        std::filesystem::create_directories(root / "windows", ec);
        std::filesystem::create_directories(root / "drives" / "c", ec);
        std::filesystem::create_directories(root / "run", ec);
    }
    return root;
}

std::filesystem::path PrefixRootName() { return ChosenRoot(); }

std::filesystem::path PrefixWindowsFolder() { return PrefixRoot() / "windows"; }

std::filesystem::path PrefixRunFolder() { return PrefixRoot() / "run"; }

std::filesystem::path PrefixDriveFolder(char driveLetter) {
    char letter = driveLetter;
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return PrefixRoot() / "drives" / std::string(1, letter);
}

// The local path of the windows/ folder itself: it resolves to that folder through LocalPath
// like any absolute path, and names appended with "\" resolve inside it.
std::string WindowsFolderText() { return PrefixWindowsFolder().string(); }

std::filesystem::path SystemProfilePath() { return PrefixWindowsFolder() / "win.ini"; }
