#pragma once
// One field of a CSV line as spreadsheets read it: quoted, with doubled quotes, only when it holds
// a comma, a quote or a line break.
#include <string>

std::string CsvField(const std::string& text);
