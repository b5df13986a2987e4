#include "host/HostNumbering.h"

#include "support/VbConvert.h"
#include "support/VbText.h"

std::string TagReference(int32_t tag) { return "[T" + std::to_string(tag) + "]"; }

std::string LineReferenceV4(int32_t line) {
    LineSplit s = SplitLineV4(line);
    return "[R" + std::to_string(s.Recorder) + "P" + std::to_string(s.Page) + "L" + std::to_string(s.LineOnPage) + "]";
}

std::string LineReferenceV5(int32_t line) {
    LineSplit s = SplitLineV5(line);
    return "[P" + std::to_string(s.Page) + "L" + std::to_string(s.LineOnPage) + "]";
}

int32_t SelectionNumber(double value) {
    VbResult<int32_t> n = CLng(value);
    return n.Ok() ? n.Value : 0;
}

namespace {

// 1-based position of the first occurrence of c, 0 when absent (as InStr).
std::size_t Pos(std::string_view s, char c) {
    std::size_t p = s.find(c);
    return p == std::string_view::npos ? 0 : p + 1;
}

IOReferenceTarget Line(double number) { return {true, SelectionNumber(number)}; }

}  // namespace

IOReferenceTarget RecorderLineTarget(double recorder, double page, double line) {
    if (recorder <= 0 || page <= 0 || line <= 0) return {true, 0};
    return Line((recorder - 1) * 100 + (page - 1) * 10 + line);
}

IOReferenceTarget ParseIOReference(std::string_view text) {
    std::string s(text);
    std::size_t open = s.find('[');
    if (open != std::string::npos) {
        s.erase(0, open + 1);
        std::size_t close = s.find(']');
        if (close != std::string::npos) s.erase(close);
    }
    if (s.empty()) return {false, 0};
    if (s[0] == 'T') return {false, SelectionNumber(Val(Mid(s, 2)))};
    if (s[0] == 'R') {
        std::size_t p = Pos(s, 'P');
        std::size_t l = Pos(s, 'L');
        if (p < 3 || l < p + 2 || s.size() < l + 1) return {true, 0};
        return RecorderLineTarget(Val(Mid(s, 2, p - 2)), Val(Mid(s, p + 1, l - p - 1)), Val(Mid(s, l + 1)));
    }
    if (s[0] == 'P') {
        std::size_t l = Pos(s, 'L');
        if (l < 3 || s.size() < l + 1) return {true, 0};
        double page = Val(Mid(s, 2, l - 2));
        double line = Val(Mid(s, l + 1));
        if (page <= 0 || line <= 0) return {true, 0};
        return Line((page - 1) * 10 + line);
    }
    return {false, 0};
}
