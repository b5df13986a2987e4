#pragma once
// Small text helpers of the scenario file's readers and of device payloads.
#include <cctype>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

inline std::string_view TrimBlanks(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
    return text;
}

inline std::string Lower(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

// A number and nothing else, blanks around it and a leading '+' allowed; "inf" and "nan" too.
inline bool ParseAnyNumber(std::string_view text, double& value) {
    text = TrimBlanks(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    if (text.empty()) return false;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// As ParseAnyNumber, without infinity and NaN.
inline bool ParseNumber(std::string_view text, double& value) { return ParseAnyNumber(text, value) && std::isfinite(value); }

// A whole number from low to high ("12", "+12.0"); value is left alone when refused.
inline bool ParseWhole(std::string_view text, int low, int high, int& value) {
    double d = 0;
    if (!ParseNumber(text, d) || d != std::floor(d) || d < low || d > high) return false;
    value = static_cast<int>(d);
    return true;
}

inline bool ParseYesNo(std::string_view text, bool& value) {
    std::string t = Lower(TrimBlanks(text));
    if (t == "yes" || t == "1" || t == "true" || t == "on") return value = true, true;
    if (t == "no" || t == "0" || t == "false" || t == "off") return value = false, true;
    return false;
}
