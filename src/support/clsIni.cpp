#include "support/clsIni.h"

#include "support/Profile.h"

namespace {

// Reads go through a 256-character buffer; what follows a NUL in it is not part of the value.
constexpr int IniBufferSize = 256;

std::string CutAtNul(std::string text) {
    if (std::size_t nul = text.find('\0'); nul != std::string::npos) text.resize(nul);
    return text;
}

}  // namespace

std::string clsIni::GetIni() const {
    if (fileName_.empty() || appName_.empty() || keyName_.empty()) return {};
    return CutAtNul(GetPrivateProfileString(appName_, keyName_, "", IniBufferSize, fileName_));
}

void clsIni::SetIni(const std::string& value) const {
    if (fileName_.empty() || appName_.empty() || keyName_.empty()) return;
    // A failed write leaves the file as it was; callers are not told.
    WritePrivateProfileString(appName_.c_str(), keyName_.c_str(), value.c_str(), fileName_);
}

std::string clsIni::GetWinIni() const {
    if (appName_.empty() || keyName_.empty()) return {};
    return CutAtNul(GetProfileString(appName_, keyName_, "", IniBufferSize));
}
