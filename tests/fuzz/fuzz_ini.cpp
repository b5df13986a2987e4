// INI text from anywhere: the reader must not fail on it, and an edit must read back as written
// while every other section reads exactly as before.
//
// Input: byte 0 picks the edit and where its names come from, bytes 1-3 pick the names and the
// value length, then the value, then the file content.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

#include "FuzzSupport.h"
#include "platform/Files.h"
#include "platform/Prefix.h"
#include "support/IniText.h"
#include "support/Profile.h"

namespace {

std::string Folder;

struct KeyRef {
    std::string Section, Key;
    bool FirstOccurrence;  // of its section: the one reads see
};

// Every key line that sits under some section header, as (section, key).
std::vector<KeyRef> KeysOf(std::string_view text, std::size_t limit) {
    std::vector<KeyRef> keys;
    std::vector<std::string_view> seen;
    std::optional<std::string_view> section;
    bool first = false;
    for (std::size_t pos = 0; pos < text.size() && keys.size() < limit;) {
        IniLine line = IniLineAt(text, pos);
        Check(line.End > pos && line.End <= text.size() && line.ContentEnd <= line.End);
        if (line.Kind == IniLineKind::Section) {
            section = line.Name;
            first = true;
            for (std::string_view s : seen) first = first && !IniNamesMatch(s, line.Name);
            if (seen.size() < limit) seen.push_back(line.Name);
        }
        if (line.Kind == IniLineKind::Key && section)
            keys.push_back({std::string(*section), std::string(line.Name), first});
        pos = line.End;
    }
    return keys;
}

std::vector<std::string> SectionsOf(std::string_view text) {
    std::vector<std::string> names;
    for (std::size_t pos = 0; pos < text.size();) {
        IniLine line = IniLineAt(text, pos);
        if (line.Kind == IniLineKind::Section) names.emplace_back(line.Name);
        pos = line.End;
    }
    return names;
}

std::string MadeUpName(uint8_t seed) {
    static const char letters[] = "aBcDeF";
    std::string name;
    for (int i = 0; i < 1 + seed % 3; ++i) name += letters[(seed >> (i * 2)) % 6];
    return name;
}

std::string_view Expected(std::string_view value) {
    return IniUnquote(IniTrim(value.substr(0, value.find_first_of("\r\n"))));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Folder = MakeScratchFolder("ini");
    UsePrefix(Folder + "/prefix");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size < 4) return 0;
    const uint8_t op = data[0], sectionSeed = data[1], keySeed = data[2];
    const std::size_t valueLength = std::min<std::size_t>(data[3] % 40, size - 4);
    std::string value(reinterpret_cast<const char*>(data + 4), valueLength);
    value = value.substr(0, value.find('\0'));  // the writer takes C strings
    const std::string_view text(reinterpret_cast<const char*>(data + 4 + valueLength), size - 4 - valueLength);

    // Reading: any text, any names.
    const std::vector<KeyRef> keys = KeysOf(text, 64);
    for (const KeyRef& k : keys) {
        std::optional<std::string_view> v = IniFindValue(text, k.Section, k.Key);
        Check(v.has_value() || !k.FirstOccurrence);
        if (v) Check(v->data() >= text.data() && v->data() + v->size() <= text.data() + text.size());
    }

    // Names: existing ones half of the time, so edits hit real sections and keys.
    std::string section = MadeUpName(sectionSeed), key = MadeUpName(keySeed);
    if ((op & 4) && !keys.empty()) {
        const KeyRef& k = keys[sectionSeed % keys.size()];
        section = k.Section;
        if (op & 8) key = k.Key;
    }

    std::string edited;
    switch (op % 3) {
    case 0:
        edited = IniSetValue(text, section, key, value);
        Check(IniFindValue(edited, section, key) == Expected(value));
        break;
    case 1:
        edited = IniDeleteKey(text, section, key);
        Check(!IniFindValue(edited, section, key));
        break;
    default:
        edited = IniDeleteSection(text, section);
        for (const std::string& name : SectionsOf(edited)) Check(!IniNamesMatch(name, section));
        break;
    }

    // Every other key reads as before: other sections entirely, and the other keys of this one
    // unless the whole section went.
    // A value with a line break is written verbatim, so its later lines may add keys and sections.
    const bool injects = op % 3 == 0 && value.find_first_of("\r\n") != std::string::npos;
    for (const KeyRef& k : keys) {
        if (injects) break;
        const bool same = IniNamesMatch(k.Section, section);
        if (same && (op % 3 == 2 || IniNamesMatch(k.Key, key))) continue;
        Check(IniFindValue(text, k.Section, k.Key) == IniFindValue(edited, k.Section, k.Key));
    }

    // The same edit through a real file now and then (each write syncs to disk).
    // The writer takes C strings, so names holding a NUL cannot reach it.
    const bool cNames = section.find('\0') == std::string::npos && key.find('\0') == std::string::npos;
    if ((op & 0xF0) == 0xF0 && cNames) {
        const std::string file = Folder + "/f.ini";
        if (WriteFileAtomically(file, text).Failed()) return 0;
        const bool ok = op % 3 == 0   ? WritePrivateProfileString(section.c_str(), key.c_str(), value.c_str(), file)
                        : op % 3 == 1 ? WritePrivateProfileString(section.c_str(), key.c_str(), nullptr, file)
                                      : WritePrivateProfileString(section.c_str(), nullptr, nullptr, file);
        Check(ok);
        VbResult<std::string> back = ReadWholeFile(file);
        Check(back.Ok() && back.Value == edited);
        const int bufferSize = keySeed % 64;
        std::string got = GetPrivateProfileString(section, key, "dflt", bufferSize, file);
        std::string want(IniFindValue(edited, section, key).value_or("dflt"));
        Check(got == want.substr(0, bufferSize > 0 ? bufferSize - 1 : 0));
        (void)GetPrivateProfileInt(section, key, -1, file);
    }
    return 0;
}
