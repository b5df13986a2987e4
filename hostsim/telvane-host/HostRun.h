#pragma once
// `telvane-host run`: installs the host, opens its windows, marks the job running, simulates the
// scenario's meters on the prefix clock and serves its DDE topics until it is stopped (SIGINT,
// SIGTERM, or "APPCLOSE" posted to its tray window).
#include <string>

// generation 0: take it from the scenario. Returns the exit code.
int RunHost(int argc, char** argv, int generation, const std::string& scenarioPath);
