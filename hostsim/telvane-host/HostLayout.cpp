#include "HostLayout.h"

#include <cstdlib>
#include <fstream>

#include "platform/Paths.h"
#include "platform/Prefix.h"
#include "support/Profile.h"

namespace {

constexpr char Section[] = "host";
constexpr int Buffer = 1024;

std::string Read(const char* key) { return GetPrivateProfileString(Section, key, "", Buffer, HostRecordPath()); }

bool Write(const char* key, const std::string& value) {
    return WritePrivateProfileString(Section, key, value.c_str(), HostRecordPath());
}

}  // namespace

HostLayout MakeLayout(const Scenario& scenario, int generation) {
    HostLayout l;
    l.Generation = generation;
    l.JobName = scenario.JobName.empty() ? "Demo" : scenario.JobName;
    if (generation == 5) {
        l.HostFolder = scenario.HostFolder.empty() ? "C:\\Telvane5" : scenario.HostFolder;
        l.RootFolder = PathJoin(l.HostFolder, "Jobs");
        l.JobFolder = scenario.JobFolder.empty() ? PathJoin(l.RootFolder, l.JobName) : scenario.JobFolder;
        l.DataFolder = scenario.DataFolder.empty() ? PathJoin(l.JobFolder, "Data") : scenario.DataFolder;
        l.SetupFolder = PathJoin(l.JobFolder, "Setup");
        l.TempFolder = PathJoin(l.JobFolder, "Temp");
        l.MasterIniFile = PathJoin(l.HostFolder, "Telvane.ini");
        l.JobIniFile = PathJoin(l.JobFolder, "Job.ini");
    } else {
        // A V4 host keeps its job in its own folder; only the store folder is its own.
        l.HostFolder = scenario.HostFolder.empty() ? "C:\\Telvane4" : scenario.HostFolder;
        l.RootFolder = l.HostFolder;
        l.JobFolder = l.HostFolder;
        l.DataFolder = scenario.DataFolder.empty() ? PathJoin(l.HostFolder, "Data") : scenario.DataFolder;
        l.SetupFolder = l.HostFolder;
        l.TempFolder = PathJoin(l.HostFolder, "temp");
        l.MasterIniFile = PathJoin(WindowsFolderText(), "win.ini");
        l.JobIniFile = l.MasterIniFile;
    }
    return l;
}

std::string HostRecordPath() { return (PrefixRunFolder() / "telvane-host.ini").string(); }

bool SaveLayout(const HostLayout& l) {
    return Write("generation", std::to_string(l.Generation)) && Write("host folder", l.HostFolder) &&
           Write("job name", l.JobName) && Write("job folder", l.JobFolder) && Write("job data folder", l.DataFolder) &&
           Write("job setup folder", l.SetupFolder) && Write("job root folder", l.RootFolder) &&
           Write("job temp folder", l.TempFolder) && Write("master ini file", l.MasterIniFile) &&
           Write("job ini file", l.JobIniFile);
}

bool LoadLayout(HostLayout& l) {
    l = HostLayout();
    l.Generation = std::atoi(Read("generation").c_str());
    if (l.Generation != 4 && l.Generation != 5) return false;
    l.HostFolder = Read("host folder");
    l.JobName = Read("job name");
    l.JobFolder = Read("job folder");
    l.DataFolder = Read("job data folder");
    l.SetupFolder = Read("job setup folder");
    l.RootFolder = Read("job root folder");
    l.TempFolder = Read("job temp folder");
    l.MasterIniFile = Read("master ini file");
    l.JobIniFile = Read("job ini file");
    return !l.HostFolder.empty();
}

void SaveHostPid(long pid) { Write("pid", std::to_string(pid)); }

long LoadHostPid() { return std::atol(Read("pid").c_str()); }

bool ProcessRunning(long pid) {
    if (pid <= 0) return false;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    if (!std::getline(stat, text)) return false;
    size_t close = text.rfind(')');
    if (close == std::string::npos || close + 2 >= text.size()) return false;
    char state = text[close + 2];
    if (state == 'Z' || state == 'X') return false;
    // A pid left behind by a killed host may since belong to another program.
    std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    std::getline(comm, name);
    return name == "telvane-host";
}
