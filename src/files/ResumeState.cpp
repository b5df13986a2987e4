#include "files/ResumeState.h"

#include <charconv>
#include <cmath>
#include <string_view>
#include <type_traits>

#include "platform/Files.h"

namespace {

constexpr std::string_view Heading = "; Voltaris Monitor: tag values of the last scan, for a restart in the same period";
constexpr int Version = 1;
constexpr std::size_t MaxFileBytes = 1 << 20;  // 8,192 tags of under 128 bytes each
constexpr int MaxTagNumber = 8191;
constexpr int Fields = 10;

template <class T>
void Append(std::string& out, T value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

template <class T>
bool Parse(std::string_view text, T& value) {
    if (text.empty()) return false;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return false;
    if constexpr (std::is_floating_point_v<T>) return std::isfinite(value);
    return true;
}

// "T<n>=scan type,current,previous,integrated,last good delta,last good rate,rate,last read,pulse time"
bool ParseTag(std::string_view key, std::string_view value, ResumeTag& tag) {
    if (key.size() < 2 || key[0] != 'T' || !Parse(key.substr(1), tag.Tag) || tag.Tag < 1 || tag.Tag > MaxTagNumber)
        return false;
    std::string_view parts[Fields - 1];
    for (int i = 0; i < Fields - 1; ++i) {
        const std::size_t comma = value.find(',');
        if ((comma == std::string_view::npos) != (i == Fields - 2)) return false;
        parts[i] = value.substr(0, comma);
        value = comma == std::string_view::npos ? std::string_view() : value.substr(comma + 1);
    }
    return Parse(parts[0], tag.ScanType) && Parse(parts[1], tag.Current) && Parse(parts[2], tag.Previous) &&
           Parse(parts[3], tag.Integrated) && Parse(parts[4], tag.LastGoodDelta) &&
           Parse(parts[5], tag.LastGoodRate) && Parse(parts[6], tag.Rate) && Parse(parts[7], tag.LastReadTime) &&
           Parse(parts[8], tag.PulseTime);
}

}  // namespace

std::string ResumeFilePath(const std::string& storeFilePath) {
    const std::size_t slash = storeFilePath.find_last_of('\\');
    const std::string folder = slash == std::string::npos ? std::string() : storeFilePath.substr(0, slash + 1);
    return folder + ResumeFileName;
}

std::string FormatResumeState(const ResumeState& state) {
    std::string out(Heading);
    out += "\nVersion=";
    Append(out, Version);
    out += "\nPeriodsPerDay=";
    Append(out, state.PeriodsPerDay);
    out += "\nPeriodEnd=";
    Append(out, state.PeriodEnd);
    out += "\nWritten=";
    Append(out, state.Written);
    out += "\nTags=";
    Append(out, state.Tags.size());
    out += "\n";
    for (const ResumeTag& t : state.Tags) {
        out += "T";
        Append(out, t.Tag);
        out += "=";
        Append(out, t.ScanType);
        for (float v : {t.Current, t.Previous, t.Integrated, t.LastGoodDelta, t.LastGoodRate, t.Rate}) {
            out += ",";
            Append(out, v);
        }
        for (double v : {t.LastReadTime, t.PulseTime}) {
            out += ",";
            Append(out, v);
        }
        out += "\n";
    }
    // The end mark: a file cut short anywhere is not whole.
    out += "End\n";
    return out;
}

std::optional<ResumeState> ParseResumeState(const std::string& text) {
    if (text.size() > MaxFileBytes) return std::nullopt;
    ResumeState state;
    int version = 0;
    std::size_t count = 0;
    bool counted = false, ended = false;
    std::string_view rest(text);
    while (!rest.empty()) {
        const std::size_t newline = rest.find('\n');
        if (newline == std::string_view::npos) return std::nullopt;  // every line ends, the last too
        const std::string_view line = rest.substr(0, newline);
        rest.remove_prefix(newline + 1);
        if (ended) return std::nullopt;
        if (line.empty() || line[0] == ';') continue;
        if (line == "End") {
            ended = true;
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) return std::nullopt;
        const std::string_view key = line.substr(0, equals), value = line.substr(equals + 1);
        bool ok = false;
        if (key == "Version") ok = Parse(value, version) && version == Version;
        else if (key == "PeriodsPerDay") ok = Parse(value, state.PeriodsPerDay);
        else if (key == "PeriodEnd") ok = Parse(value, state.PeriodEnd);
        else if (key == "Written") ok = Parse(value, state.Written);
        else if (key == "Tags") ok = counted = Parse(value, count) && count <= MaxTagNumber;
        else if (state.Tags.size() < MaxTagNumber) {
            ResumeTag tag;
            ok = ParseTag(key, value, tag);
            if (ok) state.Tags.push_back(tag);
        }
        if (!ok) return std::nullopt;
    }
    if (!ended || version != Version || !counted || count != state.Tags.size()) return std::nullopt;
    return state;
}

VbError WriteResumeState(const std::string& pathText, const ResumeState& state) {
    return WriteFileAtomically(pathText, FormatResumeState(state));
}

VbResult<ResumeState> ReadResumeState(const std::string& pathText) {
    VbResult<ResumeState> r;
    const VbResult<int64_t> length = FileLength(pathText);
    if (!length.Ok()) {
        r.Error = length.Error;
        return r;
    }
    if (length.Value > static_cast<int64_t>(MaxFileBytes)) {
        r.Error = VbError(ErrBadRecordLength);
        return r;
    }
    const VbResult<std::string> text = ReadWholeFile(pathText);
    if (!text.Ok()) {
        r.Error = text.Error;
        return r;
    }
    std::optional<ResumeState> state = ParseResumeState(text.Value);
    if (!state) {
        r.Error = VbError(ErrBadRecordLength);
        return r;
    }
    r.Value = std::move(*state);
    return r;
}
