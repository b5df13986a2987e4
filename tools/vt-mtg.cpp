// vt-mtg: builds a tag setup file (.MTG) from its text description and prints one back as text.
//   vt-mtg build DESCRIPTION OUT.MTG
//   vt-mtg dump FILE.MTG
// Paths may be local paths or path texts of the prefix ("C:\Telvane\Job1\Setup\Site.MTG").
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "files/SetupDescription.h"
#include "files/SetupFileImage.h"
#include "platform/Paths.h"

namespace {

int Usage()
{
    std::cerr << "usage: vt-mtg build DESCRIPTION OUT.MTG\n"
                 "       vt-mtg dump FILE.MTG\n";
    return 2;
}

bool ReadFile(const std::string& pathText, std::string& bytes)
{
    std::ifstream in(LocalPath(pathText), std::ios::binary);
    if (!in)
        return false;
    std::ostringstream s;
    s << in.rdbuf();
    bytes = s.str();
    return true;
}

int Build(const std::string& descriptionPath, const std::string& outPath)
{
    std::string text;
    if (!ReadFile(descriptionPath, text)) {
        std::cerr << "vt-mtg: cannot read " << descriptionPath << "\n";
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
    const std::string local = LocalPath(outPath).string();
    const std::string temp = local + ".new";
    {
        std::ofstream out(temp, std::ios::binary | std::ios::trunc);
        out << bytes.Value;
        out.flush();
        if (!out) {
            std::cerr << "vt-mtg: cannot write " << outPath << "\n";
            std::remove(temp.c_str());
            return 1;
        }
    }
    if (std::rename(temp.c_str(), local.c_str()) != 0) {
        std::cerr << "vt-mtg: cannot write " << outPath << "\n";
        std::remove(temp.c_str());
        return 1;
    }
    return 0;
}

int Dump(const std::string& path)
{
    std::string bytes;
    if (!ReadFile(path, bytes)) {
        std::cerr << "vt-mtg: cannot read " << path << "\n";
        return 1;
    }
    const VbResult<SetupFileImage> image = DecodeSetupFile(bytes);
    if (!image.Ok()) {
        std::cerr << "vt-mtg: " << path << " is not a tag setup file this tool can print: "
                  << image.Error.Description << "\n";
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
    return Usage();
}
