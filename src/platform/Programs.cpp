#include "platform/Programs.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/Paths.h"
#include "platform/Prefix.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

std::string commandLine;
std::string programNameOverride;

bool IsRegularFile(const fs::path& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool EndsWithExe(std::string_view text) {
    if (text.size() < 4) return false;
    std::string_view ending = text.substr(text.size() - 4);
    static const char lower[] = ".exe";
    for (size_t i = 0; i < 4; ++i) {
        char c = ending[i];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != lower[i]) return false;
    }
    return true;
}

// The file a path text names, trying it without ".exe" when the name as written is missing:
// the programs the monitor starts carry that ending from their original platform.
std::optional<fs::path> ResolveFile(std::string_view pathText) {
    fs::path path = LocalPath(pathText);
    if (IsRegularFile(path)) return path;
    if (EndsWithExe(pathText)) {
        fs::path bare = LocalPath(pathText.substr(0, pathText.size() - 4));
        if (IsRegularFile(bare)) return bare;
    }
    return std::nullopt;
}

bool HasFolderPart(std::string_view pathText) {
    return pathText.find_first_of("\\/") != std::string_view::npos ||
           (pathText.size() >= 2 && pathText[1] == ':');
}

// A name without a folder is looked for beside the running program first, then on PATH.
std::optional<fs::path> FindProgram(std::string_view pathText) {
    if (pathText.empty()) return std::nullopt;
    if (HasFolderPart(pathText)) return ResolveFile(pathText);
    if (auto found = ResolveFile(PathJoin(ProgramFolder(), pathText))) return found;
    const char* searchPath = std::getenv("PATH");
    std::string_view rest = searchPath ? searchPath : "";
    while (!rest.empty()) {
        size_t colon = rest.find(':');
        std::string_view folder = rest.substr(0, colon);
        rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
        if (folder.empty()) continue;
        if (auto found = ResolveFile(PathJoin(folder, pathText))) return found;
    }
    return std::nullopt;
}

// Splits parameters on blanks; double quotes group blanks into one argument and are removed.
std::vector<std::string> SplitParameters(std::string_view parameters) {
    std::vector<std::string> arguments;
    std::string current;
    bool inQuotes = false, inArgument = false;
    for (char c : parameters) {
        if (c == '"') {
            inQuotes = !inQuotes;
            inArgument = true;
        } else if ((c == ' ' || c == '\t') && !inQuotes) {
            if (inArgument) arguments.push_back(std::move(current));
            current.clear();
            inArgument = false;
        } else {
            current += c;
            inArgument = true;
        }
    }
    if (inArgument) arguments.push_back(std::move(current));
    return arguments;
}

const char* ShowText(WindowShow show) {
    switch (show) {
    case WindowShow::Minimised: return "minimised";
    case WindowShow::Hidden: return "hidden";
    case WindowShow::Normal: break;
    }
    return "normal";
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// Starts program detached from this process: a child starts a new session and forks the
// program, then ends at once, so the program is adopted by init and never left as a zombie
// here. Returns when the program has been executed (or failed to be); never waits for it.
VbError Launch(const fs::path& program, const std::vector<std::string>& arguments, WindowShow show) {
    // Everything is built before forking: between fork and exec only plain system calls are made.
    std::vector<std::string> argvTexts{program.string()};
    argvTexts.insert(argvTexts.end(), arguments.begin(), arguments.end());
    std::vector<std::string> shellTexts{"/bin/sh"};
    shellTexts.insert(shellTexts.end(), argvTexts.begin(), argvTexts.end());
    std::vector<std::string> envTexts;
    static const std::string showName = "VOLTARIS_WINDOW_SHOW=";
    for (char** entry = environ; entry && *entry; ++entry)
        if (std::string_view(*entry).substr(0, showName.size()) != showName) envTexts.emplace_back(*entry);
    envTexts.push_back(showName + ShowText(show));
    std::vector<char*> argv = Pointers(argvTexts);
    std::vector<char*> shellArgv = Pointers(shellTexts);
    std::vector<char*> envp = Pointers(envTexts);

    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) return VbErrorFromErrno(errno);
    pid_t child = ::fork();
    if (child < 0) {
        int err = errno;
        ::close(report[0]);
        ::close(report[1]);
        return VbErrorFromErrno(err);
    }
    if (child == 0) {
        ::close(report[0]);
        ::setsid();
        pid_t grandchild = ::fork();
        if (grandchild != 0) {
            if (grandchild < 0) {
                int err = errno;
                (void)!::write(report[1], &err, sizeof err);
            }
            ::_exit(0);
        }
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        struct sigaction standard {};
        standard.sa_handler = SIG_DFL;
        ::sigaction(SIGPIPE, &standard, nullptr);
        ::sigaction(SIGCHLD, &standard, nullptr);
        // Files and locks this process holds (the single-instance lock among them) stay here.
        ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
        ::execve(argv[0], argv.data(), envp.data());
        // A script without a "#!" line is run by the shell, as a shell would.
        if (errno == ENOEXEC) ::execve(shellArgv[0], shellArgv.data(), envp.data());
        int err = errno;
        (void)!::write(report[1], &err, sizeof err);
        ::_exit(127);
    }
    ::close(report[1]);
    int err = 0;
    ssize_t got;
    do {
        got = ::read(report[0], &err, sizeof err);
    } while (got < 0 && errno == EINTR);
    ::close(report[0]);
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    if (got != static_cast<ssize_t>(sizeof err)) return {};
    if (err == ENOENT) return VbError(ErrFileNotFound);
    if (err == EACCES || err == ENOEXEC) return VbError(ErrInvalidCall);  // not a program
    return VbErrorFromErrno(err);
}

std::string WithoutTrailingSeparators(std::string folder) {
    while (folder.size() > 1 && (folder.back() == '/' || folder.back() == '\\')) folder.pop_back();
    return folder;
}

const char* GivenProgramFolder() {
    const char* given = std::getenv("VOLTARIS_PROGRAM_DIR");
    return given && *given ? given : nullptr;
}

bool HasDisplay() {
    const char* x = std::getenv("DISPLAY");
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    return (x && *x) || (wayland && *wayland);
}

}  // namespace

VbError StartProgram(std::string_view pathText, std::string_view parameters, WindowShow show) {
    const std::optional<fs::path> program = FindProgram(pathText);
    if (!program) return VbError(ErrFileNotFound);
    if (::access(program->c_str(), X_OK) != 0) return VbError(ErrInvalidCall);
    return Launch(*program, SplitParameters(parameters), show);
}

VbError ShellOpen(std::string_view pathText, std::string_view parameters) {
    fs::path target = LocalPath(pathText);
    struct stat info {};
    if (::stat(target.c_str(), &info) != 0) {
        std::optional<fs::path> program = FindProgram(pathText);
        if (!program) return VbError(ErrFileNotFound);
        target = *program;
        if (::stat(target.c_str(), &info) != 0) return VbError(ErrFileNotFound);
    }
    if (S_ISREG(info.st_mode) && ::access(target.c_str(), X_OK) == 0)
        return Launch(target, SplitParameters(parameters), WindowShow::Normal);
    // A document or folder goes to the desktop's viewer; without a desktop there is nobody to show it to.
    if (!HasDisplay()) return VbError(ErrDeviceUnavailable);
    std::optional<fs::path> viewer = FindProgram("xdg-open");
    if (!viewer || ::access(viewer->c_str(), X_OK) != 0) return VbError(ErrDeviceUnavailable);
    return Launch(*viewer, {target.string()}, WindowShow::Normal);
}

std::string ProgramFilePath() {
    // The program file of a running process does not change: looked up once.
    static const std::string path = [] {
        std::error_code ec;
        const fs::path self = fs::read_symlink("/proc/self/exe", ec);
        return ec ? std::string() : self.string();
    }();
    return path;
}

std::string ProgramFolder() {
    if (const char* given = GivenProgramFolder()) return WithoutTrailingSeparators(given);
    return WithoutTrailingSeparators(fs::path(ProgramFilePath()).parent_path().string());
}

std::string LogFolder() {
    const std::string folder = ProgramFolder();
    // An installed program's folder is read-only: its logs go to the prefix instead.
    if (GivenProgramFolder() || ::access(folder.c_str(), W_OK) == 0) return folder;
    return FallbackProgramFolder().string();
}

std::filesystem::path FallbackProgramFolder() {
    const fs::path folder = PrefixRoot() / "program";
    std::error_code ec;
    fs::create_directories(folder, ec);
    return folder;
}

std::string ProgramName() {
    if (!programNameOverride.empty()) return programNameOverride;
    return fs::path(ProgramFilePath()).stem().string();
}

void SetProgramName(std::string name) { programNameOverride = std::move(name); }

std::string CommandLine() { return commandLine; }

void SetCommandLine(int argc, char** argv) {
    commandLine.clear();
    for (int i = 1; i < argc; ++i) {
        if (i > 1) commandLine += ' ';
        commandLine += argv[i];
    }
}
