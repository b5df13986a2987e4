#include "PointRef.h"

#include <cctype>

namespace {

// Reads a positive decimal number at pos (no sign, no blanks); false when none.
bool ReadNumber(std::string_view text, size_t& pos, int& value) {
    size_t start = pos;
    long long n = 0;
    while (pos < text.size() && std::isdigit(static_cast<unsigned char>(text[pos]))) {
        n = n * 10 + (text[pos] - '0');
        if (n > 1000000) return false;
        ++pos;
    }
    value = static_cast<int>(n);
    return pos > start && value > 0;
}

char Upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

}  // namespace

bool ParsePointRef(std::string_view text, PointRef& point) {
    point = PointRef();
    if (text.size() >= 2 && text.front() == '[' && text.back() == ']') text = text.substr(1, text.size() - 2);
    if (text.empty()) return false;
    size_t pos = 1;
    char head = Upper(text[0]);
    int a = 0, b = 0, c = 0;
    if (head == 'T' || head == 'L') {
        if (!ReadNumber(text, pos, a) || pos != text.size()) return false;
        point = PointRef{head == 'T' ? PointKind::Tag : PointKind::Line, a};
        return true;
    }
    if (head == 'R') {
        if (!ReadNumber(text, pos, a)) return false;
    } else if (head == 'P') {
        a = 1;
        pos = 0;
    } else {
        return false;
    }
    if (pos >= text.size() || Upper(text[pos]) != 'P') return false;
    ++pos;
    if (!ReadNumber(text, pos, b) || pos >= text.size() || Upper(text[pos]) != 'L') return false;
    ++pos;
    if (!ReadNumber(text, pos, c) || pos != text.size()) return false;
    if (c > 10) return false;
    if (head == 'R') {
        if (b > 10) return false;
        point = PointRef{PointKind::Line, (a - 1) * 100 + (b - 1) * 10 + c};
    } else {
        point = PointRef{PointKind::Line, (b - 1) * 10 + c};
    }
    return true;
}

std::string PointRefText(const PointRef& point, int generation) {
    if (point.Kind == PointKind::Tag) return "[T" + std::to_string(point.Number) + "]";
    if (point.Kind != PointKind::Line || point.Number <= 0) return "";
    int n = point.Number - 1;
    if (generation == 4) {
        return "[R" + std::to_string(n / 100 + 1) + "P" + std::to_string((n / 10) % 10 + 1) + "L" +
               std::to_string(n % 10 + 1) + "]";
    }
    return "[P" + std::to_string(n / 10 + 1) + "L" + std::to_string(n % 10 + 1) + "]";
}

bool PointLocation(const PointRef& point, int generation, HostTable& table, int& index) {
    int n = point.Number;
    if (point.Kind == PointKind::Tag) {
        if (generation == 4 && n >= 1 && n <= HostMaxV4InputTags) {
            table = HostTable::Tags;
            index = n - 1;
            return true;
        }
        if (generation == 4 && n >= 2001 && n < 2001 + HostMaxOutputTags) {
            table = HostTable::OutputTags;
            index = n - 2001;
            return true;
        }
        if (generation == 5 && n >= 1 && n <= HostMaxTags) {
            table = HostTable::Tags;
            index = n - 1;
            return true;
        }
        return false;
    }
    if (point.Kind == PointKind::Line) {
        int max = generation == 4 ? HostMaxV4Lines : HostMaxLines;
        if (n >= 1 && n <= max) {
            table = HostTable::Lines;
            index = n - 1;
            return true;
        }
    }
    return false;
}
