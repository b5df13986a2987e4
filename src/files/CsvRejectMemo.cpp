#include "files/CsvRejectMemo.h"

#include <functional>
#include <string_view>
#include <unordered_set>

namespace {

uint64_t Fingerprint(std::string_view bytes)
{
    return static_cast<uint64_t>(std::hash<std::string_view>{}(bytes)) ^ (static_cast<uint64_t>(bytes.size()) << 1);
}

} // namespace

void CsvRejectMemo::Begin(const std::string& path, std::string_view content)
{
    Noted& noted = files_[path];
    const uint64_t print = Fingerprint(content);
    if (noted.Content != print) {
        noted.Content = print;
        noted.Texts.clear();
    }
}

bool CsvRejectMemo::FirstTime(const std::string& path, std::string_view text)
{
    return files_[path].Texts.insert(Fingerprint(text)).second;
}

void CsvRejectMemo::Forget(const std::string& path) { files_.erase(path); }

void CsvRejectMemo::KeepOnly(const std::vector<std::string>& paths)
{
    if (files_.empty())
        return;
    // A folder of many files, several of them left for the next scan, is looked up, not walked.
    const std::unordered_set<std::string_view> present(paths.begin(), paths.end());
    std::erase_if(files_, [&](const auto& entry) { return !present.contains(entry.first); });
}
