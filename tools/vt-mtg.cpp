// vt-mtg: builds a tag setup file (.MTG) from its text description and prints one back as text.
//   vt-mtg build [--force] DESCRIPTION OUT.MTG
//   vt-mtg dump FILE.MTG
// Paths may be local paths or path texts of the prefix ("C:\Telvane\Job1\Setup\Site.MTG").
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"
#include "files/SetupUseChecks.h"
#include "platform/Paths.h"
#include "support/ProgramInfo.h"

namespace {

const char* const UsageText =
    "usage: vt-mtg build [--force] DESCRIPTION OUT.MTG\n"
    "                                write a tag setup file from its text description\n"
    "       vt-mtg dump FILE.MTG     print a tag setup file as a text description\n"
    "       vt-mtg --help | --version\n"
    "\n"
    "A description starts with [Header] (SetupVersion, SetupInfoWord, PeriodsPerDay, TariffCount,\n"
    "TariffEntryCount, CenterCount), followed by any of [Tariff i], [Tariff i Entry e], [PairTable p],\n"
    "[Center c], [Tag t] and [Fixed f] with lines 'Key = value'. Texts are in double quotes; a field\n"
    "not given is zero (texts blank). 'vt-mtg dump' of an existing file shows every key in use, and\n"
    "building its output gives the same file byte for byte.\n"
    "\n"
    "build refuses, naming the line, a setup the monitor cannot use: SetupVersion below 250,\n"
    "PeriodsPerDay other than 24, 48 or 96, an online measured tag with an unknown ScanType, or\n"
    "with a \"Scada Tag\" scan type and PageNo 0 (the host tag it reads). --force builds it anyway.\n"
    "\n"
    "Paths are local paths, or path texts of the prefix: \"C:\\Telvane\\Job1\\Setup\\Site.MTG\" is\n"
    "<prefix>/drives/c/Telvane/Job1/Setup/Site.MTG. The prefix is $VOLTARIS_PREFIX (default\n"
    "~/.voltaris).\n";

// The whole file, or the reason it cannot be read.
bool ReadFile(const std::string& pathText, std::string& bytes, std::string& why)
{
    const std::filesystem::path local = LocalPath(pathText);
    std::error_code ec;
    if (std::filesystem::is_directory(local, ec)) {
        why = "it is a folder";
        return false;
    }
    std::ifstream in(local, std::ios::binary);
    if (!in) {
        why = std::strerror(errno);
        return false;
    }
    std::ostringstream s;
    s << in.rdbuf();
    bytes = s.str();
    return true;
}

int Build(const std::string& descriptionPath, const std::string& outPath, bool force)
{
    std::string text;
    std::string why;
    if (!ReadFile(descriptionPath, text, why)) {
        std::cerr << "vt-mtg: cannot read " << descriptionPath << ": " << why << "\n";
        return 1;
    }
    if (text.find('\0') != std::string::npos) {
        std::cerr << "vt-mtg: " << descriptionPath
                  << " is not a text description (it holds binary bytes); to print a tag setup file use "
                     "'vt-mtg dump'\n";
        return 1;
    }
    const SetupDescriptionResult parsed = ReadSetupDescription(text);
    if (!parsed.Error.empty()) {
        std::cerr << "vt-mtg: " << descriptionPath << ": " << parsed.Error << "\n";
        return 1;
    }
    const std::vector<std::string> problems = SetupUseProblems(parsed);
    for (const std::string& problem : problems)
        std::cerr << "vt-mtg: " << descriptionPath << ": " << problem << "\n";
    if (!problems.empty() && !force) {
        std::cerr << "vt-mtg: " << outPath << " not written: the monitor cannot use this setup "
                  << "(--force builds it anyway)\n";
        return 1;
    }
    const VbResult<std::string> bytes = EncodeSetupFile(parsed.Image);
    if (!bytes.Ok()) {
        std::cerr << "vt-mtg: " << descriptionPath << ": " << bytes.Error.Description << "\n";
        return 1;
    }
    // Written beside the target and renamed over it, so a failed build leaves the old file.
    const std::string local = LocalPath(outPath).string();
    const std::string temp = local + ".new";
    {
        std::ofstream out(temp, std::ios::binary | std::ios::trunc);
        if (!out) {
            std::cerr << "vt-mtg: cannot write " << outPath << ": " << std::strerror(errno) << "\n";
            return 1;
        }
        out << bytes.Value;
        out.flush();
        if (!out) {
            std::cerr << "vt-mtg: cannot write " << outPath << ": " << std::strerror(errno) << "\n";
            std::remove(temp.c_str());
            return 1;
        }
    }
    if (std::rename(temp.c_str(), local.c_str()) != 0) {
        std::cerr << "vt-mtg: cannot write " << outPath << ": " << std::strerror(errno) << "\n";
        std::remove(temp.c_str());
        return 1;
    }
    return 0;
}

int Dump(const std::string& path)
{
    std::string bytes;
    std::string why;
    if (!ReadFile(path, bytes, why)) {
        std::cerr << "vt-mtg: cannot read " << path << ": " << why << "\n";
        return 1;
    }
    const VbResult<SetupFileImage> image = DecodeSetupFile(bytes);
    if (!image.Ok()) {
        std::cerr << "vt-mtg: " << path << " is not a tag setup file: " << image.Error.Description << "\n";
        return 1;
    }
    std::cout << WriteSetupDescription(image.Value);
    return std::cout.good() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const char* const program = "vt-mtg";
    const ToolCommandLine line = ReadToolCommandLine(argc, argv, program, UsageText, "--force");
    if (line.Done)
        return line.ExitCode;
    const std::vector<std::string>& words = line.Words;
    const bool force = line.Flag;
    const std::string command = words.empty() ? "" : words[0];
    if (words.size() == 1 && (command == "-h" || command == "help"))
        return PrintUsage(UsageText);
    if (force && command != "build")
        return RefuseCommandLine(program, "--force goes with 'build'", UsageText);
    if (command == "build" && words.size() == 3)
        return Build(words[1], words[2], force);
    if (command == "dump" && words.size() == 2)
        return Dump(words[1]);
    if (command == "build" || command == "dump")
        return RefuseCommandLine(program,
                                 "'" + command + "' takes " + (command == "build" ? "two paths" : "one path"),
                                 UsageText);
    if (command.empty())
        return RefuseCommandLine(program, "give a command", UsageText);
    return RefuseCommandLine(program, "unknown command '" + command + "'", UsageText);
}
