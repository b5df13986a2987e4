#pragma once
// The main log, error reports and the rotating-append rule shared by all log files.
#include <functional>
#include <string>
#include <string_view>

#include "platform/VbError.h"

// Naming rules of the generations of a rotated log.
enum class GenerationNaming {
    AtNumber,        // name without its last three characters + "@" + two digits: voltamon.@01
    LastCharNumber,  // name with its last character replaced by the generation number: x.er1, x.lo2
};

struct RotationRule {
    double SizeLimit;      // bytes; compared as a 32-bit float
    int Generations;
    GenerationNaming Naming;
};

inline constexpr RotationRule MainLogRotation{1200000, 4, GenerationNaming::AtNumber};
inline constexpr RotationRule ClsLogRotation{1200000, 1, GenerationNaming::LastCharNumber};
inline constexpr RotationRule ClockLogRotation{1200000, 2, GenerationNaming::LastCharNumber};
inline constexpr RotationRule CsvLogRotation{600000, 5, GenerationNaming::AtNumber};

// Name of generation i (1 = newest) of a log file path text.
std::string GenerationName(std::string_view fileText, int i, GenerationNaming naming);

// Rotating append of one line (the line as given; CR LF is added). The file is opened, written
// and closed within the call. Returns the error when the line could not be written.
VbError RotatingAppend(std::string_view fileText, std::string_view line, const RotationRule& rule);

// The main log: program folder + "\voltamon.log".
std::string MainLogPath();
// Appends time stamp + " - " + text to the main log. Never fails to its caller.
void AddToLog(std::string_view text);

// The latest error report of the process.
extern std::string LastErrorText;
// "proc, Error n/ message": the report of a main-window procedure or common routine.
std::string ErrorReport(std::string_view procedure, const VbError& error);
// Builds the report, keeps it in LastErrorText and writes it with AddToLog.
void ReportError(std::string_view procedure, const VbError& error);

// The first error of a procedure that carries on past its failing steps, reported once at the end.
class FirstErrorReport {
public:
    explicit FirstErrorReport(std::string_view procedure) : procedure_(procedure) {}
    void Note(const VbError& error) {
        if (error.Failed() && !first_.Failed()) first_ = error;
    }
    void Report() const {
        if (first_.Failed()) ReportError(procedure_, first_);
    }

private:
    std::string procedure_;
    VbError first_;
};

// "/d": with DebugMode set, a failure of AddToLog asks the user whether to terminate.
void SetDebugMode(bool on);
bool DebugMode();
// The question of AddToLog's failure: text, and returns true for Yes. Without one, the answer is No.
// The answer Yes calls the close handler (the main window's close).
void SetLogFailurePrompt(std::function<bool(const std::string& title, const std::string& text)> ask,
                         std::function<void()> closeMainWindow);

// The log class of the support classes and the socket log window.
class clsLog {
public:
    clsLog();
    // lower-case of program folder + "\" + program name, then ".err"
    const std::string& ErrFile() const { return errFile_; }
    void LogError(std::string_view text) const;
    // Rotating append of time stamp + " - " + text to file; failures are ignored.
    void Log(std::string_view fileText, std::string_view text) const;

private:
    std::string errFile_;
};

// "class,procedure,,number,description": the report of the support classes and the socket log window.
std::string ClassErrorReport(std::string_view className, std::string_view procedure, const VbError& error);

// The diagnostic start-up file: deleted first when larger than 5,000,000 bytes, then
// time stamp followed directly by text appended as one line.
void WriteDiagnosticLine(std::string_view diagFileText, std::string_view text);
