#include "support/SingleArithmetic.h"

#include <cmath>

#include "support/VbConvert.h"

void SingleArithmetic::Fault(int number) {
    if (!error_.Failed()) error_ = VbError(number);
}

float SingleArithmetic::Div(float a, float b) {
    if (b == 0) {
        Fault(a == 0 || std::isnan(a) ? ErrOverflow : ErrDivisionByZero);
        return 0;
    }
    return Check(a / b);
}

// Beyond the largest float, or not a number: what is left may still round to it, or overflows.
float SingleArithmetic::SingleBeyondRange(double value) {
    if (!std::isfinite(value)) {
        Fault(ErrOverflow);
        return 0;
    }
    const VbResult<float> single = CSng(value);
    if (!single.Ok()) Fault(single.Error.Number);
    return single.Value;
}
