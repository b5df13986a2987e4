#pragma once
// What the rejects file already says about each CSV file left in the import folder, so that a file
// retried scan after scan adds its rejected lines and its "left for the next scan" note once.
// Kept per file content: a file that changes is a new attempt and is noted afresh.
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

class CsvRejectMemo {
public:
    // Starts an attempt at the file at path with this content.
    void Begin(const std::string& path, std::string_view content);
    // True the first time this reject text comes for the file's current content.
    bool FirstTime(const std::string& path, std::string_view text);
    // The file was imported and deleted.
    void Forget(const std::string& path);
    // Drops the files that are no longer in the folder.
    void KeepOnly(const std::vector<std::string>& paths);

    std::size_t Size() const { return files_.size(); }

private:
    struct Noted {
        uint64_t Content = 0;
        std::unordered_set<uint64_t> Texts;
    };
    std::map<std::string, Noted> files_;
};
