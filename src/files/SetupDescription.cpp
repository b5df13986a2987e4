#include "files/SetupDescription.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>
#include <vector>

#include "files/SetupFileLayout.h"

namespace {

// ---- writing ----

std::string Quote(const std::string& raw)
{
    std::size_t end = raw.size();
    while (end > 0 && raw[end - 1] == ' ')
        --end;
    std::string out = "\"";
    for (std::size_t i = 0; i < end; ++i) {
        const auto c = static_cast<unsigned char>(raw[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || c >= 0x7F) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", c);
            out += hex;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string FloatText(float value)
{
    if (std::isfinite(value)) {
        char text[40];
        std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
        if (std::bit_cast<uint32_t>(std::strtof(text, nullptr)) == std::bit_cast<uint32_t>(value))
            return text;
    }
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", std::bit_cast<uint32_t>(value));
    return hex;
}

std::string Hex(const char* bytes, std::size_t count)
{
    std::string out;
    char two[4];
    for (std::size_t i = 0; i < count; ++i) {
        std::snprintf(two, sizeof two, "%02X", static_cast<unsigned char>(bytes[i]));
        out += two;
    }
    return out;
}

template <class R>
void WriteFieldsText(std::ostringstream& out, const R& record, std::span<const LayoutField<R>> fields)
{
    const R blank{};
    for (const LayoutField<R>& f : fields) {
        std::visit(
            [&](auto member) {
                using T = std::remove_cv_t<std::remove_reference_t<decltype(record.*member)>>;
                const T& v = record.*member;
                if constexpr (std::is_same_v<T, std::string>) {
                    if (v != blank.*member)
                        out << f.Key << " = " << Quote(v) << '\n';
                } else if constexpr (std::is_same_v<T, float>) {
                    if (std::bit_cast<uint32_t>(v) != 0)
                        out << f.Key << " = " << FloatText(v) << '\n';
                } else {
                    if (v != 0)
                        out << f.Key << " = " << v << '\n';
                }
            },
            f.Member);
    }
}

template <class R>
std::string FieldsText(const R& record, std::span<const LayoutField<R>> fields)
{
    std::ostringstream out;
    WriteFieldsText(out, record, fields);
    return out.str();
}

std::string TagText(const SetupFileImage& image, int t)
{
    const SetupData& d = image.Data;
    const TagRecord& tag = d.TagTable[static_cast<std::size_t>(t)];
    std::ostringstream out;
    WriteFieldsText(out, tag, TagFieldsBeforeTerms());
    for (int j = 0; j < StoredMathsTerms; ++j) {
        const MathsTerm& term = tag.MathsTerms[static_cast<std::size_t>(j)];
        if (term.TermTag != 0 || term.TermOp != 0 || std::bit_cast<uint32_t>(term.TermFactor) != 0)
            out << "Term" << j << " = " << term.TermTag << ' ' << term.TermOp << ' ' << FloatText(term.TermFactor)
                << '\n';
    }
    const std::vector<AuxEntry>& aux = d.TagAuxEntries[static_cast<std::size_t>(t)];
    for (std::size_t e = 0; e < aux.size(); ++e)
        if (aux[e] != AuxEntry{})
            out << "Aux" << e << " = " << Hex(aux[e].data(), AuxEntrySize) << '\n';
    WriteFieldsText(out, tag, TagFieldsAfterAux());
    if (tag.Setup30 != 0)
        out << "Setup30 = " << tag.Setup30 << '\n';
    if (const auto& first = image.Setup30FirstSlot[static_cast<std::size_t>(t)])
        out << "Setup30Slot1 = " << *first << '\n';
    if (tag.Setup31 != 0)
        out << "Setup31 = " << tag.Setup31 << '\n';
    if (tag.Setup32 != 0)
        out << "Setup32 = " << tag.Setup32 << '\n';
    return out.str();
}

std::string PairText(const PairTable& table)
{
    std::ostringstream out;
    WriteFieldsText(out, table, PairTableNameFields());
    for (std::size_t i = 0; i < table.Pairs.size(); ++i)
        if (table.Pairs[i].First != 0 || table.Pairs[i].Second != 0)
            out << "Pair" << i << " = " << table.Pairs[i].First << ' ' << table.Pairs[i].Second << '\n';
    return out.str();
}

// ---- reading ----

struct ParseError {
    std::string Message;
    int Line = 0;  // the line the error belongs to, when not the line being read
};

// User text as an error message shows it: non-printing bytes as \xHH, long texts cut.
std::string Shown(const std::string& text)
{
    constexpr std::size_t limit = 40;
    std::string out;
    for (std::size_t i = 0; i < text.size() && i < limit; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c >= 0x7F) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", c);
            out += hex;
        } else {
            out += static_cast<char>(c);
        }
    }
    return text.size() > limit ? out + "..." : out;
}

std::string TrimSpace(const std::string& s)
{
    const auto b = s.find_first_not_of(" \t\r");
    if (b == std::string::npos)
        return "";
    const auto e = s.find_last_not_of(" \t\r");
    return s.substr(b, e - b + 1);
}

std::vector<std::string> Words(const std::string& s)
{
    std::istringstream in(s);
    std::vector<std::string> words;
    for (std::string w; in >> w;)
        words.push_back(w);
    return words;
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// A whole number of the given byte width: decimal within the signed range, or 0x hex of the bits.
int64_t ParseInteger(const std::string& text, int bytes, const std::string& what)
{
    const int bits = 8 * bytes;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        if (text.size() - 2 > static_cast<std::size_t>(2 * bytes))
            throw ParseError{Shown(text) + " has too many hex digits for " + what};
        uint64_t v = 0;
        for (std::size_t i = 2; i < text.size(); ++i) {
            const int d = HexDigit(text[i]);
            if (d < 0)
                throw ParseError{"'" + Shown(text) + "' is not a number (" + what + ")"};
            v = (v << 4) | static_cast<uint64_t>(d);
        }
        if (bits < 64 && (v >> (bits - 1)) & 1)
            return static_cast<int64_t>(v) - (int64_t{1} << bits);
        return static_cast<int64_t>(v);
    }
    std::size_t i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+'))
        negative = text[i++] == '-';
    if (i == text.size())
        throw ParseError{"'" + Shown(text) + "' is not a number (" + what + ")"};
    const int64_t low = bits == 64 ? INT64_MIN : -(int64_t{1} << (bits - 1));
    const int64_t high = bits == 64 ? INT64_MAX : (int64_t{1} << (bits - 1)) - 1;
    __int128 v = 0;
    bool huge = false;
    for (; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9')
            throw ParseError{"'" + Shown(text) + "' is not a number (" + what + ")"};
        if (v <= static_cast<__int128>(high) + 1)
            v = v * 10 + (text[i] - '0');
        else
            huge = true;
    }
    if (negative)
        v = -v;
    if (huge || v < low || v > high)
        throw ParseError{Shown(text) + " is out of range for " + what + " (" + std::to_string(low) + " to " +
                         std::to_string(high) + ")"};
    return static_cast<int64_t>(v);
}

float ParseFloat(const std::string& text, const std::string& what)
{
    if (text.size() == 10 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
        return std::bit_cast<float>(static_cast<uint32_t>(ParseInteger(text, 4, what)));
    char* end = nullptr;
    const float v = std::strtof(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size())
        throw ParseError{"'" + Shown(text) + "' is not a number (" + what + ")"};
    return v;
}

std::string ParseText(const std::string& text, std::size_t width, const std::string& what)
{
    if (text.size() < 2 || text.front() != '"' || text.back() != '"')
        throw ParseError{what + " needs a text in double quotes"};
    std::string out;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        char c = text[i];
        if (c == '\\') {
            if (i + 2 >= text.size())
                throw ParseError{"unfinished escape in " + what};
            const char e = text[++i];
            if (e == 'x') {
                const int hi = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
                const int lo = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
                if (hi < 0 || lo < 0)
                    throw ParseError{"bad \\x escape in " + what};
                c = static_cast<char>(hi * 16 + lo);
                i += 2;
            } else if (e == '"' || e == '\\') {
                c = e;
            } else {
                throw ParseError{std::string("unknown escape \\") + e + " in " + what};
            }
        } else if (c == '"') {
            throw ParseError{"a double quote inside " + what + " must be written \\\""};
        }
        out += c;
    }
    if (out.size() > width)
        throw ParseError{what + " is " + std::to_string(out.size()) + " characters; the field holds " +
                         std::to_string(width)};
    out.resize(width, ' ');
    return out;
}

std::string ParseHexBytes(const std::string& text, const std::string& what)
{
    if (text.size() % 2 != 0)
        throw ParseError{what + " needs an even number of hex digits"};
    std::string out;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int hi = HexDigit(text[i]);
        const int lo = HexDigit(text[i + 1]);
        if (hi < 0 || lo < 0)
            throw ParseError{what + " has a character that is not a hex digit"};
        out += static_cast<char>(hi * 16 + lo);
    }
    return out;
}

// Sets field key of record from text; false when the record has no such field.
template <class R>
bool SetField(R& record, std::span<const LayoutField<R>> fields, const std::string& key, const std::string& value)
{
    for (const LayoutField<R>& f : fields) {
        if (key != f.Key)
            continue;
        std::visit(
            [&](auto member) {
                using T = std::remove_reference_t<decltype(record.*member)>;
                if constexpr (std::is_same_v<T, std::string>) record.*member = ParseText(value, static_cast<std::size_t>(f.Length), key);
                else if constexpr (std::is_same_v<T, float>) record.*member = ParseFloat(value, key);
                else record.*member = static_cast<T>(ParseInteger(value, static_cast<int>(sizeof(T)), key));
            },
            f.Member);
        return true;
    }
    return false;
}

// "Term3" -> 3 when key is prefix + a number in 0..limit-1; -1 otherwise.
int IndexedKey(const std::string& key, const std::string& prefix, int limit)
{
    if (key.size() <= prefix.size() || key.compare(0, prefix.size(), prefix) != 0)
        return -1;
    int v = 0;
    for (std::size_t i = prefix.size(); i < key.size(); ++i) {
        if (key[i] < '0' || key[i] > '9' || v > 100000)
            return -1;
        v = v * 10 + (key[i] - '0');
    }
    return v < limit ? v : -2;
}

enum class Section { None, Header, Tariff, Entry, Pair, Center, Tag, Fixed, Gap, Trailer };

// A line without its trailing "# ..." remark; a "#" inside a quoted text is part of the text.
std::string WithoutRemark(const std::string& line)
{
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quoted && c == '\\') {
            ++i;
        } else if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && c == '#' && (i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t')) {
            return line.substr(0, i);
        }
    }
    return line;
}

class DescriptionReader {
public:
    SetupDescriptionResult Read(const std::string& text)
    {
        SetupDescriptionResult result;
        image_ = &result.Image;
        lines_ = &result.Lines;
        // A byte order mark, as some editors write one, is not part of the first line.
        std::istringstream in(text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? text.substr(3) : text);
        std::string raw;
        int lineNo = 0;
        try {
            while (std::getline(in, raw)) {
                lineNo_ = ++lineNo;
                const std::string line = TrimSpace(WithoutRemark(raw));
                if (line.empty())
                    continue;
                if (line[0] == '[')
                    StartSection(line);
                else
                    SetKey(line);
            }
            lineNo = 0;
            Finish();
        } catch (const ParseError& e) {
            const int at = e.Line > 0 ? e.Line : lineNo;
            result.Error = (at > 0 ? "line " + std::to_string(at) + ": " : "") + e.Message;
        }
        return result;
    }

private:
    void StartSection(const std::string& line)
    {
        if (line.back() != ']')
            throw ParseError{"a section line must end with ']'"};
        const std::vector<std::string> w = Words(line.substr(1, line.size() - 2));
        if (w.empty())
            throw ParseError{"empty section name"};
        if (section_ == Section::Header)
            FinishHeader();
        keys_.clear();
        const std::string name = w[0];
        auto number = [&](std::size_t at, int low, int high, const std::string& what) {
            if (w.size() <= at)
                throw ParseError{"[" + name + "] needs a number"};
            const int64_t v = ParseInteger(w[at], 4, what);
            if (high < low)
                throw ParseError{"[" + Shown(line.substr(1, line.size() - 2)) + "]: there is no " + what +
                                 " to describe"};
            if (v < low || v > high)
                throw ParseError{what + " " + Shown(w[at]) + " is outside " + std::to_string(low) + ".." +
                                 std::to_string(high)};
            return static_cast<int>(v);
        };
        const SetupData& d = image_->Data;
        std::string id = name;
        if (name == "Header") {
            if (headerDone_ || section_ != Section::None)
                throw ParseError{"[Header] must come first, once"};
            section_ = Section::Header;
            headerLine_ = lineNo_;
            Expect(w, 1);
        } else {
            if (!headerDone_)
                throw ParseError{"[Header] must come first"};
            if (name == "Tariff" && w.size() == 4 && w[2] == "Entry") {
                section_ = Section::Entry;
                index_ = number(1, 0, d.TariffCount - 1, "tariff (TariffCount " + std::to_string(d.TariffCount) + ")");
                entry_ = number(3, 0, d.TariffEntryCount - 1,
                                "entry (TariffEntryCount " + std::to_string(d.TariffEntryCount) + ")");
                id += " " + std::to_string(index_) + " Entry " + std::to_string(entry_);
            } else if (name == "Tariff") {
                section_ = Section::Tariff;
                Expect(w, 2);
                index_ = number(1, 0, d.TariffCount - 1, "tariff (TariffCount " + std::to_string(d.TariffCount) + ")");
            } else if (name == "PairTable") {
                section_ = Section::Pair;
                Expect(w, 2);
                index_ = number(1, 1, PairTableCount, "pair table");
            } else if (name == "Center") {
                section_ = Section::Center;
                Expect(w, 2);
                index_ = number(1, 1, d.CenterCount, "center (CenterCount " + std::to_string(d.CenterCount) + ")");
            } else if (name == "Tag") {
                section_ = Section::Tag;
                Expect(w, 2);
                index_ = number(1, 1, SetupTagSlots, "tag");
            } else if (name == "Fixed") {
                section_ = Section::Fixed;
                Expect(w, 2);
                index_ = number(1, 0, FixedEntryCount - 1, "fixed entry");
                fixedLines_[static_cast<std::size_t>(index_)] = lineNo_;
            } else if (name == "Gap") {
                section_ = Section::Gap;
                Expect(w, 1);
            } else if (name == "Trailer") {
                section_ = Section::Trailer;
                Expect(w, 1);
            } else {
                throw ParseError{"unknown section [" + Shown(name) + "]"};
            }
            if (section_ != Section::Entry && w.size() > 1)
                id += " " + std::to_string(index_);
        }
        if (!sections_.insert(id).second)
            throw ParseError{"section [" + id + "] given twice"};
        sectionName_ = id;
        (*lines_)[id] = lineNo_;
    }

    static void Expect(const std::vector<std::string>& w, std::size_t count)
    {
        if (w.size() != count)
            throw ParseError{"unexpected words in section name [" + Shown(w[0]) + " ...]"};
    }

    void FinishHeader()
    {
        headerDone_ = true;
        const SetupData& d = image_->Data;
        if (std::string problem = SetupCountsProblem(d.TariffCount, d.TariffEntryCount, d.CenterCount); !problem.empty())
            throw ParseError{problem, headerLine_};
        const int64_t end = SetupTagSectionEnd(d.TariffCount, d.TariffEntryCount, d.CenterCount);
        SizeSetupImage(*image_);
        gapLength_ = static_cast<std::size_t>(std::max<int64_t>(0, FixedEntriesOffset - end));
    }

    void Finish()
    {
        if (section_ == Section::Header)
            FinishHeader();
        if (!headerDone_)
            throw ParseError{"no [Header] section"};
        if (!gap_.empty() && gap_.find_first_not_of('\0') != std::string::npos)
            image_->Gap = gap_;
        const SetupData& d = image_->Data;
        const int64_t end = SetupTagSectionEnd(d.TariffCount, d.TariffEntryCount, d.CenterCount);
        if (end > FixedEntriesOffset)
            TakeCoveredFixedEntries(end);
    }

    // The records reach over the fixed entries up to end: there the file holds the records' bytes,
    // and that is what the fixed entries read. A [Fixed f] given there must say the same.
    void TakeCoveredFixedEntries(int64_t end)
    {
        const VbResult<std::string> bytes = EncodeSetupFile(*image_);
        if (!bytes.Ok())
            throw ParseError{bytes.Error.Description};
        ByteReader in(bytes.Value);
        in.Seek(FixedEntriesOffset);
        for (std::size_t f = 0; f < image_->Data.FixedEntries.size(); ++f) {
            const int64_t at = FixedEntriesOffset + static_cast<int64_t>(f) * FixedEntrySize;
            if (at >= end)
                break;
            FixedEntry& entry = image_->Data.FixedEntries[f];
            if (fixedLines_[f] != 0) {
                ByteWriter given;
                WriteFields(given, entry, FixedEntryFields());
                const auto shared = static_cast<std::size_t>(std::min<int64_t>(FixedEntrySize, end - at));
                if (given.Buffer().compare(0, shared, bytes.Value, static_cast<std::size_t>(at), shared) != 0)
                    throw ParseError{"[Fixed " + std::to_string(f) + "] lies at offset " + std::to_string(at) +
                                         ", where the records above reach (to " + std::to_string(end) +
                                         "), and differs from their bytes there",
                                     fixedLines_[f]};
            }
            ReadFields(in, entry, FixedEntryFields());
        }
    }

    void SetKey(const std::string& line)
    {
        const auto eq = line.find('=');
        if (eq == std::string::npos)
            throw ParseError{"expected 'Key = value' or '[Section]'"};
        const std::string key = TrimSpace(line.substr(0, eq));
        const std::string value = TrimSpace(line.substr(eq + 1));
        if (section_ == Section::None)
            throw ParseError{"'" + Shown(key) + "' comes before any section"};
        if (section_ != Section::Trailer && !keys_.insert(key).second)
            throw ParseError{Shown(key) + " given twice in [" + sectionName_ + "]"};
        if (!Apply(key, value))
            throw ParseError{"unknown key '" + Shown(key) + "' in [" + sectionName_ + "]"};
        (*lines_)[sectionName_ + "." + key] = lineNo_;
    }

    bool Apply(const std::string& key, const std::string& value)
    {
        SetupData& d = image_->Data;
        const auto i = static_cast<std::size_t>(index_);
        switch (section_) {
        case Section::Header: {
            int16_t* target = key == "SetupVersion"       ? &d.SetupVersion
                              : key == "SetupInfoWord"    ? &d.SetupInfoWord
                              : key == "PeriodsPerDay"    ? &d.PeriodsPerDay
                              : key == "TariffCount"      ? &d.TariffCount
                              : key == "TariffEntryCount" ? &d.TariffEntryCount
                              : key == "CenterCount"      ? &d.CenterCount
                                                          : nullptr;
            if (target)
                *target = static_cast<int16_t>(ParseInteger(value, 2, key));
            return target != nullptr;
        }
        case Section::Tariff:
            return SetField(d.Tariffs[i], TariffFieldsBeforeEntries(), key, value) ||
                   SetField(d.Tariffs[i], TariffFieldsAfterEntries(), key, value);
        case Section::Entry:
            return SetField(d.TariffEntries[i][static_cast<std::size_t>(entry_)], TariffEntryFields(), key, value);
        case Section::Center:
            return SetField(d.Centers[i], CenterFields(), key, value);
        case Section::Fixed:
            return SetField(d.FixedEntries[i], FixedEntryFields(), key, value);
        case Section::Pair: {
            PairTable& table = d.PairTables[i];
            if (SetField(table, PairTableNameFields(), key, value))
                return true;
            const int p = IndexedKey(key, "Pair", 10);
            if (p == -2)
                throw ParseError{key + ": pairs are numbered 0 to 9"};
            if (p < 0)
                return false;
            const std::vector<std::string> w = Words(value);
            if (w.size() != 2)
                throw ParseError{key + " needs two numbers: first second"};
            table.Pairs[static_cast<std::size_t>(p)].First = static_cast<int16_t>(ParseInteger(w[0], 2, key));
            table.Pairs[static_cast<std::size_t>(p)].Second = static_cast<int16_t>(ParseInteger(w[1], 2, key));
            return true;
        }
        case Section::Tag:
            return ApplyTag(key, value);
        case Section::Gap: {
            const std::vector<std::string> w = Words(key);
            if (w.size() != 2 || w[0] != "At")
                return false;
            const int64_t start = SetupTagSectionEnd(d.TariffCount, d.TariffEntryCount, d.CenterCount);
            const int64_t at = ParseInteger(w[1], 4, "gap offset");
            const std::string bytes = ParseHexBytes(value, "gap bytes");
            if (at < start || at + static_cast<int64_t>(bytes.size()) > FixedEntriesOffset)
                throw ParseError{"gap bytes must lie between " + std::to_string(start) + " and 112196"};
            gap_.resize(gapLength_, '\0');
            gap_.replace(static_cast<std::size_t>(at - start), bytes.size(), bytes);
            return true;
        }
        case Section::Trailer:
            if (key != "Bytes")
                return false;
            image_->Trailer += ParseHexBytes(value, "trailer bytes");
            return true;
        case Section::None:
            break;
        }
        return false;
    }

    bool ApplyTag(const std::string& key, const std::string& value)
    {
        SetupData& d = image_->Data;
        const auto t = static_cast<std::size_t>(index_);
        TagRecord& tag = d.TagTable[t];
        if (SetField(tag, TagFieldsBeforeTerms(), key, value) || SetField(tag, TagFieldsAfterAux(), key, value))
            return true;
        if (key == "Setup30" || key == "Setup31" || key == "Setup30Slot1") {
            const auto v = static_cast<int16_t>(ParseInteger(value, 2, key));
            if (key == "Setup30") tag.Setup30 = v;
            else if (key == "Setup31") tag.Setup31 = v;
            else image_->Setup30FirstSlot[t] = v;
            return true;
        }
        if (key == "Setup32") {
            tag.Setup32 = static_cast<int32_t>(ParseInteger(value, 4, key));
            return true;
        }
        if (const int j = IndexedKey(key, "Term", StoredMathsTerms); j != -1) {
            if (j == -2)
                throw ParseError{key + ": maths terms are numbered 0 to 6"};
            const std::vector<std::string> w = Words(value);
            if (w.size() != 3)
                throw ParseError{key + " needs three values: tag operator factor"};
            MathsTerm& term = tag.MathsTerms[static_cast<std::size_t>(j)];
            term.TermTag = static_cast<int16_t>(ParseInteger(w[0], 2, key + " tag"));
            term.TermOp = static_cast<int16_t>(ParseInteger(w[1], 2, key + " operator"));
            term.TermFactor = ParseFloat(w[2], key + " factor");
            return true;
        }
        if (const int e = IndexedKey(key, "Aux", d.TariffEntryCount > 0 ? d.TariffEntryCount : 0); e != -1) {
            if (e == -2)
                throw ParseError{key + ": a tag has TariffEntryCount (" + std::to_string(d.TariffEntryCount) +
                                 ") aux entries, numbered from 0"};
            const std::string bytes = ParseHexBytes(value, key);
            if (bytes.size() != AuxEntrySize)
                throw ParseError{key + " needs 16 hex digits (8 bytes)"};
            std::copy(bytes.begin(), bytes.end(), d.TagAuxEntries[t][static_cast<std::size_t>(e)].begin());
            return true;
        }
        return false;
    }

    SetupFileImage* image_ = nullptr;
    std::map<std::string, int>* lines_ = nullptr;
    Section section_ = Section::None;
    std::string sectionName_;
    int index_ = 0;
    int entry_ = 0;
    bool headerDone_ = false;
    int lineNo_ = 0;
    int headerLine_ = 0;
    std::set<std::string> sections_;
    std::set<std::string> keys_;
    std::string gap_;
    std::size_t gapLength_ = 0;
    std::array<int, FixedEntryCount> fixedLines_{};  // the line of each [Fixed f] given
};

} // namespace

std::string WriteSetupDescription(const SetupFileImage& image)
{
    const SetupData& d = image.Data;
    std::ostringstream out;
    out << "# Voltaris tag setup file\n\n[Header]\n"
        << "SetupVersion = " << d.SetupVersion << "\nSetupInfoWord = " << d.SetupInfoWord
        << "\nPeriodsPerDay = " << d.PeriodsPerDay << "\nTariffCount = " << d.TariffCount
        << "\nTariffEntryCount = " << d.TariffEntryCount << "\nCenterCount = " << d.CenterCount << "\n";
    for (std::size_t i = 0; i < d.Tariffs.size() && static_cast<int>(i) < d.TariffCount; ++i) {
        out << "\n[Tariff " << i << "]\n"
            << FieldsText(d.Tariffs[i], TariffFieldsBeforeEntries())
            << FieldsText(d.Tariffs[i], TariffFieldsAfterEntries());
        for (std::size_t e = 0; e < d.TariffEntries[i].size(); ++e) {
            const std::string body = FieldsText(d.TariffEntries[i][e], TariffEntryFields());
            if (!body.empty())
                out << "\n[Tariff " << i << " Entry " << e << "]\n" << body;
        }
    }
    for (int p = 1; p <= PairTableCount; ++p) {
        const std::string body = PairText(d.PairTables[static_cast<std::size_t>(p)]);
        if (!body.empty())
            out << "\n[PairTable " << p << "]\n" << body;
    }
    for (int c = 1; c <= d.CenterCount && static_cast<std::size_t>(c) < d.Centers.size(); ++c)
        out << "\n[Center " << c << "]\n" << FieldsText(d.Centers[static_cast<std::size_t>(c)], CenterFields());
    for (int t = 1; t <= SetupTagSlots && static_cast<std::size_t>(t) < d.TagTable.size(); ++t) {
        const std::string body = TagText(image, t);
        if (!body.empty())
            out << "\n[Tag " << t << "]\n" << body;
    }
    // Fixed entries that lie wholly inside the records are their bytes: giving them again adds nothing.
    const int64_t recordsEnd = SetupTagSectionEnd(d.TariffCount, d.TariffEntryCount, d.CenterCount);
    std::size_t firstOwn = 0;
    while (firstOwn < d.FixedEntries.size() &&
           FixedEntriesOffset + static_cast<int64_t>(firstOwn + 1) * FixedEntrySize <= recordsEnd)
        ++firstOwn;
    if (firstOwn > 0)
        out << "\n# The records end at offset " << recordsEnd << ", over fixed entries 0 to " << firstOwn - 1
            << " at offset 112196: those hold the records' bytes.\n";
    for (std::size_t f = firstOwn; f < d.FixedEntries.size(); ++f) {
        const std::string body = FieldsText(d.FixedEntries[f], FixedEntryFields());
        if (!body.empty())
            out << "\n[Fixed " << f << "]\n" << body;
    }
    if (!image.Gap.empty()) {
        out << "\n[Gap]\n";
        const int64_t start = SetupTagSectionEnd(d.TariffCount, d.TariffEntryCount, d.CenterCount);
        std::size_t i = 0;
        while (i < image.Gap.size()) {
            if (image.Gap[i] == '\0') {
                ++i;
                continue;
            }
            std::size_t j = i;
            while (j < image.Gap.size() && j - i < 32 && image.Gap[j] != '\0')
                ++j;
            out << "At " << start + static_cast<int64_t>(i) << " = " << Hex(image.Gap.data() + i, j - i) << '\n';
            i = j;
        }
    }
    if (!image.Trailer.empty()) {
        out << "\n[Trailer]\n";
        for (std::size_t i = 0; i < image.Trailer.size(); i += 32)
            out << "Bytes = " << Hex(image.Trailer.data() + i, std::min<std::size_t>(32, image.Trailer.size() - i))
                << '\n';
    }
    return out.str();
}

SetupDescriptionResult ReadSetupDescription(const std::string& text)
{
    return DescriptionReader().Read(text);
}
