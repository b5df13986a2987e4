#pragma once
// The texts of the About box.
#include <string>

#include "core/MonitorCommands.h"
#include "platform/VbError.h"

// The five version lines, separated by CR LF.
std::string AboutVersionText(int major, int minor, int revision, const AboutInfo& info);

// "NAME.EXE, <modified>, <size>Kb." for the program file (size in thousands of bytes).
VbResult<std::string> AboutFileText(const std::string& programFile);

// The description: what the monitor is, two line breaks, then the program file's line
// (left off when the file cannot be read).
std::string AboutDescriptionText(const std::string& programFile);
