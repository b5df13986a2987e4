#pragma once
// What the four host libraries share: the point state of the folder they were loaded from, and
// the rules by which texts go into a caller's buffer.
#include <cstdint>
#include <string>

#include "HostState.h"

// The state of the host folder (the folder of the library holding this code), mapped on first
// use. A state that cannot be opened is retried at the next call; meanwhile it reads as empty.
HostState& LibState();

// A text into a buffer with its length: at most length - 1 characters and a NUL. Returns the count.
int32_t CopyToBuffer(const std::string& text, char* buffer, int32_t length);
// A text into a fixed buffer of size characters; NUL-terminated only when it is shorter.
int32_t CopyToFixedBuffer(const std::string& text, char* buffer, int32_t size);
// The text form of a set-up value as the host keeps it ("12.5", "3").
std::string SetupValueText(float value);
// Set-up codes holding a Yes/No switch rather than a number.
std::string YesNoText(float value);

struct HostListBox;
// The item number of the selected entry of a list, 0 when none is selected.
int32_t ListSelectedNumber(HostListBox* box);
// Selects the entry carrying number (none when there is no such entry); 1 when found.
int32_t ListSelectNumber(HostListBox* box, int32_t number);
