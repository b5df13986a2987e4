#pragma once
// Arithmetic on 32-bit float values that faults as the monitor's original platform did: a result
// out of float's range is error 6 (Overflow), a non-zero value divided by zero error 11 (Division
// by zero), zero divided by zero error 6. Every operation is rounded to single precision on its
// own, so a chain of them gives the same float as the original's single-precision arithmetic.
// The first fault is kept; the caller checks Failed() before storing a result.
#include <cmath>
#include <limits>

#include "platform/VbError.h"

class SingleArithmetic {
public:
    float Add(float a, float b) { return Check(a + b); }
    float Sub(float a, float b) { return Check(a - b); }
    float Mul(float a, float b) { return Check(a * b); }
    float Div(float a, float b);
    // A double quotient (a span in hours, a reading over a span), with the same faults.
    double Div(double a, double b) {
        if (b == 0) [[unlikely]] {
            Fault(a == 0 || std::isnan(a) ? ErrOverflow : ErrDivisionByZero);
            return 0;
        }
        const double quotient = a / b;
        if (!std::isfinite(quotient)) [[unlikely]] Fault(ErrOverflow);
        return quotient;
    }
    // A double result stored into a float.
    float Single(double value) {
        if (std::fabs(value) <= kLargestSingle) [[likely]] return static_cast<float>(value);
        return SingleBeyondRange(value);
    }

    bool Failed() const { return error_.Failed(); }
    const VbError& Error() const { return error_; }

private:
    static constexpr double kLargestSingle = std::numeric_limits<float>::max();
    float SingleBeyondRange(double value);
    float Check(float value) {
        if (!std::isfinite(value)) [[unlikely]] Fault(ErrOverflow);
        return value;
    }
    void Fault(int number);
    VbError error_;
};
