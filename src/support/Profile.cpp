#include "support/Profile.h"


#include <cstdint>
#include <utility>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Prefix.h"
#include "support/IniText.h"

namespace {

// A bare file name ("WinSockets.ini") means the file in the Windows folder, as on the original platform.
std::string ProfileFileText(std::string_view fileName) {
    if (fileName.find_first_of("\\/") == std::string_view::npos)
        return PathJoin(WindowsFolderText(), fileName);
    return std::string(fileName);
}

std::string CutToBuffer(std::string_view text, int bufferSize) {
    if (bufferSize <= 0) return {};
    return std::string(text.substr(0, static_cast<std::size_t>(bufferSize - 1)));
}

// The platform strips trailing spaces from the default it hands back; tabs stay.
std::string_view TrimTrailingSpaces(std::string_view text) {
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

// Leading blanks, a sign, then decimal digits; the rest ignored ("0x1F" is 0: no hex here).
// Values beyond 32 bits wrap around, as the platform's conversion does.
int ProfileTextToInt(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    std::uint32_t result = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
        result = result * 10u + static_cast<std::uint32_t>(text[i] - '0');
    if (negative) result = 0u - result;
    return static_cast<int>(result);
}

}  // namespace

std::string ReadPrivateProfileText(std::string_view fileName) {
    VbResult<std::string> file = ReadWholeFile(ProfileFileText(fileName));
    return file.Ok() ? std::move(file.Value) : std::string();
}

std::string GetPrivateProfileStringFromText(std::string_view text, std::string_view section, std::string_view key,
                                            std::string_view defaultValue, int bufferSize) {
    if (bufferSize <= 0) return {};
    if (std::optional<std::string_view> value = IniFindValue(text, section, key))
        return CutToBuffer(*value, bufferSize);
    return CutToBuffer(TrimTrailingSpaces(defaultValue), bufferSize);
}

std::string GetPrivateProfileString(std::string_view section, std::string_view key,
                                    std::string_view defaultValue, int bufferSize,
                                    std::string_view fileName) {
    if (bufferSize <= 0) return {};
    return GetPrivateProfileStringFromText(ReadPrivateProfileText(fileName), section, key, defaultValue, bufferSize);
}

int GetPrivateProfileInt(std::string_view section, std::string_view key, int defaultValue,
                         std::string_view fileName) {
    VbResult<std::string> file = ReadWholeFile(ProfileFileText(fileName));
    if (!file.Ok()) return defaultValue;
    std::optional<std::string_view> value = IniFindValue(file.Value, section, key);
    return value ? ProfileTextToInt(*value) : defaultValue;
}

bool WritePrivateProfileString(const char* section, const char* key, const char* value,
                               std::string_view fileName) {
    if (!section) return false;
    const std::string fileText = ProfileFileText(fileName);
    VbResult<std::string> file = ReadWholeFile(fileText);
    const bool exists = file.Ok();
    // A file that is there but cannot be read must not be replaced by one holding only this key.
    if (!exists && FileExists(fileText)) return false;

    std::string updated;
    if (!key) {
        updated = IniDeleteSection(file.Value, section);
    } else if (!value) {
        updated = IniDeleteKey(file.Value, section, key);
    } else {
        updated = IniSetValue(file.Value, section, key, value);
    }
    if (updated == file.Value) return true;  // nothing to change (a delete never creates the file)
    if (exists && FileIsReadOnly(fileText)) return false;
    return !WriteFileAtomically(fileText, updated).Failed();
}

bool WritePrivateProfileStrings(std::string_view section,
                                const std::vector<std::pair<std::string, std::string>>& keysAndValues,
                                std::string_view fileName) {
    const std::string fileText = ProfileFileText(fileName);
    VbResult<std::string> file = ReadWholeFile(fileText);
    const bool exists = file.Ok();
    if (!exists && FileExists(fileText)) return false;
    std::string updated = file.Value;
    for (const auto& [key, value] : keysAndValues) updated = IniSetValue(updated, section, key, value);
    if (updated == file.Value) return true;
    if (exists && FileIsReadOnly(fileText)) return false;
    return !WriteFileAtomically(fileText, updated).Failed();
}

std::string GetProfileString(std::string_view section, std::string_view key,
                             std::string_view defaultValue, int bufferSize) {
    return GetPrivateProfileString(section, key, defaultValue, bufferSize, SystemProfilePath().string());
}

bool WriteProfileString(const char* section, const char* key, const char* value) {
    return WritePrivateProfileString(section, key, value, SystemProfilePath().string());
}
