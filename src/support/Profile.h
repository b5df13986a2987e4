#pragma once
// INI files read and written with the private-profile semantics of the original platform.
// Section and key names match without regard to case; blanks around names and values are trimmed;
// a missing file, section or key gives the default. Writes keep every other section, key, comment
// and their order, create the file or section when missing, and replace the file atomically.
// fileName is a path text (see platform/Paths.h).
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The value (or default) cut to bufferSize - 1 characters. A value in matching quotes loses them.
std::string GetPrivateProfileString(std::string_view section, std::string_view key,
                                    std::string_view defaultValue, int bufferSize,
                                    std::string_view fileName);
// The text of a profile file, for many lookups with one read: "" when it cannot be read, which
// gives every default as a missing file does.
std::string ReadPrivateProfileText(std::string_view fileName);
// GetPrivateProfileString on a text given by ReadPrivateProfileText.
std::string GetPrivateProfileStringFromText(std::string_view text, std::string_view section, std::string_view key,
                                            std::string_view defaultValue, int bufferSize);
// The leading decimal integer of the value (sign allowed; no hex), or the default when the key is
// missing; a value without leading digits gives 0.
int GetPrivateProfileInt(std::string_view section, std::string_view key, int defaultValue,
                         std::string_view fileName);
// An absent key (nullptr) deletes the whole section; an absent value (nullptr) deletes the key.
// Returns false when the file could not be written (it is then left as it was).
bool WritePrivateProfileString(const char* section, const char* key, const char* value,
                               std::string_view fileName);

// Several keys of one section written in order with one replacement of the file: the same bytes
// as writing them one by one, with one flush instead of one per key.
bool WritePrivateProfileStrings(std::string_view section,
                                const std::vector<std::pair<std::string, std::string>>& keysAndValues,
                                std::string_view fileName);

// The same on the system profile (win.ini in the prefix's Windows folder).
std::string GetProfileString(std::string_view section, std::string_view key,
                             std::string_view defaultValue, int bufferSize);
bool WriteProfileString(const char* section, const char* key, const char* value);
