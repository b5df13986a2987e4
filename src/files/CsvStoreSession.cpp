#include "files/CsvStoreSession.h"

#include <algorithm>

#include "files/CsvLine.h"
#include "files/UpdateSetupData.h"
#include "support/VbText.h"

std::string CsvTargetStorePath(const std::string& storeFilePath, int fullYear, int month)
{
    // Only the file name's "." counts, so a folder with a "." in its name keeps its path.
    const std::size_t separator = storeFilePath.find_last_of("\\/");
    const std::size_t nameStart = separator == std::string::npos ? 0 : separator + 1;
    const std::size_t dot = storeFilePath.find('.', nameStart);
    std::string base = storeFilePath.substr(0, dot);
    base.resize(base.size() >= 4 ? base.size() - 4 : 0);
    const int yy = ((fullYear % 100) + 100) % 100;
    char yymm[8];
    yymm[0] = static_cast<char>('0' + yy / 10);
    yymm[1] = static_cast<char>('0' + yy % 10);
    yymm[2] = static_cast<char>('0' + (month / 10) % 10);
    yymm[3] = static_cast<char>('0' + month % 10);
    base.append(yymm, 4);
    base += ".LUM";
    return LCase(base);
}

CsvStoreSession::CsvStoreSession(StoreContext& context) : c_(context) {}

CsvStoreSession::~CsvStoreSession() { Close(); }

VbError CsvStoreSession::WritePending()
{
    if (!dirty_)
        return {};
    dirty_ = false;
    written_ = true;
    return file_.WriteRecord(layout_, record_, flag_,
                             std::span<const float>(row_.data() + 1, static_cast<std::size_t>(layout_.MaxTags)));
}

VbError CsvStoreSession::Release()
{
    VbError error;
    if (file_.IsOpen()) {
        error = WritePending();
        if (written_ && std::find(unsynced_.begin(), unsynced_.end(), openPath_) == unsynced_.end())
            unsynced_.push_back(openPath_);
        file_.Close();
    }
    dirty_ = false;
    written_ = false;
    record_ = -1;
    openPath_.clear();
    return error;
}

VbError CsvStoreSession::Close()
{
    VbError error = Release();
    for (const std::string& path : unsynced_) {
        RandomAccessFile file;
        VbError synced = file.Open(path, RandomAccessFile::Mode::ReadOnly);
        if (!synced.Failed())
            synced = file.Flush();
        if (!error.Failed())
            error = synced;
    }
    unsynced_.clear();
    return error;
}

VbError CsvStoreSession::Fail(VbError error)
{
    // The value is abandoned; what was written for earlier values stays.
    const VbError closing = Release();
    return error.Failed() ? error : closing;
}

VbError CsvStoreSession::OpenTarget(const std::string& path)
{
    if (file_.IsOpen() && path == openPath_)
        return {};
    if (VbError e = Release())
        return e;
    if (VbError e = file_.Open(path))
        return e;
    openPath_ = path;
    const VbResult<int64_t> length = file_.Length();
    if (!length.Ok())
        return length.Error;
    if (length.Value < StoreNewFileLength) {
        // A month not seen before: its file gets the dimensions in use now.
        c_.View.ShowWait("Store File Data");
        UpdateSetupData(c_, file_);
        c_.View.CloseWait();
        written_ = true;
    }
    const VbResult<StoreLayout> layout = file_.ReadLayout();
    if (!layout.Ok())
        return layout.Error;
    layout_ = layout.Value;
    return {};
}

VbError CsvStoreSession::LoadRecord(int32_t record)
{
    if (record == record_)
        return {};
    if (VbError e = WritePending())
        return e;
    record_ = -1;
    std::vector<float> values;
    int16_t oldFlag = 0;
    if (VbError e = file_.ReadRecord(layout_, record, oldFlag, values, layout_.MaxTags)) {
        // The flag goes in before the values are read, so a record that cannot be read still
        // ends up marked.
        if (e.Number == ErrInputPastEnd) {
            std::string flag(2, '\0');
            flag[0] = 1;
            file_.Raw().WriteAt(layout_.RecordOffset(record), flag);
            written_ = true;
        }
        return e;
    }
    row_.assign(values.size() + 1, 0.0F);
    std::copy(values.begin(), values.end(), row_.begin() + 1);
    flag_ = oldFlag;
    record_ = record;
    return {};
}

VbError CsvStoreSession::Store(int16_t year, int16_t month, int16_t day, int16_t period, int16_t tag, float value)
{
    const int fullYear = CsvFullYear(year);
    const int yearMonth = fullYear * 100 + month;
    if (yearMonth != lastYearMonth_ || lastPath_.empty()) {
        if (c_.Settings.StoreFilePath.empty())
            return Fail(VbError(ErrBadFileName));
        lastPath_ = CsvTargetStorePath(c_.Settings.StoreFilePath, fullYear, month);
        lastYearMonth_ = yearMonth;
    }
    if (VbError e = OpenTarget(lastPath_))
        return Fail(e);

    const int32_t record = (int32_t{day} - 1) * layout_.PeriodsPerDay + period - 1;
    if (record < 0 || record >= layout_.RecordCount())
        return Fail(VbError(ErrBadRecordNumber));
    if (VbError e = LoadRecord(record))
        return Fail(e);

    flag_ = 1;
    dirty_ = true;
    if (tag < 1 || tag > layout_.MaxTags)
        return Fail(VbError(ErrSubscript));

    if (planFor_ != layout_.MaxTags) {
        plan_ = MathsRowPlan(c_.Setup.TagTable, layout_.MaxTags);
        planFor_ = layout_.MaxTags;
    }
    if (plan_.Empty()) {
        row_[static_cast<std::size_t>(tag)] = value;
        return {};
    }
    work_ = row_;
    work_[static_cast<std::size_t>(tag)] = value;
    if (VbError e = plan_.Apply(work_))
        return Fail(e);
    row_.swap(work_);
    return {};
}
