#pragma once
// A grid cell that shows a number. The scan hands the number over and the text is made only by a
// view that shows it: a monitor without a window formats nothing.
#include <cstdint>
#include <string>

struct GridNumber {
    enum class Form {
        Fixed,              // "12.50"
        Smoothed,           // "(5) 12.50": the scans averaged, then the rate
        SmoothedWithLimit,  // "(5) 12.50 (100.00)": and the plausibility limit
    };
    Form Shape = Form::Fixed;
    double Value = 0;
    int16_t Scans = 0;
    double Limit = 0;

    static GridNumber Fixed(double value) { return {Form::Fixed, value, 0, 0}; }
    static GridNumber Smoothed(int16_t scans, double rate) { return {Form::Smoothed, rate, scans, 0}; }
    static GridNumber SmoothedWithLimit(int16_t scans, double rate, double limit) {
        return {Form::SmoothedWithLimit, rate, scans, limit};
    }

    // The cell's text.
    std::string Text() const;
};
