#pragma once
// The store side of the CSV import. Storing a value means: open the month's store file (made
// first when new), read the record's place from the file's own header, set the record's flag to 1,
// read its values, set the tag's value, work out the maths tags again and write the values back.
// A session gives exactly those bytes while keeping the store file open and the record in memory
// for as long as the values keep going to the same file and record; the record is written when
// the next value goes elsewhere, before window events run (Release) and at Close. Files left
// are pushed to the disk once, at Close.
#include <cstdint>
#include <string>
#include <vector>

#include "files/MathsEvaluation.h"
#include "files/StoreContext.h"
#include "files/StoreFile.h"

class CsvStoreSession {
public:
    explicit CsvStoreSession(StoreContext& context);
    ~CsvStoreSession();
    CsvStoreSession(const CsvStoreSession&) = delete;
    CsvStoreSession& operator=(const CsvStoreSession&) = delete;

    // Stores one value. A fault abandons this value and closes the store file; the caller reports it.
    VbError Store(int16_t year, int16_t month, int16_t day, int16_t period, int16_t tag, float value);
    // Writes the record held in memory, keeping the file open. Call before window events run.
    VbError WritePending();
    // Writes the record held in memory and closes the store file, so that whatever runs during
    // window events finds it closed and the next value reads its header and record afresh.
    VbError Release();
    // Writes the record held in memory, closes the file and pushes every file written to the disk.
    VbError Close();
    // The tag setup and settings may have been reloaded while window events ran: take the maths
    // tags and the store file path again.
    void SetupMayHaveChanged()
    {
        planFor_ = -1;
        lastYearMonth_ = -1;
    }

private:
    VbError OpenTarget(const std::string& path);
    VbError LoadRecord(int32_t record);
    VbError Fail(VbError error);

    StoreContext& c_;
    StoreFile file_;
    std::string openPath_;
    StoreLayout layout_;
    bool written_ = false;      // something was written since the file was opened
    std::vector<std::string> unsynced_;  // files written and closed but not yet pushed to the disk

    // Target path of the last (year, month) asked for.
    int lastYearMonth_ = -1;
    std::string lastPath_;

    int32_t record_ = -1;       // the record held in memory, -1 for none
    int16_t flag_ = 0;
    std::vector<float> row_;    // slots 0..MaxTags of the record; slot 0 is 0
    std::vector<float> work_;
    bool dirty_ = false;

    MathsRowPlan plan_{{}, 0};
    int planFor_ = -1;          // MaxTags the plan was made for; -1 when it must be made again
};

// The store file of another month: StoreFilePath up to the first "." of its file name, less the
// four "yymm" characters, then the new "yymm" and ".LUM", all in lower case.
std::string CsvTargetStorePath(const std::string& storeFilePath, int fullYear, int month);
