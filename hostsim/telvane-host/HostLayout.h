#pragma once
// Where a host of one generation lives in the prefix: its folder and its job's folders and files
// (path texts such as "C:\Telvane5\Jobs\Demo\Data"), kept in <prefix>/run/telvane-host.ini so the
// other commands find the installed host.
#include <string>

#include "Scenario.h"

struct HostLayout {
    int Generation = 0;
    std::string HostFolder;
    std::string JobName;
    std::string JobFolder;
    std::string DataFolder;
    std::string SetupFolder;
    std::string RootFolder;
    std::string TempFolder;
    std::string MasterIniFile;
    std::string JobIniFile;
};

HostLayout MakeLayout(const Scenario& scenario, int generation);

std::string HostRecordPath();  // local path of the record file
bool SaveLayout(const HostLayout& layout);
// False when no host was ever installed in this prefix.
bool LoadLayout(HostLayout& layout);
// Pid of the running host process recorded at run start (0: none recorded).
void SaveHostPid(long pid);
long LoadHostPid();
// True when pid is a live telvane-host process (not a zombie).
bool ProcessRunning(long pid);
