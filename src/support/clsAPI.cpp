#include "support/clsAPI.h"

#include "support/VbText.h"

#include "platform/Programs.h"
#include "support/Profile.h"

std::string clsAPI::GetIni(std::string_view section, std::string_view key, std::string_view file) const {
    // The value lands in a 256-character buffer of NULs, so there is always a NUL after it
    // for TrimNull to find.
    std::string buffer = GetPrivateProfileString(section, key, "", 256, file);
    buffer.push_back('\0');
    return TrimNull(buffer);
}

std::string clsAPI::TrimNull(std::string_view text) const { return ::TrimNull(text); }

void clsAPI::MyShellExecute(std::string_view file, std::string_view parameters) const {
    (void)ShellOpen(file, parameters);  // a missing target just does nothing
}

void clsAPI::SetWindowTopMost(TopMostWindow& window) const {
    window.PlaceTopMost();
}
