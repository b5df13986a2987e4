#pragma once
// Cursor over the host's recorder pages: 1 to 50 on V4 (5 recorders of 10 pages), 1 to 100 on V5
// (all on recorder 1). Also finds a page's store files and keeps the header of its next batch.
#include <cstdint>
#include <string>
#include <vector>

class Telvane;
class ListControl;

class TelvaneRecPage {
public:
    explicit TelvaneRecPage(Telvane* host = nullptr) : host_(host) {}

    int32_t IndexMin() const { return 1; }
    int32_t IndexMax() const;
    int32_t Index() const { return index_; }
    void Index(int32_t value);
    std::string IndexReference() const;  // "R3P3"
    // Takes "R3P3", with or without brackets; an "L..." part is ignored.
    void IndexReference(const std::string& reference);
    int32_t RecorderNumber() const;
    int32_t PageNumber() const;
    std::string Name();
    bool Enabled();

    // Fills the box with one entry per page: "[R1P2] " + page name.
    void SetListBox(ListControl& box);
    ListControl* SetListBox() const { return listBox_; }
    // Reference of the selected entry of that box; setting selects the entry of a reference.
    std::string ListReference() const;
    void ListReference(const std::string& reference);

    // Full paths of the page's existing store files; with bolAllFiles false only the current one.
    std::vector<std::string> StoreFiles(bool bolAllFiles);
    std::string CurrentStoreFile();
    float OperatingMode();

    std::string NextBatchName();
    void NextBatchName(const std::string& value);
    std::string NextBatchCode();
    void NextBatchCode(const std::string& value);
    std::string NextBatchComment();
    void NextBatchComment(const std::string& value);
    void NextBatchReset();

private:
    // The page's batch header file; chosen (and recorded in record.ini) when none exists yet.
    std::string BatchHeaderFile();
    std::string ResolveStoreFile(const std::string& name) const;
    std::string HeaderKey(const char* key);
    void SetHeaderKey(const char* key, const std::string& value);

    Telvane* host_ = nullptr;
    int32_t index_ = 0;
    ListControl* listBox_ = nullptr;
};

// Page index of a page reference (recorder r, page p: (r - 1) * 10 + p), 0 when malformed.
int32_t ParsePageReference(const std::string& reference);
