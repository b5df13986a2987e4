#include "support/ProgramInfo.h"

#include <cstdio>

#include "BuildInfo.h"

std::string VersionText(std::string_view program)
{
    std::string text(program);
    text += " " VT_VERSION_TEXT "\n";
    text += "build: " VT_BUILD_TEXT "\n";
    return text;
}

namespace {

void Write(std::FILE* stream, std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

}  // namespace

int PrintUsage(std::string_view usage)
{
    Write(stdout, usage);
    return 0;
}

int PrintVersion(std::string_view program)
{
    Write(stdout, VersionText(program));
    return 0;
}

int RefuseCommandLine(std::string_view program, std::string_view what, std::string_view usage)
{
    std::string line(program);
    line += ": ";
    line += what;
    line += "\n";
    Write(stderr, line);
    Write(stderr, usage);
    return CommandLineRefused;
}

bool IsLongOption(std::string_view argument)
{
    return argument.size() > 2 && argument.substr(0, 2) == "--";
}

ToolCommandLine ReadToolCommandLine(int argc, char** argv, std::string_view program, std::string_view usage,
                                    std::string_view flag)
{
    ToolCommandLine line;
    bool optionsEnd = false;
    for (int i = 1; i < argc && !line.Done; ++i) {
        const std::string a = argv[i];
        if (optionsEnd || (!IsLongOption(a) && a != "--")) {
            line.Words.push_back(a);
        } else if (a == "--") {
            optionsEnd = true;
        } else if (a == "--help") {
            line.Done = true;
            line.ExitCode = PrintUsage(usage);
        } else if (a == "--version") {
            line.Done = true;
            line.ExitCode = PrintVersion(program);
        } else if (!flag.empty() && a == flag) {
            line.Flag = true;
        } else {
            line.Done = true;
            line.ExitCode = RefuseCommandLine(program, "unknown option '" + a + "'", usage);
        }
    }
    return line;
}
