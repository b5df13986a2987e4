#pragma once
// Values a tag setup description can hold that the monitor cannot use: vt-mtg refuses to build
// such a file unless told to. Each problem names the line that gave the value, or the line of its
// section when the value was left out.
#include <string>
#include <vector>

#include "files/SetupDescription.h"

// "line 4: PeriodsPerDay 30: ..." one text per problem, in line order; empty when the setup is usable.
std::vector<std::string> SetupUseProblems(const SetupDescriptionResult& described);
