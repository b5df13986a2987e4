#include "files/CsvLog.h"

#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Programs.h"
#include "files/RandomAccessFile.h"
#include "support/Log.h"
#include "support/VbDate.h"
#include "support/VbText.h"

namespace {

// Rotated like the import log, but named x.re1 .. x.re5: the "@nn" names of "vtcsvlog.rej" would
// be those of "vtcsvlog.log".
constexpr RotationRule RejectsRotation{CsvLogRotation.SizeLimit, CsvLogRotation.Generations,
                                       GenerationNaming::LastCharNumber};

constexpr std::size_t TailBytes = 4096;

std::string Stamped(std::string_view text)
{
    std::string line = LogStamp(ClockNow());
    line += " - ";
    line += text;
    return line;
}

// The text after " - " of the file's last line, or "" when there is none.
std::string LastLineText(const std::string& path)
{
    RandomAccessFile file;
    if (file.Open(path, RandomAccessFile::Mode::ReadOnly))
        return "";
    const VbResult<int64_t> length = file.Length();
    if (!length.Ok() || length.Value == 0)
        return "";
    const int64_t count = std::min<int64_t>(length.Value, TailBytes);
    std::string tail(static_cast<std::size_t>(count), '\0');
    if (file.ReadAt(length.Value - count, tail.data(), tail.size()))
        return "";
    while (!tail.empty() && (tail.back() == '\n' || tail.back() == '\r'))
        tail.pop_back();
    const std::size_t lineStart = tail.find_last_of("\r\n");
    const std::string last = lineStart == std::string::npos ? tail : tail.substr(lineStart + 1);
    const std::size_t dash = last.find(" - ");
    return dash == std::string::npos ? "" : last.substr(dash + 3);
}

} // namespace

std::string CsvImportFolder() { return PathJoin(LogFolder(), "vtcsvlog"); }

std::string CsvLogPath() { return LCase(PathJoin(CsvImportFolder(), "vtcsvlog.log")); }

std::string CsvRejectsPath() { return LCase(PathJoin(CsvImportFolder(), "vtcsvlog.rej")); }

void CSV_AddToLog(std::string_view text)
{
    if (VbError e = RotatingAppend(CsvLogPath(), Stamped(text), CsvLogRotation))
        ReportError("CSV_AddToLog", e);
}

void CSV_AddToRejects(std::string_view text, bool skipRepeat)
{
    const std::string path = CsvRejectsPath();
    if (skipRepeat && LastLineText(path) == text)
        return;
    RotatingAppend(path, Stamped(text), RejectsRotation);
}
