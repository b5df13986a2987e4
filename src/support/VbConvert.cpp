#include "support/VbConvert.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

// ---- Text to number -------------------------------------------------------------------------

enum class ValStatus { Ok, Overflow };

bool IsIgnored(char c) { return c == ' ' || c == '\t' || c == '\n'; }

// Reads the text from pos, skipping the characters Val ignores; -1 at the end.
struct ValReader {
    std::string_view text;
    std::size_t pos = 0;

    int Peek() {
        while (pos < text.size() && IsIgnored(text[pos])) ++pos;
        return pos < text.size() ? static_cast<unsigned char>(text[pos]) : -1;
    }
    void Next() { ++pos; }
};

int DigitValue(int c, int radix) {
    int v = 99;
    if (c >= '0' && c <= '9') v = c - '0';
    else if (c >= 'a' && c <= 'f') v = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F') v = c - 'A' + 10;
    return v < radix ? v : -1;
}

// "&H" / "&O" integers: as wide as the value needs, 16-bit first, then 32-bit, both signed.
ValStatus ReadRadix(ValReader& r, int radix, double& out) {
    uint64_t value = 0;
    bool tooBig = false;
    for (int c = r.Peek(); c >= 0; c = r.Peek()) {
        const int d = DigitValue(c, radix);
        if (d < 0) break;
        r.Next();
        value = value * static_cast<uint64_t>(radix) + static_cast<uint64_t>(d);
        if (value > 0xFFFFFFFFull) {
            tooBig = true;
            value = 0xFFFFFFFFull + 1; // keep consuming digits without wrapping
        }
    }
    if (tooBig) {
        out = 0;
        return ValStatus::Overflow;
    }
    if (value <= 0xFFFFull) out = static_cast<int16_t>(static_cast<uint16_t>(value));
    else out = static_cast<int32_t>(static_cast<uint32_t>(value));
    return ValStatus::Ok;
}

// Enough significant digits for a correctly rounded double; anything after them only decides
// the rounding, so it is kept as one sticky digit.
constexpr int kMaxDigits = 780;
constexpr int64_t kExponentClamp = 1000000;

ValStatus ReadDecimal(ValReader& r, double& out) {
    char buf[kMaxDigits + 32];
    int nSig = 0;
    int64_t adjust = 0; // value = digits in buf x 10^(adjust + exponent)
    bool sticky = false;
    bool anyDigit = false;
    bool negative = false;

    int c = r.Peek();
    if (c == '+' || c == '-') {
        negative = c == '-';
        r.Next();
    }
    bool seenPoint = false;
    for (c = r.Peek(); c >= 0; c = r.Peek()) {
        if (c >= '0' && c <= '9') {
            anyDigit = true;
            r.Next();
            if (nSig == 0 && c == '0') {
                if (seenPoint) --adjust;
                continue;
            }
            if (nSig < kMaxDigits) {
                buf[nSig++] = static_cast<char>(c);
                if (seenPoint) --adjust;
            } else {
                if (c != '0') sticky = true;
                if (!seenPoint && adjust < kExponentClamp) ++adjust;
            }
        } else if (c == '.' && !seenPoint) {
            seenPoint = true;
            r.Next();
        } else {
            break;
        }
    }
    if (!anyDigit) {
        out = 0;
        return ValStatus::Ok;
    }
    int64_t exponent = 0;
    if (c == 'e' || c == 'E' || c == 'd' || c == 'D') {
        r.Next();
        bool expNegative = false;
        c = r.Peek();
        if (c == '+' || c == '-') {
            expNegative = c == '-';
            r.Next();
        }
        for (c = r.Peek(); c >= '0' && c <= '9'; c = r.Peek()) {
            r.Next();
            if (exponent < kExponentClamp) exponent = exponent * 10 + (c - '0');
        }
        if (expNegative) exponent = -exponent;
    }
    if (nSig == 0) {
        out = 0;
        return ValStatus::Ok;
    }
    if (sticky) {
        buf[nSig++] = '1';
        --adjust;
    }
    const int64_t scale = exponent + adjust;
    const int64_t magnitude = scale + nSig; // the leading digit is worth 10^(magnitude - 1)
    if (magnitude > 310) {
        out = 0;
        return ValStatus::Overflow;
    }
    if (magnitude < -330) {
        out = 0;
        return ValStatus::Ok;
    }
    int len = nSig;
    buf[len++] = 'e';
    const auto written = std::to_chars(buf + len, buf + sizeof buf, scale);
    len = static_cast<int>(written.ptr - buf);
    double value = 0;
    const auto parsed = std::from_chars(buf, buf + len, value);
    if (parsed.ec == std::errc::result_out_of_range) {
        out = 0;
        return magnitude > 0 ? ValStatus::Overflow : ValStatus::Ok;
    }
    out = negative ? -value : value;
    return ValStatus::Ok;
}

ValStatus ReadVal(std::string_view text, double& out) {
    ValReader r{text};
    out = 0;
    if (r.Peek() == '&') {
        r.Next();
        const int c = r.Peek();
        if (c == 'H' || c == 'h') {
            r.Next();
            return ReadRadix(r, 16, out);
        }
        if (c == 'O' || c == 'o') {
            r.Next();
            return ReadRadix(r, 8, out);
        }
        return ValStatus::Ok;
    }
    return ReadDecimal(r, out);
}

// ---- Number to text -------------------------------------------------------------------------

// The value's magnitude as significant decimal digits and the power of ten of the first one.
struct Decimal {
    char digits[24];
    int count = 0;
    int exponent = 0;
};

template <class F>
Decimal ToDecimal(F magnitude, int significant) {
    Decimal d;
    char buf[48];
    const auto res = std::to_chars(buf, buf + sizeof buf, magnitude, std::chars_format::scientific, significant - 1);
    const char* p = buf;
    for (; p < res.ptr && *p != 'e'; ++p) {
        if (*p >= '0' && *p <= '9' && d.count < significant) d.digits[d.count++] = *p;
    }
    int e = 0;
    if (p < res.ptr) std::from_chars(p + 1 + (p[1] == '+' ? 1 : 0), res.ptr, e);
    d.exponent = e;
    return d;
}

const char* NonFinite(double value) {
    if (std::isnan(value)) return "NaN";
    return value < 0 ? "-Inf" : "Inf";
}

// The shortest general form: fixed, or "dE+nn" when the exponent is below -4 or reaches the precision.
std::string GeneralForm(bool negative, Decimal d, int precision) {
    int nd = d.count;
    while (nd > 1 && d.digits[nd - 1] == '0') --nd;
    if (nd == 1 && d.digits[0] == '0') return "0";
    std::string out;
    if (negative) out += '-';
    const int e = d.exponent;
    if (e < -4 || e >= precision) {
        out += d.digits[0];
        if (nd > 1) {
            out += '.';
            out.append(d.digits + 1, static_cast<std::size_t>(nd - 1));
        }
        out += e < 0 ? "E-" : "E+";
        const int ae = e < 0 ? -e : e;
        if (ae < 10) out += '0';
        char eb[8];
        const auto res = std::to_chars(eb, eb + sizeof eb, ae);
        out.append(eb, res.ptr);
    } else if (e >= 0) {
        for (int i = 0; i <= e; ++i) out += i < nd ? d.digits[i] : '0';
        if (nd > e + 1) {
            out += '.';
            out.append(d.digits + e + 1, static_cast<std::size_t>(nd - e - 1));
        }
    } else {
        out += "0.";
        out.append(static_cast<std::size_t>(-e - 1), '0');
        out.append(d.digits, static_cast<std::size_t>(nd));
    }
    return out;
}

constexpr int kMaxDecimals = 30;

// Writes |value| with the given decimals (15 significant digits first, then halves away from
// zero) into out without a sign; returns its length.
std::size_t FixedDigits(double magnitude, int decimals, char* out, std::size_t cap) {
    const Decimal d = ToDecimal(magnitude, 15);
    const bool zero = magnitude == 0;
    const int kept = zero ? 0 : d.exponent + decimals + 1; // digits at or above 10^-decimals
    char digits[400];
    int len = kept > 0 ? kept : 0;
    for (int k = 0; k < len; ++k) digits[k] = k < d.count ? d.digits[k] : '0';
    const bool roundUp = !zero && kept >= 0 && kept < d.count && d.digits[kept] >= '5';
    int start = 1; // digits[0] is left free for a carry out of the top digit
    std::memmove(digits + 1, digits, static_cast<std::size_t>(len));
    if (roundUp) {
        int k = len;
        while (k >= 1 && digits[k] == '9') digits[k--] = '0';
        if (k >= 1) {
            ++digits[k];
        } else {
            digits[0] = '1';
            start = 0;
        }
    }
    const char* num = digits + start;
    int numLen = len + 1 - start;
    // At least one digit before the point.
    std::size_t n = 0;
    const int intLen = numLen > decimals ? numLen - decimals : 0;
    if (intLen == 0) out[n++] = '0';
    for (int k = 0; k < intLen && n < cap; ++k) out[n++] = num[k];
    if (decimals > 0) {
        out[n++] = '.';
        for (int k = 0; k < decimals - numLen; ++k) out[n++] = '0';
        for (int k = intLen; k < numLen; ++k) out[n++] = num[k];
    }
    return n;
}

} // namespace

double Val(std::string_view text) {
    double value = 0;
    ReadVal(text, value);
    return value;
}

VbResult<double> ValChecked(std::string_view text) {
    VbResult<double> result;
    if (ReadVal(text, result.Value) == ValStatus::Overflow) result.Error = VbError(ErrOverflow);
    return result;
}

double RoundHalfEven(double value) {
    if (!std::isfinite(value)) return value;
    const double whole = std::trunc(value);
    if (std::fabs(value - whole) == 0.5) return 2.0 * std::round(value / 2.0);
    return std::round(value);
}

VbResult<int16_t> CInt(double value) {
    VbResult<int16_t> result;
    const double r = RoundHalfEven(value);
    if (!(r >= -32768.0 && r <= 32767.0)) result.Error = VbError(ErrOverflow);
    else result.Value = static_cast<int16_t>(r);
    return result;
}

VbResult<int32_t> CLng(double value) {
    VbResult<int32_t> result;
    const double r = RoundHalfEven(value);
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) result.Error = VbError(ErrOverflow);
    else result.Value = static_cast<int32_t>(r);
    return result;
}

VbResult<float> CSng(double value) {
    VbResult<float> result;
    constexpr double maxFloat = std::numeric_limits<float>::max();
    // Values up to half a unit above the largest float still round down to it.
    const double limit = maxFloat + std::ldexp(1.0, 103);
    if (std::isfinite(value) && std::fabs(value) > maxFloat) {
        if (std::fabs(value) >= limit) result.Error = VbError(ErrOverflow);
        else result.Value = static_cast<float>(value < 0 ? -maxFloat : maxFloat);
        return result;
    }
    result.Value = static_cast<float>(value);
    return result;
}

namespace {

// Most values the grid and the logs show are far from a rounding tie at their last decimal and
// small enough that scaling them is exact to well beyond that decimal: those round directly, which
// gives the same digits as going through 15 significant digits first, at a fraction of the cost.
bool FastFixed(double value, int decimals, char* out, std::size_t& length) {
    static constexpr double kScale[] = {1, 10, 100, 1e3, 1e4, 1e5, 1e6};
    if (decimals > 6) return false;
    const double scaled = std::fabs(value) * kScale[decimals];
    if (!(scaled < 1e11)) return false;
    const double whole = std::floor(scaled);
    if (std::fabs(scaled - whole - 0.5) < 1e-3) return false;
    uint64_t digits = static_cast<uint64_t>(whole) + (scaled - whole > 0.5 ? 1 : 0);
    char reversed[24];
    int count = 0;
    do {
        reversed[count++] = static_cast<char>('0' + digits % 10);
        digits /= 10;
    } while (digits != 0 || count <= decimals);
    std::size_t n = 0;
    if (std::signbit(value) && value != 0) out[n++] = '-';
    for (int i = count - 1; i >= 0; --i) {
        out[n++] = reversed[i];
        if (i == decimals && decimals > 0) out[n++] = '.';
    }
    length = n;
    return true;
}

} // namespace

std::string FormatFixed(double value, int decimals) {
    if (!std::isfinite(value)) return NonFinite(value);
    if (decimals < 0) decimals = 0;
    if (decimals > kMaxDecimals) decimals = kMaxDecimals;
    char fast[40];
    std::size_t fastLength = 0;
    if (FastFixed(value, decimals, fast, fastLength)) return std::string(fast, fastLength);
    char buf[420];
    std::size_t n = 0;
    if (value < 0) buf[n++] = '-';
    n += FixedDigits(std::fabs(value), decimals, buf + n, sizeof buf - n);
    return std::string(buf, n);
}

std::string FormatNumber(double value, std::string_view pattern) {
    if (pattern.empty() || pattern == "General Number") return FormatGeneral(value);
    if (pattern == "Fixed") return FormatFixed(value, 2);
    if (!std::isfinite(value)) return NonFinite(value);

    // Literal text around one run of digit placeholders ("#", "0", ",", ".").
    std::size_t first = pattern.find_first_of("#0.");
    if (first == std::string_view::npos) return std::string(pattern);
    std::size_t last = first;
    while (last < pattern.size() && std::strchr("#0,.", pattern[last]) != nullptr) ++last;
    const std::string_view prefix = pattern.substr(0, first);
    const std::string_view body = pattern.substr(first, last - first);
    const std::string_view suffix = pattern.substr(last);

    int minInt = 0, minFrac = 0, maxFrac = 0;
    bool point = false, thousands = false;
    for (const char c : body) {
        if (c == '.') {
            if (point) break;
            point = true;
        } else if (c == ',') {
            if (!point) thousands = true;
        } else if (point) {
            ++maxFrac;
            if (c == '0') minFrac = maxFrac;
        } else if (c == '0') {
            ++minInt;
        }
    }
    if (maxFrac > kMaxDecimals) maxFrac = kMaxDecimals;
    const bool percent = prefix.find('%') != std::string_view::npos || suffix.find('%') != std::string_view::npos;
    const double magnitude = std::fabs(value) * (percent ? 100.0 : 1.0);

    char digits[420];
    const std::size_t n = FixedDigits(magnitude, maxFrac, digits, sizeof digits);
    const std::string_view fixed(digits, n);
    const std::size_t dot = fixed.find('.');
    std::string_view intPart = fixed.substr(0, dot);
    std::string_view fracPart = dot == std::string_view::npos ? std::string_view() : fixed.substr(dot + 1);
    while (fracPart.size() > static_cast<std::size_t>(minFrac) && fracPart.back() == '0') fracPart.remove_suffix(1);
    while (intPart.size() > static_cast<std::size_t>(minInt) && intPart.front() == '0') intPart.remove_prefix(1);

    std::string out;
    if (value < 0) out += '-';
    out += prefix;
    for (std::size_t k = intPart.size(); k < static_cast<std::size_t>(minInt); ++k) out += '0';
    for (std::size_t k = 0; k < intPart.size(); ++k) {
        out += intPart[k];
        const std::size_t left = intPart.size() - k - 1;
        if (thousands && left > 0 && left % 3 == 0) out += ',';
    }
    // The classic Format keeps the point even when no decimals follow ("5." for "0.#").
    if (point) out += '.';
    out += fracPart;
    out += suffix;
    return out;
}

std::string FormatGeneral(double value) {
    if (!std::isfinite(value)) return NonFinite(value);
    return GeneralForm(value < 0, ToDecimal(std::fabs(value), 15), 15);
}

std::string Str(double value) {
    std::string general = FormatGeneral(value);
    if (!(value < 0)) general.insert(general.begin(), ' ');
    return general;
}

std::string FormatSingle(float value) {
    if (!std::isfinite(value)) return NonFinite(value);
    return GeneralForm(value < 0, ToDecimal(std::fabs(value), 7), 7);
}
