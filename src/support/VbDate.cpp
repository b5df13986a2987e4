#include "support/VbDate.h"

#include <cmath>
#include <vector>

namespace {

const char* const kMonthNames[] = {"January", "February", "March",     "April",   "May",      "June",
                                   "July",    "August",   "September", "October", "November", "December"};
const char* const kMonthAbbreviations[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* const kDayNames[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
const char* const kDayAbbreviations[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

enum class Token {
    Literal,
    Day, Day2, DayAbbr, DayName,
    MonthOrMinute, MonthOrMinute2, MonthAbbr, MonthName,
    Minute, Minute2,
    DayOfYear, Year2, Year4,
    Hour, Hour2,
    Second, Second2,
    WeekdayNumber, WeekOfYear, Quarter,
    AmPmUpper, AmPmLower, APUpper, APLower,
    GeneralDateToken,
};

struct Piece {
    Token Kind = Token::Literal;
    std::string Text; // literal text
};

bool StartsWith(std::string_view s, std::size_t pos, std::string_view what) {
    return s.substr(pos, what.size()) == what;
}

std::size_t RunLength(std::string_view s, std::size_t pos, char lower) {
    const char upper = static_cast<char>(lower - 'a' + 'A');
    std::size_t n = 0;
    while (pos + n < s.size() && (s[pos + n] == lower || s[pos + n] == upper)) ++n;
    return n;
}

void AddLiteral(std::vector<Piece>& pieces, std::string_view text) {
    if (!pieces.empty() && pieces.back().Kind == Token::Literal) pieces.back().Text += text;
    else pieces.push_back({Token::Literal, std::string(text)});
}

std::vector<Piece> Tokenize(std::string_view pattern) {
    std::vector<Piece> pieces;
    std::size_t i = 0;
    while (i < pattern.size()) {
        const char c = pattern[i];
        const char lc = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
        if (c == '"') {
            const std::size_t end = pattern.find('"', i + 1);
            const std::size_t stop = end == std::string_view::npos ? pattern.size() : end;
            AddLiteral(pieces, pattern.substr(i + 1, stop - i - 1));
            i = end == std::string_view::npos ? pattern.size() : end + 1;
            continue;
        }
        if (c == '\\' && i + 1 < pattern.size()) {
            AddLiteral(pieces, pattern.substr(i + 1, 1));
            i += 2;
            continue;
        }
        if (StartsWith(pattern, i, "AM/PM")) { pieces.push_back({Token::AmPmUpper, {}}); i += 5; continue; }
        if (StartsWith(pattern, i, "am/pm")) { pieces.push_back({Token::AmPmLower, {}}); i += 5; continue; }
        if (StartsWith(pattern, i, "A/P")) { pieces.push_back({Token::APUpper, {}}); i += 3; continue; }
        if (StartsWith(pattern, i, "a/p")) { pieces.push_back({Token::APLower, {}}); i += 3; continue; }
        std::size_t run = 0;
        Token kind = Token::Literal;
        switch (lc) {
        case 'd': {
            run = RunLength(pattern, i, 'd');
            if (run > 4) run = 4;
            const Token kinds[] = {Token::Day, Token::Day2, Token::DayAbbr, Token::DayName};
            kind = kinds[run - 1];
            break;
        }
        case 'm': {
            run = RunLength(pattern, i, 'm');
            if (run > 4) run = 4;
            const Token kinds[] = {Token::MonthOrMinute, Token::MonthOrMinute2, Token::MonthAbbr, Token::MonthName};
            kind = kinds[run - 1];
            break;
        }
        case 'n':
            run = RunLength(pattern, i, 'n') >= 2 ? 2 : 1;
            kind = run == 2 ? Token::Minute2 : Token::Minute;
            break;
        case 'y': {
            const std::size_t n = RunLength(pattern, i, 'y');
            run = n >= 4 ? 4 : n >= 2 ? 2 : 1;
            kind = run == 4 ? Token::Year4 : run == 2 ? Token::Year2 : Token::DayOfYear;
            break;
        }
        case 'h':
            run = RunLength(pattern, i, 'h') >= 2 ? 2 : 1;
            kind = run == 2 ? Token::Hour2 : Token::Hour;
            break;
        case 's':
            run = RunLength(pattern, i, 's') >= 2 ? 2 : 1;
            kind = run == 2 ? Token::Second2 : Token::Second;
            break;
        case 'w':
            run = RunLength(pattern, i, 'w') >= 2 ? 2 : 1;
            kind = run == 2 ? Token::WeekOfYear : Token::WeekdayNumber;
            break;
        case 'q':
            run = 1;
            kind = Token::Quarter;
            break;
        case 'c':
            run = 1;
            kind = Token::GeneralDateToken;
            break;
        default:
            AddLiteral(pieces, pattern.substr(i, 1));
            ++i;
            continue;
        }
        pieces.push_back({kind, {}});
        i += run;
    }
    return pieces;
}

bool IsHour(Token t) { return t == Token::Hour || t == Token::Hour2; }
bool IsSecond(Token t) { return t == Token::Second || t == Token::Second2; }

// "m"/"mm" mean minutes right after an hour or right before a second, literals in between aside.
void ResolveMinutes(std::vector<Piece>& pieces) {
    Token previous = Token::Literal;
    for (std::size_t k = 0; k < pieces.size(); ++k) {
        Piece& p = pieces[k];
        if (p.Kind == Token::Literal) continue;
        if (p.Kind == Token::MonthOrMinute || p.Kind == Token::MonthOrMinute2) {
            Token next = Token::Literal;
            for (std::size_t j = k + 1; j < pieces.size(); ++j) {
                if (pieces[j].Kind != Token::Literal) {
                    next = pieces[j].Kind;
                    break;
                }
            }
            const bool minutes = IsHour(previous) || IsSecond(next);
            const Token original = p.Kind;
            if (minutes) p.Kind = original == Token::MonthOrMinute ? Token::Minute : Token::Minute2;
            previous = original;
            continue;
        }
        previous = p.Kind;
    }
}

void AppendNumber(std::string& out, long long value, int width) {
    char buf[24];
    int n = 0;
    const bool negative = value < 0;
    unsigned long long v = negative ? 0ull - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
    do {
        buf[n++] = static_cast<char>('0' + v % 10);
        v /= 10;
    } while (v != 0);
    if (negative) out += '-';
    for (int k = n; k < width; ++k) out += '0';
    while (n > 0) out += buf[--n];
}

int DayOfYear(const CivilTime& c) {
    return static_cast<int>(DateSerial(c.Year, c.Month, c.Day) - DateSerial(c.Year, 1, 1)) + 1;
}

std::string DatePart(const CivilTime& c) {
    std::string out;
    AppendNumber(out, c.Day, 2);
    out += '/';
    AppendNumber(out, c.Month, 2);
    out += '/';
    AppendNumber(out, c.Year, 4);
    return out;
}

std::string TimePart(const CivilTime& c) {
    std::string out;
    AppendNumber(out, c.Hour, 2);
    out += ':';
    AppendNumber(out, c.Minute, 2);
    out += ':';
    AppendNumber(out, c.Second, 2);
    return out;
}

std::string GeneralOf(DateTime value, const CivilTime& c) {
    int64_t days = 0;
    int secs = 0;
    SplitDateTime(value, days, secs);
    if (days == 0 && secs != 0) return TimePart(c);
    if (secs == 0) return DatePart(c);
    return DatePart(c) + " " + TimePart(c);
}

bool ReadDigits(std::string_view text, std::size_t pos, std::size_t count, int& out) {
    if (pos + count > text.size()) return false;
    int v = 0;
    for (std::size_t k = 0; k < count; ++k) {
        const char c = text[pos + k];
        if (c < '0' || c > '9') return false;
        v = v * 10 + (c - '0');
    }
    out = v;
    return true;
}

} // namespace

const char* MonthAbbreviation(int month) { return month >= 1 && month <= 12 ? kMonthAbbreviations[month - 1] : ""; }
const char* MonthName(int month) { return month >= 1 && month <= 12 ? kMonthNames[month - 1] : ""; }
const char* DayAbbreviation(int weekday) { return weekday >= 1 && weekday <= 7 ? kDayAbbreviations[weekday - 1] : ""; }
const char* DayName(int weekday) { return weekday >= 1 && weekday <= 7 ? kDayNames[weekday - 1] : ""; }

std::string FormatDate(DateTime value, std::string_view pattern) {
    std::vector<Piece> pieces = Tokenize(pattern);
    ResolveMinutes(pieces);
    const CivilTime c = ToCivil(value);
    bool twelveHour = false;
    for (const Piece& p : pieces) {
        if (p.Kind == Token::AmPmUpper || p.Kind == Token::AmPmLower || p.Kind == Token::APUpper ||
            p.Kind == Token::APLower)
            twelveHour = true;
    }
    int hour = c.Hour;
    if (twelveHour) {
        hour %= 12;
        if (hour == 0) hour = 12;
    }
    const bool pm = c.Hour >= 12;

    std::string out;
    out.reserve(pattern.size() + 16);
    for (const Piece& p : pieces) {
        switch (p.Kind) {
        case Token::Literal: out += p.Text; break;
        case Token::Day: AppendNumber(out, c.Day, 1); break;
        case Token::Day2: AppendNumber(out, c.Day, 2); break;
        case Token::DayAbbr: out += DayAbbreviation(c.Weekday); break;
        case Token::DayName: out += DayName(c.Weekday); break;
        case Token::MonthOrMinute: AppendNumber(out, c.Month, 1); break;
        case Token::MonthOrMinute2: AppendNumber(out, c.Month, 2); break;
        case Token::MonthAbbr: out += MonthAbbreviation(c.Month); break;
        case Token::MonthName: out += MonthName(c.Month); break;
        case Token::Minute: AppendNumber(out, c.Minute, 1); break;
        case Token::Minute2: AppendNumber(out, c.Minute, 2); break;
        case Token::DayOfYear: AppendNumber(out, DayOfYear(c), 1); break;
        case Token::Year2: AppendNumber(out, ((c.Year % 100) + 100) % 100, 2); break;
        case Token::Year4: AppendNumber(out, c.Year, 4); break;
        case Token::Hour: AppendNumber(out, hour, 1); break;
        case Token::Hour2: AppendNumber(out, hour, 2); break;
        case Token::Second: AppendNumber(out, c.Second, 1); break;
        case Token::Second2: AppendNumber(out, c.Second, 2); break;
        case Token::WeekdayNumber: AppendNumber(out, c.Weekday, 1); break;
        case Token::WeekOfYear: {
            // Weeks start on Sunday; week 1 is the one holding 1 January.
            const int jan1Weekday = ToCivil(DateSerial(c.Year, 1, 1)).Weekday;
            AppendNumber(out, (DayOfYear(c) + jan1Weekday - 2) / 7 + 1, 1);
            break;
        }
        case Token::Quarter: AppendNumber(out, (c.Month - 1) / 3 + 1, 1); break;
        case Token::AmPmUpper: out += pm ? "PM" : "AM"; break;
        case Token::AmPmLower: out += pm ? "pm" : "am"; break;
        case Token::APUpper: out += pm ? "P" : "A"; break;
        case Token::APLower: out += pm ? "p" : "a"; break;
        case Token::GeneralDateToken: out += GeneralOf(value, c); break;
        }
    }
    return out;
}

std::string GeneralDate(DateTime value) { return GeneralOf(value, ToCivil(value)); }

std::string LogStamp(DateTime value) {
    const CivilTime c = ToCivil(value);
    std::string out;
    out.reserve(17);
    AppendNumber(out, c.Day, 2);
    out += '/';
    AppendNumber(out, c.Month, 2);
    out += '/';
    AppendNumber(out, ((c.Year % 100) + 100) % 100, 2);
    out += ' ';
    out += TimePart(c);
    return out;
}

int Year(DateTime value) { return ToCivil(value).Year; }
int Month(DateTime value) { return ToCivil(value).Month; }
int Day(DateTime value) { return ToCivil(value).Day; }
int Hour(DateTime value) { return ToCivil(value).Hour; }
int Minute(DateTime value) { return ToCivil(value).Minute; }
int Second(DateTime value) { return ToCivil(value).Second; }
int Weekday(DateTime value) { return ToCivil(value).Weekday; }

DateTime DateOnly(DateTime value) {
    // The day part toward zero: a negative date keeps its day when the time is dropped.
    return std::trunc(value);
}

DateTime TimeOnly(DateTime value) { return std::fabs(value - std::trunc(value)); }

bool ParseIsoDateTime(std::string_view text, DateTime& out) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!ReadDigits(text, 0, 4, year) || text.size() < 10 || text[4] != '-' || !ReadDigits(text, 5, 2, month) ||
        text[7] != '-' || !ReadDigits(text, 8, 2, day))
        return false;
    if (text.size() != 10) {
        if (text.size() != 19 || (text[10] != 'T' && text[10] != ' ') || !ReadDigits(text, 11, 2, hour) ||
            text[13] != ':' || !ReadDigits(text, 14, 2, minute) || text[16] != ':' ||
            !ReadDigits(text, 17, 2, second))
            return false;
    }
    if (year < 100 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month)) return false;
    if (hour > 23 || minute > 59 || second > 59) return false;
    out = MakeDateTime(year, month, day, hour, minute, second);
    return true;
}
