// vt-mtg: builds a tag setup file (.MTG) from its text description and prints one back as text.
//   vt-mtg build DESCRIPTION OUT.MTG
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

#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"
#include "platform/Paths.h"

namespace {

const char* const UsageText =
    "usage: vt-mtg build DESCRIPTION OUT.MTG   write a tag setup file from its text description\n"
    "       vt-mtg dump FILE.MTG               print a tag setup file as a text description\n"
    "\n"
    "A description starts with [Header] (SetupVersion, SetupInfoWord, PeriodsPerDay, TariffCount,\n"
    "TariffEntryCount, CenterCount), followed by any of [Tariff i], [Tariff i Entry e], [PairTable p],\n"
    "[Center c], [Tag t] and [Fixed f] with lines 'Key = value'. Texts are in double quotes; a field\n"
    "not given is zero (texts blank). 'vt-mtg dump' of an existing file shows every key in use, and\n"
    "building its output gives the same file byte for byte.\n";

int Usage(bool asked)
{
    (asked ? std::cout : std::cerr) << UsageText;
    return asked ? 0 : 2;
}

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

int Build(const std::string& descriptionPath, const std::string& outPath)
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
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "build" && argc == 4)
        return Build(argv[2], argv[3]);
    if (command == "dump" && argc == 3)
        return Dump(argv[2]);
    if (argc == 2 && (command == "--help" || command == "-h" || command == "help"))
        return Usage(true);
    if (command == "build" || command == "dump")
        std::cerr << "vt-mtg: '" << command << "' takes " << (command == "build" ? "two paths" : "one path")
                  << "\n";
    else if (!command.empty())
        std::cerr << "vt-mtg: unknown command '" << command << "'\n";
    return Usage(false);
}
