#include "support/clsAPI.h"

#include "platform/Programs.h"
#include "support/Profile.h"

std::string clsAPI::GetIni(std::string_view section, std::string_view key, std::string_view file) const {
    // The value lands in a 256-character buffer of NULs, so there is always a NUL after it
    // for TrimNull to find.
    std::string buffer = GetPrivateProfileString(section, key, "", 256, file);
    buffer.push_back('\0');
    return TrimNull(buffer);
}

std::string clsAPI::TrimNull(std::string_view text) const {
    std::size_t nul = text.find('\0');
    if (nul == std::string_view::npos) return {};
    text = text.substr(0, nul);
    std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    std::size_t last = text.find_last_not_of(' ');
    return std::string(text.substr(first, last - first + 1));
}

void clsAPI::MyShellExecute(std::string_view file, std::string_view parameters) const {
    (void)ShellOpen(file, parameters);  // a missing target just does nothing
}

void clsAPI::SetWindowTopMost(TopMostWindow& window) const {
    window.PlaceTopMost();
}
