#pragma once
// The data of each view as CSV text, one line per bar. A period never saved has empty value
// fields, so it cannot be read as a measured zero; the state column says which it is.
#include <string>

#include "support/CsvField.h"

#include "report/figures/ReportCommandLine.h"
#include "report/figures/ReportFigures.h"

std::string DayProfileCsv(const StoreMonth& month, const DayProfile& profile);
std::string MonthTotalsCsv(const StoreMonth& month, const MonthTotals& totals);
std::string SiteProfileCsv(const StoreMonth& month, const SiteProfile& site);
std::string TagTableCsv(const StoreMonth& month, const std::vector<TagRow>& rows);

// A computed figure: at most 3 decimals, no trailing zeros ("12.5", "0", "-3.125").
std::string FigureText(double value);
// "2024-03-05"
std::string DateText(int year, int month, int day);
// A tag's column heading: its name, or "Tag n" when it has none.
std::string TagHeading(const ReportTag& tag);

// The CSV of whichever view: day and site need day, month and tags take the whole month.
std::string ViewCsv(const StoreMonth& month, ReportView view, int day, const std::vector<int>& tags,
                    const std::vector<PeakEntry>& peaks);
