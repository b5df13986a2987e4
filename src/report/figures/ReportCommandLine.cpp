#include "report/figures/ReportCommandLine.h"

#include <charconv>
#include <cstdio>

#include "platform/DateSerial.h"

const char* const ReportUsage =
    "usage: vtreport [FILE.lum]\n"
    "         the report window on a store file, or on the running job's current month\n"
    "       vtreport --store FILE.lum (--day YYYY-MM-DD | --month YYYY-MM) [--view day|month|site|tags]\n"
    "                [--tags 1,2,...] [--settings SETTINGS.ini] [--size WIDTHxHEIGHT]\n"
    "                [--png OUT.png] [--svg OUT.svg] [--csv OUT.csv]\n"
    "         writes the chart and its data without a display; --day shows the day's demand profile\n"
    "         and --month the daily totals unless --view says otherwise. The site view marks the\n"
    "         periods of the peak table in SETTINGS.ini (default: the running job's settings file).\n"
    "       vtreport --help | --version\n";

namespace {

bool Number(std::string_view text, int& value)
{
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc() && end == text.data() + text.size() && !text.empty();
}

// "YYYY-MM-DD" (withDay) or "YYYY-MM".
bool ParseDate(const std::string& text, bool withDay, int& year, int& month, int& day)
{
    if (text.size() != (withDay ? 10u : 7u) || text[4] != '-' || (withDay && text[7] != '-'))
        return false;
    if (!Number(std::string_view(text).substr(0, 4), year) || !Number(std::string_view(text).substr(5, 2), month))
        return false;
    day = 1;
    if (withDay && !Number(std::string_view(text).substr(8, 2), day))
        return false;
    return year >= 1900 && month >= 1 && month <= 12 && day >= 1 && day <= DaysInMonth(year, month);
}

bool ParseTags(const std::string& text, std::vector<int>& tags)
{
    tags.clear();
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        int tag = 0;
        if (!Number(std::string_view(text).substr(start, comma - start), tag))
            return false;
        tags.push_back(tag);
        start = comma + 1;
    }
    return !tags.empty();
}

bool ParseSize(const std::string& text, int& width, int& height)
{
    const std::size_t x = text.find('x');
    return x != std::string::npos && Number(std::string_view(text).substr(0, x), width) &&
           Number(std::string_view(text).substr(x + 1), height) && width >= 100 && height >= 100 &&
           width <= 10000 && height <= 10000;
}

const char* const MonthNames[] = {"January", "February", "March",     "April",   "May",      "June",
                                  "July",    "August",   "September", "October", "November", "December"};

} // namespace

const char* ViewName(ReportView view)
{
    switch (view) {
    case ReportView::Day:
        return "day";
    case ReportView::Month:
        return "month";
    case ReportView::Site:
        return "site";
    case ReportView::Tags:
        return "tags";
    }
    return "";
}

std::string ParseReportCommandLine(const std::vector<std::string>& args, ReportRequest& r)
{
    bool dayGiven = false, monthGiven = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--help" || a == "-h") {
            r.Help = true;
            continue;
        }
        if (a == "--version") {
            r.Version = true;
            continue;
        }
        if (a.rfind("--", 0) != 0) {
            if (!r.Store.empty())
                return "more than one store file given ('" + r.Store + "' and '" + a + "')";
            r.Store = a;
            continue;
        }
        static const char* const valued[] = {"--store", "--day",  "--month", "--view", "--tags",
                                             "--settings", "--size", "--png",   "--svg",  "--csv"};
        bool known = false;
        for (const char* v : valued)
            known = known || a == v;
        if (!known)
            return "unknown option '" + a + "'";
        if (i + 1 >= args.size())
            return "'" + a + "' needs a value";
        const std::string& v = args[++i];
        if (a == "--store") {
            if (!r.Store.empty())
                return "more than one store file given ('" + r.Store + "' and '" + v + "')";
            r.Store = v;
        } else if (a == "--day") {
            if (!ParseDate(v, true, r.Year, r.Month, r.Day))
                return "--day '" + v + "' is not a date YYYY-MM-DD";
            dayGiven = true;
        } else if (a == "--month") {
            int day = 0;
            if (!ParseDate(v, false, r.Year, r.Month, day))
                return "--month '" + v + "' is not a month YYYY-MM";
            r.Day = 0;
            monthGiven = true;
        } else if (a == "--view") {
            if (v == "day")
                r.View = ReportView::Day;
            else if (v == "month")
                r.View = ReportView::Month;
            else if (v == "site")
                r.View = ReportView::Site;
            else if (v == "tags")
                r.View = ReportView::Tags;
            else
                return "--view '" + v + "' is not one of day, month, site, tags";
            r.ViewGiven = true;
        } else if (a == "--tags") {
            if (!ParseTags(v, r.Tags))
                return "--tags '" + v + "' is not a list of tag numbers like 1,2,5";
        } else if (a == "--settings") {
            r.Settings = v;
        } else if (a == "--size") {
            if (!ParseSize(v, r.Width, r.Height))
                return "--size '" + v + "' is not WIDTHxHEIGHT in pixels (100 to 10000 each)";
        } else if (a == "--png") {
            r.Png = v;
        } else if (a == "--svg") {
            r.Svg = v;
        } else {
            r.Csv = v;
        }
    }
    if (dayGiven && monthGiven)
        return "give --day or --month, not both";
    if (!r.ViewGiven)
        r.View = monthGiven ? ReportView::Month : ReportView::Day;
    if (r.Exports()) {
        if (r.Store.empty())
            return "exports need --store FILE.lum";
        if (!dayGiven && !monthGiven)
            return "exports need --day YYYY-MM-DD or --month YYYY-MM";
        if (monthGiven && (r.View == ReportView::Day || r.View == ReportView::Site))
            return std::string("the ") + ViewName(r.View) + " view needs --day YYYY-MM-DD";
    }
    return {};
}

std::string CheckRequestedDate(const ReportRequest& r, int fileYear, int fileMonth, int daysInMonth)
{
    if (r.Year == 0)
        return {};
    if (r.Year != fileYear || r.Month != fileMonth) {
        char asked[32];
        if (r.Day > 0)
            std::snprintf(asked, sizeof asked, "day %04d-%02d-%02d", r.Year, r.Month, r.Day);
        else
            std::snprintf(asked, sizeof asked, "month %04d-%02d", r.Year, r.Month);
        return std::string(asked) + " is outside " + r.Store + ", which holds " + MonthNames[fileMonth - 1] + " " +
               std::to_string(fileYear);
    }
    if (r.Day > daysInMonth)
        return "day " + std::to_string(r.Day) + " is outside the month";
    return {};
}
