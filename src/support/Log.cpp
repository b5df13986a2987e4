#include "support/Log.h"

#include <cstdio>
#include <string>

#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Programs.h"
#include "support/VbDate.h"
#include "support/VbText.h"

std::string LastErrorText;

namespace {

bool debugMode = false;
std::function<bool(const std::string&, const std::string&)> askTerminate;
std::function<void()> closeMain;
bool inFailurePrompt = false;
bool logFailureSaid = false;

constexpr double DiagnosticFileLimit = 5000000;

std::string Stamped(std::string_view text) {
    std::string line = LogStamp(ClockNow());
    line += " - ";
    line += text;
    return line;
}

// One line with its CR LF, appended; the file is created when missing.
VbError AppendLine(std::string_view fileText, std::string_view line) {
    std::string withEnd(line);
    withEnd += "\r\n";
    return AppendToFile(fileText, withEnd);
}

} // namespace

std::string GenerationName(std::string_view fileText, int i, GenerationNaming naming) {
    std::string name(fileText);
    if (naming == GenerationNaming::AtNumber) {
        name.resize(name.size() >= 3 ? name.size() - 3 : 0);
        name += '@';
        if (i < 10) name += '0';
        name += std::to_string(i);
    } else {
        if (!name.empty()) name.pop_back();
        name += std::to_string(i);
    }
    return name;
}

VbError RotatingAppend(std::string_view fileText, std::string_view line, const RotationRule& rule) {
    const VbResult<int64_t> size = FileLength(fileText);
    if (!size.Ok()) return AppendLine(fileText, line);
    // Only whole bytes matter; the limit is compared in single precision as it always was.
    if (static_cast<float>(size.Value) <= static_cast<float>(rule.SizeLimit)) return AppendLine(fileText, line);

    for (int i = rule.Generations; i >= 1; --i) {
        const std::string from = i == 1 ? std::string(fileText) : GenerationName(fileText, i - 1, rule.Naming);
        if (!FileExists(from)) continue;
        // A failed copy leaves the generations copied so far; the new line is still written below.
        CopyFileReplacing(from, GenerationName(fileText, i, rule.Naming));
    }
    std::string withEnd(line);
    withEnd += "\r\n";
    return WriteFileAtomically(fileText, withEnd);
}

std::string MainLogPath() { return PathJoin(LogFolder(), "voltamon.log"); }

void SetDebugMode(bool on) { debugMode = on; }
bool DebugMode() { return debugMode; }

void SetLogFailurePrompt(std::function<bool(const std::string&, const std::string&)> ask,
                         std::function<void()> closeMainWindow) {
    askTerminate = std::move(ask);
    closeMain = std::move(closeMainWindow);
}

void AddToLog(std::string_view text) {
    const std::string path = MainLogPath();
    const VbError error = RotatingAppend(path, Stamped(text), MainLogRotation);
    if (!error.Failed()) return;
    if (!logFailureSaid) {
        // A monitor must never run without a trace: the first lost line says so where a person or
        // the service journal sees it.
        logFailureSaid = true;
        std::fprintf(stderr, "%s: cannot write the log %s (Error %d/ %s); log lines are lost while it cannot\n",
                     ProgramName().c_str(), LocalPath(path).c_str(), error.Number, error.Description.c_str());
        std::fflush(stderr);
    }
    if (!debugMode || inFailurePrompt) return;
    // The line is lost either way; under "/d" the user may choose to stop a monitor that cannot log.
    const std::string question = "AddToLog, Error " + std::to_string(error.Number) + "/ " + error.Description +
                                 NL(2) + "Do you wish to terminate the Voltaris Monitor?";
    inFailurePrompt = true;
    const bool yes = askTerminate ? askTerminate("Voltaris Monitor", question) : false;
    inFailurePrompt = false;
    if (yes && closeMain) closeMain();
}

std::string ErrorReport(std::string_view procedure, const VbError& error) {
    std::string report(procedure);
    report += ", Error ";
    report += std::to_string(error.Number);
    report += "/ ";
    report += error.Description;
    return report;
}

void ReportError(std::string_view procedure, const VbError& error) {
    LastErrorText = ErrorReport(procedure, error);
    AddToLog(LastErrorText);
}

std::string ClassErrorReport(std::string_view className, std::string_view procedure, const VbError& error) {
    std::string report(className);
    report += ',';
    report += procedure;
    report += ",,";
    report += std::to_string(error.Number);
    report += ',';
    report += error.Description;
    return report;
}

clsLog::clsLog() : errFile_(LCase(PathJoin(LogFolder(), ProgramName())) + ".err") {}

void clsLog::LogError(std::string_view text) const { Log(errFile_, text); }

void clsLog::Log(std::string_view fileText, std::string_view text) const {
    RotatingAppend(fileText, Stamped(text), ClsLogRotation); // failures lose the line, nothing more
}

void WriteDiagnosticLine(std::string_view diagFileText, std::string_view text) {
    const VbResult<int64_t> size = FileLength(diagFileText);
    if (size.Ok() && static_cast<double>(size.Value) > DiagnosticFileLimit) DeleteFile(diagFileText);
    std::string line = LogStamp(ClockNow());
    line += text;
    AppendLine(diagFileText, line);
}
