// What every program of the installation answers to --help and --version, and how it refuses an
// option it does not know. Plain texts, so each program keeps its own usage.
#pragma once
#include <string>
#include <string_view>
#include <vector>

// "vt-store 0.1.0" and a second line with the build: type, compiler, commit.
std::string VersionText(std::string_view program);

// Prints the usage to stdout; the exit status of an asked-for help (0).
int PrintUsage(std::string_view usage);

// Prints the version text to stdout; exit status 0.
int PrintVersion(std::string_view program);

// "<program>: <what>" then the usage, on stderr; the exit status of a refused command line (2).
int RefuseCommandLine(std::string_view program, std::string_view what, std::string_view usage);

// An argument that looks like a long option ("--x"): programs refuse those they do not know.
bool IsLongOption(std::string_view argument);

// The exit status of a refused command line.
constexpr int CommandLineRefused = 2;

// A tool's command line ("vt-mtg build --force A B"): options may stand anywhere and "--" ends
// them. --help and --version are answered, the one flag the tool takes (if any) is noted, and any
// other option is refused. When Done, the program ends with ExitCode.
struct ToolCommandLine {
    std::vector<std::string> Words;  // the arguments that are not options, command first
    bool Flag = false;               // the tool's own flag was given
    bool Done = false;
    int ExitCode = 0;
};
ToolCommandLine ReadToolCommandLine(int argc, char** argv, std::string_view program, std::string_view usage,
                                    std::string_view flag);
