#include "host/TelvaneRecPage.h"

#include <fstream>

#include "host/HostNumbering.h"
#include "host/ListControl.h"
#include "host/Telvane.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "support/VbConvert.h"
#include "support/VbText.h"
#include "support/clsIni.h"

namespace {

constexpr std::size_t MapRecordSize = 256;

std::string IniGet(const std::string& file, const std::string& section, const std::string& key) {
    clsIni ini;
    ini.FileName(file);
    ini.AppName(section);
    ini.KeyName(key);
    return ini.GetIni();
}

void IniSet(const std::string& file, const std::string& section, const std::string& key, const std::string& value) {
    clsIni ini;
    ini.FileName(file);
    ini.AppName(section);
    ini.KeyName(key);
    ini.SetIni(value);
}

}  // namespace

int32_t ParsePageReference(const std::string& reference) {
    std::string s = reference;
    std::size_t open = s.find('[');
    if (open != std::string::npos) {
        s.erase(0, open + 1);
        std::size_t close = s.find(']');
        if (close != std::string::npos) s.erase(close);
    }
    std::size_t line = s.find('L');
    if (line != std::string::npos) s.erase(line);
    std::size_t p = s.find('P');
    if (s.empty() || s[0] != 'R' || p == std::string::npos || p < 2 || p + 1 >= s.size()) return 0;
    double recorder = Val(s.substr(1, p - 1));
    double page = Val(s.substr(p + 1));
    if (recorder <= 0 || page <= 0) return 0;
    return SelectionNumber((recorder - 1) * 10 + page);
}

int32_t TelvaneRecPage::IndexMax() const {
    if (host_ == nullptr) return 0;
    return host_->V4() ? 50 : host_->V5() ? 100 : 0;
}

void TelvaneRecPage::Index(int32_t value) { index_ = value >= IndexMin() && value <= IndexMax() ? value : 0; }

int32_t TelvaneRecPage::RecorderNumber() const {
    if (index_ <= 0) return 0;
    return host_->V4() ? (index_ - 1) / 10 + 1 : 1;
}

int32_t TelvaneRecPage::PageNumber() const {
    if (index_ <= 0) return 0;
    return host_->V4() ? (index_ - 1) % 10 + 1 : index_;
}

std::string TelvaneRecPage::IndexReference() const {
    if (index_ <= 0) return {};
    std::string reference = "R";
    reference += std::to_string(RecorderNumber());
    reference += "P";
    reference += std::to_string(PageNumber());
    return reference;
}

void TelvaneRecPage::IndexReference(const std::string& reference) { Index(ParsePageReference(reference)); }

std::string TelvaneRecPage::Name() {
    if (index_ <= 0) return {};
    VbResult<std::string> r = host_->Libraries().GetPageLabel(index_ - 1);
    return r.Ok() ? r.Value : std::string();
}

bool TelvaneRecPage::Enabled() {
    if (index_ <= 0) return false;
    VbResult<int32_t> r = host_->Libraries().IsPageActive(index_ - 1);
    return r.Ok() && r.Value == 1;
}

float TelvaneRecPage::OperatingMode() {
    if (index_ <= 0) return 0.0f;
    VbResult<float> r = host_->Libraries().GetPageParamSetup(index_ - 1, 2);
    return r.Ok() ? r.Value : 0.0f;
}

void TelvaneRecPage::SetListBox(ListControl& box) {
    listBox_ = &box;
    box.Clear();
    int32_t keep = index_;
    for (int32_t page = 1; page <= IndexMax(); ++page) {
        index_ = page;
        std::string item = "[";
        item += IndexReference();
        item += "] ";
        item += Name();
        box.AddItem(item, page);
    }
    index_ = keep;
}

std::string TelvaneRecPage::ListReference() const {
    if (listBox_ == nullptr) return {};
    int32_t selected = listBox_->ListIndex();
    if (selected < 0 || selected >= listBox_->ListCount()) return {};
    TelvaneRecPage page(host_);
    page.Index(listBox_->ItemData(selected));
    return page.IndexReference();
}

void TelvaneRecPage::ListReference(const std::string& reference) {
    if (listBox_ == nullptr) return;
    int32_t page = ParsePageReference(reference);
    for (int32_t i = 0; i < listBox_->ListCount(); ++i) {
        if (page > 0 && listBox_->ItemData(i) == page) {
            listBox_->SetListIndex(i);
            return;
        }
    }
    listBox_->SetListIndex(-1);
}

std::string TelvaneRecPage::ResolveStoreFile(const std::string& name) const {
    std::string path = PathJoin(host_->JobDataFolder(), PathFilePart(name));
    return FileExists(path) ? path : std::string();
}

std::vector<std::string> TelvaneRecPage::StoreFiles(bool bolAllFiles) {
    std::vector<std::string> files;
    if (index_ <= 0) return files;
    if (host_->V5()) {
        std::string mapFile = host_->JobDataFolder() + "\\Page" + std::to_string(index_) + ".map";
        std::ifstream in(LocalPath(mapFile), std::ios::binary);
        std::string record(MapRecordSize, '\0');
        while (in) {
            std::fill(record.begin(), record.end(), '\0');
            in.read(record.data(), static_cast<std::streamsize>(MapRecordSize));
            if (in.gcount() <= 0) break;
            std::string name = CutAtNull(record);
            if (name.empty()) continue;
            std::string path = ResolveStoreFile(name);
            if (path.empty()) continue;
            files.push_back(path);
            if (!bolAllFiles) break;
        }
    } else if (host_->V4()) {
        std::string iniFile = host_->TelvaneFolder() + "\\Record.ini";
        std::string section = "Recorder " + std::to_string(RecorderNumber()) + " Page " + std::to_string(PageNumber());
        for (int key = 0;; ++key) {
            std::string value = IniGet(iniFile, section, "file" + std::to_string(key));
            if (value.empty()) break;
            std::string path = ResolveStoreFile(value);
            if (!path.empty()) files.push_back(path);
            if (!bolAllFiles) break;
        }
    }
    return files;
}

std::string TelvaneRecPage::CurrentStoreFile() {
    std::vector<std::string> files = StoreFiles(false);
    if (files.empty() || !FileExists(files.front())) return {};
    return files.front();
}

std::string TelvaneRecPage::BatchHeaderFile() {
    std::string recordIni = host_->JobDataFolder() + "\\record.ini";
    std::string section = "Recorder 1 Page " + std::to_string(index_);
    std::string file = IniGet(recordIni, section, "Header");
    if (file.empty() || !FileExists(file)) {
        file = host_->JobTempFolder() + "\\BchP" + std::to_string(index_) + ".tmp";
        IniSet(recordIni, section, "Header", file);
    }
    return file;
}

std::string TelvaneRecPage::HeaderKey(const char* key) {
    if (index_ <= 0) return {};
    return IniGet(BatchHeaderFile(), "Header", key);
}

void TelvaneRecPage::SetHeaderKey(const char* key, const std::string& value) {
    if (index_ <= 0) return;
    IniSet(BatchHeaderFile(), "Header", key, value);
}

std::string TelvaneRecPage::NextBatchName() { return HeaderKey("Name"); }
void TelvaneRecPage::NextBatchName(const std::string& value) { SetHeaderKey("Name", value); }
std::string TelvaneRecPage::NextBatchCode() { return HeaderKey("Code"); }
void TelvaneRecPage::NextBatchCode(const std::string& value) { SetHeaderKey("Code", value); }
std::string TelvaneRecPage::NextBatchComment() { return HeaderKey("Comment"); }
void TelvaneRecPage::NextBatchComment(const std::string& value) { SetHeaderKey("Comment", value); }

void TelvaneRecPage::NextBatchReset() {
    if (index_ <= 0) return;
    std::string file = BatchHeaderFile();
    IniSet(host_->JobDataFolder() + "\\record.ini", "Recorder 1 Page " + std::to_string(index_), "Header", "");
    if (FileExists(file)) (void)DeleteFile(file);
}
