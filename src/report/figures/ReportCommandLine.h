#pragma once
// vtreport's command line: the window on a store file, or the exports of one view without a
// display.
#include <string>
#include <vector>

enum class ReportView { Day, Month, Site, Tags };

struct ReportRequest {
    std::string Store;     // --store or the one plain argument; "" = the running job's current file
    std::string Settings;  // --settings: where the peak table is; "" = the job's settings file
    int Year = 0;          // --day or --month; 0 when neither was given
    int Month = 0;
    int Day = 0;           // 0 with --month
    ReportView View = ReportView::Day;
    bool ViewGiven = false;
    std::vector<int> Tags;  // --tags; empty = the online tags
    std::string Png, Svg, Csv;
    int Width = 1200;
    int Height = 700;
    bool Help = false;
    bool Version = false;

    bool Exports() const { return !Png.empty() || !Svg.empty() || !Csv.empty(); }
};

// Fills request from argv[1..]; gives "" or what is wrong with the command line.
std::string ParseReportCommandLine(const std::vector<std::string>& args, ReportRequest& request);

// The month and view asked for, checked against the file's month: "" or why they cannot be shown.
std::string CheckRequestedDate(const ReportRequest& request, int fileYear, int fileMonth, int daysInMonth);

const char* ViewName(ReportView view);

extern const char* const ReportUsage;
