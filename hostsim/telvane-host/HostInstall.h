#pragma once
// Installing the host into the prefix: its folders, the host libraries, its INI and map files,
// its registration in the system profile and the job texts of the point state.
#include <string>
#include <vector>

#include "HostLayout.h"
#include "HostState.h"
#include "Scenario.h"

inline const char* const HostLibraryNames[] = {"hostpts32.dll", "hostrec32.dll", "hostarc.dll", "hostcmd32.dll"};

// Folder the libraries are copied from: the folder of the telvane-host program file.
std::string HostLibrarySourceFolder();

// Installs everything but the point state. Problems that do not stop the host (a library missing
// beside the program) go to warnings; false and error when the host cannot be installed.
bool InstallHost(const Scenario& scenario, const HostLayout& layout, std::vector<std::string>& warnings,
                 std::string& error);

// Fills a freshly reset point state: generation, job texts, recorders, pages, named points.
void SetUpHostState(HostState& state, const Scenario& scenario, const HostLayout& layout);
