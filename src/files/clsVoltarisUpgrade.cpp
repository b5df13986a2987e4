#include "files/clsVoltarisUpgrade.h"

#include <filesystem>
#include <vector>

#include "files/RandomAccessFile.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Prefix.h"
#include "support/Profile.h"
#include "support/VbText.h"
#include "support/clsIni.h"

namespace {

// path with its file-name part replaced by name.
std::string WithFileName(const std::string& path, const std::string& name)
{
    const std::string file = PathFilePart(path);
    return path.substr(0, path.size() - file.size()) + name;
}

// The same file, by its text or by where the texts lead.
bool SameFile(const std::string& a, const std::string& b)
{
    if (EqualsNoCase(a, b))
        return true;
    std::error_code ec;
    return std::filesystem::equivalent(LocalPath(a), LocalPath(b), ec) && !ec;
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find_first_of("\r\n", start);
        if (end == std::string::npos)
            end = text.size();
        lines.push_back(text.substr(start, end - start));
        if (end < text.size() && text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n')
            ++end;
        start = end + 1;
    }
    return lines;
}

std::string ReadIni(const std::string& file, const std::string& section, const std::string& key)
{
    clsIni ini;
    ini.FileName(file);
    ini.AppName(section);
    ini.KeyName(key);
    return ini.GetIni();
}

void WriteIni(const std::string& file, const std::string& section, const std::string& key, const std::string& value)
{
    clsIni ini;
    ini.FileName(file);
    ini.AppName(section);
    ini.KeyName(key);
    ini.SetIni(value);
}

// Moves from over to (which may exist). Within one disk the rename replaces to in one step, so a
// failing move never leaves neither file; elsewhere to is deleted first and the file moved.
bool MoveOver(const std::string& from, const std::string& to)
{
    if (!ReplaceFileByRename(from, to).Failed())
        return true;
    if (FileExists(to) && DeleteFile(to).Failed())
        return false;
    return !MoveFile(from, to).Failed();
}

} // namespace

clsVoltarisUpgrade::clsVoltarisUpgrade(const UpgradeHost* host)
    : host_(host), jobSetupFolder_(host ? host->JobSetupFolder() : std::string())
{
    setupIniFile_ = jobSetupFolder_ + "\\VoltarisSetup.ini";
    setupMonitorFile_ = jobSetupFolder_ + "\\VoltarisMonitor.mtg";
    setupControllerFile_ = jobSetupFolder_ + "\\VoltarisControl.set";
    setupTargetFile_ = jobSetupFolder_ + "\\VoltarisTarget.dat";
}

void clsVoltarisUpgrade::Update()
{
    // Without a job there is no setup folder, and the default paths would name the disk's root.
    if (!host_ || jobSetupFolder_.empty())
        return;
    UpgradeFiles();
}

void clsVoltarisUpgrade::UpgradeFiles()
{
    UpgradeSettingsFile();

    for (const char* section : {"passwords", "ControllerSetupPassword", "ControllerPassword"})
        WritePrivateProfileString(section, nullptr, nullptr, setupIniFile_);

    const std::string tagFile = ReadIni(setupIniFile_, "TagSetup", "TagFile");
    if (UpgradeOneFile(jobSetupFolder_ + "\\VOLTAM~1.MTG", tagFile, setupMonitorFile_)) {
        WriteIni(setupIniFile_, "TagSetup", "TagFile", setupMonitorFile_);
        RegisterBackupFile(setupMonitorFile_);
    }

    const std::string controllerFile = ReadIni(setupIniFile_, "Controller", "SetupFile");
    if (UpgradeOneFile(jobSetupFolder_ + "\\VOLTAC~1.SET", controllerFile, setupControllerFile_)) {
        WriteIni(setupIniFile_, "Controller", "SetupFile", setupControllerFile_);
        RegisterBackupFile(setupControllerFile_);
    }

    const std::string targetFile = host_->TelvaneFolder() + "\\vtTarget.dat";
    if (UpgradeOneFile(jobSetupFolder_ + "\\VOLTAT~1.DAT", targetFile, setupTargetFile_))
        RegisterBackupFile(setupTargetFile_);
}

void clsVoltarisUpgrade::UpgradeSettingsFile()
{
    const std::string& current = setupIniFile_;
    if (FileExists(current))
        return;
    const std::string candidates[] = {
        jobSetupFolder_ + "\\VOLTAS~1.INI",
        WithFileName(current, "Voltaris.ini"),
        WindowsFolderText() + "\\Voltaris.ini",
    };
    for (const std::string& candidate : candidates) {
        if (!FileExists(candidate))
            continue;
        if (!MoveFile(candidate, current).Failed())
            RegisterBackupFile(current);
        return;
    }
}

bool clsVoltarisUpgrade::UpgradeOneFile(const std::string& alias, const std::string& old, const std::string& current)
{
    const std::string candidates[] = {alias, old, WithFileName(current, PathFilePart(old))};
    for (const std::string& candidate : candidates) {
        if (candidate.empty() || SameFile(candidate, current) || !FileExists(candidate))
            continue;
        return MoveOver(candidate, current);
    }
    return false;
}

void clsVoltarisUpgrade::RegisterBackupFile(const std::string& path)
{
    if (!host_ || !host_->V4())
        return;
    const std::string name = LCase(PathFilePart(path));
    const std::string listFile = host_->TelvaneFolder() + "\\VbBackup.txt";

    std::vector<std::string> kept;
    bool found = false;
    const VbResult<std::string> list = ReadWholeFile(listFile);
    if (list.Ok()) {
        for (const std::string& line : SplitLines(list.Value)) {
            std::string entry = LCase(line);
            if (entry.find(name) != std::string::npos) {
                entry = path;
                found = true;
            }
            if (FileExists(entry))
                kept.push_back(entry);
        }
    }
    if (!found)
        kept.push_back(path);
    std::string text;
    for (const std::string& line : kept)
        text += line + "\r\n";
    WriteFileAtomically(listFile, text);
}
