#pragma once
// The readable text form of a tag setup file, written and read by vt-mtg.
//
//   # comment
//   [Header]                 SetupVersion, SetupInfoWord, PeriodsPerDay, TariffCount, TariffEntryCount, CenterCount
//   [Tariff i]               i = 0..TariffCount-1: Text1..Text10, Value1..Value20
//   [Tariff i Entry e]       e = 0..TariffEntryCount-1: Name, Value1..Value12, Percentage
//   [PairTable p]            p = 1..20: Name, Value, Pair0..Pair9 = first second
//   [Center c]               c = 1..CenterCount: Name, Value1..Value5
//   [Tag t]                  t = 1..200: the named fields (TagName, Online, ScanType ...), Setup1..Setup32,
//                            Term0..Term6 = tag operator factor, Aux0.. = 16 hex digits,
//                            Setup30Slot1 when the first of Setup30's two slots differs
//   [Fixed f]                f = 0..66: Name, Value1..Value8
//   [Gap]                    At offset = hex bytes (between the tags and offset 112196)
//                            (where the records reach past offset 112196, the fixed entries they
//                            cover hold their bytes: a [Fixed f] given there must agree with them)
//   [Trailer]                Bytes = hex bytes (after the fixed entries)
//
// Texts are in double quotes with \" \\ and \xHH escapes; padding blanks are left out. Numbers are
// decimal (or 0x hex); a float may be given as 0x and its 8 hex digits of bits. Anything not given
// is zero (texts blank).
#include <map>
#include <string>

#include "files/SetupFileImage.h"

// The description of an image: fields equal to their default and records left blank are omitted.
std::string WriteSetupDescription(const SetupFileImage& image);

struct SetupDescriptionResult {
    SetupFileImage Image;
    std::string Error;  // "line 12: ..." when the text is not a valid description
    // Where each section and key was given: "Tag 3" and "Tag 3.ScanType" -> line number.
    std::map<std::string, int> Lines;
};
SetupDescriptionResult ReadSetupDescription(const std::string& text);
