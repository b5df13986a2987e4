#pragma once
// The commands of telvane-host that act on an installed (and maybe running) host.
#include <string>
#include <vector>

int SetPoints(const std::vector<std::string>& assignments);   // POINT=VALUE ...
int GetPoints(const std::vector<std::string>& points);        // one value per line
int StopHost();
int PrintStatus();
int ClockCommand(const std::vector<std::string>& args);       // [] | real | START [SPEED]
int DdeSet(const std::string& topic, const std::string& item, const std::string& text);
