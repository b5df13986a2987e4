// Number and date conversions on arbitrary text: no crash, no infinity out of Val, and the
// formatted forms read back to the value they came from.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "support/VbConvert.h"
#include "support/VbDate.h"
#include "support/VbText.h"

namespace {

void Check(bool condition) {
    if (!condition) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    const double value = Val(text);
    Check(std::isfinite(value));
    const VbResult<double> checked = ValChecked(text);
    Check(checked.Ok() ? checked.Value == value : value == 0);

    for (int decimals : {0, 2, 6}) {
        const std::string fixed = FormatFixed(value, decimals);
        const double back = Val(fixed);
        Check(std::fabs(back - value) <= 0.5 * std::pow(10.0, -decimals) * (1 + 1e-9) + std::fabs(value) * 1e-14);
        Check(FormatNumber(value, decimals == 0 ? "0" : decimals == 2 ? "0.00" : "0.000000") == fixed);
    }
    const std::string general = FormatGeneral(value);
    Check(general.size() <= 24);
    Check(std::fabs(Val(general) - value) <= std::fabs(value) * 1e-14 + 5e-324);
    Check(Str(value).substr(value < 0 ? 0 : 1) == general);
    const VbResult<float> single = CSng(value);
    if (single.Ok()) Check(std::fabs(Val(FormatSingle(single.Value)) - single.Value) <= std::fabs(single.Value) * 1e-6);

    const VbResult<int16_t> i16 = CInt(value);
    if (i16.Ok()) Check(std::fabs(i16.Value - value) <= 0.5);
    Check(i16.Ok() == (RoundHalfEven(value) >= -32768.0 && RoundHalfEven(value) <= 32767.0));
    const VbResult<int32_t> i32 = CLng(value);
    Check(i32.Ok() == (RoundHalfEven(value) >= -2147483648.0 && RoundHalfEven(value) <= 2147483647.0));
    if (i32.Ok()) Check(std::fabs(i32.Value - value) <= 0.5);

    // The value as a date, and the text itself as a pattern.
    const std::string stamp = LogStamp(value);
    if (InDateRange(value)) Check(stamp.size() == 17);
    (void)FormatDate(value, "ddd, mmm d yyyy");
    (void)FormatDate(value, "mmm dd, yy. hh:mm");
    (void)FormatDate(value, "yymm");
    (void)GeneralDate(value);
    if (size <= 64) (void)FormatDate(value, text);

    DateTime parsed = 0;
    if (ParseIsoDateTime(text, parsed)) {
        std::string expected(text);
        if (expected.size() == 19) expected[10] = ' ';
        const char* pattern = expected.size() == 19 ? "yyyy-mm-dd hh:nn:ss" : "yyyy-mm-dd";
        Check(FormatDate(parsed, pattern) == expected);
    }

    const std::string upper = UCase(text);
    Check(upper.size() == size && EqualsNoCase(upper, LCase(text)));
    Check(ContainsNoCase(text, Mid(upper, size / 3 + 1, size / 3)));
    Check(TrimNull(text).size() <= CutAtNull(text).size());
    return 0;
}
