#include "files/CsvImport.h"

#include <chrono>

#include "files/CsvLine.h"
#include "files/CsvLog.h"
#include "files/CsvStoreSession.h"
#include "files/RandomAccessFile.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "support/Log.h"
#include "support/VbText.h"

namespace {

// The status text and window events are served at the first line of a file and then whenever
// this much time has passed; the clock is looked at every CheckLines lines. A month's back-fill
// would otherwise spend most of its time redrawing the panel.
constexpr auto StatusInterval = std::chrono::milliseconds(50);
constexpr int64_t CheckLines = 256;

class ImportProgress {
public:
    ImportProgress(StoreContext& c, CsvStoreSession& session) : c_(c), session_(session) {}

    void AtLine(const std::string& fileName, int64_t lineCount)
    {
        if (lineCount != 1) {
            if (lineCount % CheckLines != 0)
                return;
            if (std::chrono::steady_clock::now() - last_ < StatusInterval)
                return;
        }
        Show(fileName, lineCount);
        // Whatever runs now finds the values stored so far and the store file closed, and may
        // reload the tag setup or write the file itself.
        if (VbError e = session_.Release())
            ReportError("CSV_StoreData", e);
        c_.View.DoEvents();
        c_.View.DoEvents();
        session_.SetupMayHaveChanged();
        last_ = std::chrono::steady_clock::now();
    }

    void Show(const std::string& fileName, int64_t lineCount)
    {
        c_.View.SetStatusText("Processing CSV File " + fileName + NL(1) + "(" + std::to_string(lineCount) + ")");
    }

private:
    StoreContext& c_;
    CsvStoreSession& session_;
    std::chrono::steady_clock::time_point last_{};
};

std::string FaultReason(const VbError& e, const CsvLine& line, bool parsed)
{
    if (parsed)
        return "month " + std::to_string(line.Month) + " is not 1 to 12";
    if (e.Number == ErrSubscript)
        return "fewer than six fields";
    if (e.Number == ErrOverflow)
        return "a number too large for its field";
    return "Error " + std::to_string(e.Number) + "/ " + e.Description;
}

VbResult<std::string> ReadCsvFile(const std::string& pathText)
{
    VbResult<std::string> r;
    RandomAccessFile file;
    if ((r.Error = file.Open(pathText, RandomAccessFile::Mode::ReadOnly)))
        return r;
    const VbResult<int64_t> length = file.Length();
    if ((r.Error = length.Error))
        return r;
    r.Value.resize(static_cast<std::size_t>(length.Value));
    r.Error = file.ReadAt(0, r.Value.data(), r.Value.size());
    return r;
}

// Imports one file. False when the import must stop for this scan (the file stays).
bool ImportFile(StoreContext& c, CsvStoreSession& session, const std::string& folder, const std::string& fileName)
{
    const std::string filePath = PathJoin(folder, fileName);
    const std::string logPath = LCase(filePath);
    int64_t lineCount = 0;
    int64_t errorCount = 0;
    ImportProgress progress(c, session);

    const VbResult<std::string> content = ReadCsvFile(filePath);
    if (!content.Ok()) {
        ReportError("CSV_GetData", content.Error);
        return false;
    }
    // A file left for the next scan is read again from its first line: what it adds to the rejects
    // file is added once.
    CsvRejectMemo& noted = c.State.CsvRejectsNoted;
    noted.Begin(filePath, content.Value);
    // The note that stops the import also looks at the rejects file itself, which still knows it
    // after a restart when the note is its last line.
    auto reject = [&](const std::string& text, bool stopsImport = false) {
        if (noted.FirstTime(filePath, text))
            CSV_AddToRejects(text, stopsImport);
    };
    CsvLineReader lines(content.Value);
    std::string_view text;
    bool ended = false;
    while (lines.Next(text, ended)) {
        ++lineCount;
        progress.AtLine(fileName, lineCount);
        CsvLine line;
        VbError e = ReadCsvLine(text, ended, line);
        const bool parsed = !e.Failed();
        if (parsed)
            e = CheckCsvMonth(line);
        if (e.Failed() && e.Number != ErrInputPastEnd) {
            ReportError("CSV_GetData", e);
            reject(fileName + ", Line " + std::to_string(lineCount) + ", " + FaultReason(e, line, parsed) +
                   ", file left for the next scan",
                   true);
            if (VbError closing = session.Close())
                ReportError("CSV_StoreData", closing);
            return false;
        }
        // Past the end of the file the line's values are cleared, which no date accepts.
        const std::string problem = CsvLineProblem(line, c.Setup.PeriodsPerDay, c.Setup.TagCount);
        if (!problem.empty()) {
            ++errorCount;
            reject(fileName + ", Line " + std::to_string(lineCount) + ", " +
                   (e.Failed() ? "the line ends before its sixth field" : problem));
            continue;
        }
        if (VbError stored = session.Store(line.Year, line.Month, line.Day, line.Period, line.Tag, line.Value)) {
            ReportError("CSV_StoreData", stored);
            reject(fileName + ", Line " + std::to_string(lineCount) + ", not stored: Error " +
                   std::to_string(stored.Number) + "/ " + stored.Description);
        }
    }
    if (lineCount > 0)
        progress.Show(fileName, lineCount);

    // The values must be on the disk before their only other copy goes.
    if (VbError e = session.Close())
        ReportError("CSV_StoreData", e);
    if (VbError e = DeleteFile(filePath)) {
        ReportError("CSV_GetData", e);
        return false;
    }
    noted.Forget(filePath);
    CSV_AddToLog(logPath + ", Total = " + std::to_string(lineCount) + ", Error = " + std::to_string(errorCount));
    return true;
}

} // namespace

void CSV_GetData(StoreContext& c)
{
    const std::string folder = CsvImportFolder();
    if (!FolderExists(folder)) {
        if (VbError e = MakeFolderPath(folder))
            ReportError("CSV_GetData", e);
        return;
    }
    const std::vector<std::string> files = ListFiles(folder, "*.CSV");
    std::vector<std::string> paths;
    for (const std::string& name : files)
        paths.push_back(PathJoin(folder, name));
    c.State.CsvRejectsNoted.KeepOnly(paths);
    if (files.empty())
        return;
    c.View.SetStatusText("Checking CSV Files" + NL(1) + LCase(Trim(c.Settings.StoreFilePath)));
    CsvStoreSession session(c);
    for (const std::string& name : files)
        if (!ImportFile(c, session, folder, name))
            break;
}

void CSV_StoreData(StoreContext& c, int16_t year, int16_t month, int16_t day, int16_t period, int16_t tag,
                   float value)
{
    CsvStoreSession session(c);
    VbError e = session.Store(year, month, day, period, tag, value);
    const VbError closing = session.Close();
    if (!e.Failed())
        e = closing;
    if (e.Failed())
        ReportError("CSV_StoreData", e);
}
