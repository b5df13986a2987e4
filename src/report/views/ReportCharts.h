#pragma once
// The charts and the table of vtreport's views, built from the figures. Each function gives a new
// widget the caller owns.
#include <QWidget>

#include "report/figures/ReportCommandLine.h"
#include "report/figures/ReportFigures.h"

class QChart;
class QTableWidget;

QChart* MakeDayChart(const StoreMonth& month, const DayProfile& profile);
QChart* MakeMonthChart(const StoreMonth& month, const MonthTotals& totals);
QChart* MakeSiteChart(const StoreMonth& month, const SiteProfile& site);
void FillTagTable(QTableWidget& table, const StoreMonth& month, const std::vector<TagRow>& rows);

// The widget of one view: a chart view for day, month and site, a table for the tags.
QWidget* MakeViewWidget(const StoreMonth& month, ReportView view, int day, const std::vector<int>& tags,
                        const std::vector<PeakEntry>& peaks);

// "Tuesday 5 March 2024", "March 2024".
QString DayTitle(const StoreMonth& month, int day);
QString MonthTitle(const StoreMonth& month);
