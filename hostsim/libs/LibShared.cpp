#include "LibShared.h"

#include <cstdio>
#include <cstring>

#include "host/HostListBox.h"

HostState& LibState() {
    static HostState state;
    if (!state.IsOpen()) state.Open(HostModuleFolder(reinterpret_cast<const void*>(&LibState)));
    return state;
}

int32_t CopyToBuffer(const std::string& text, char* buffer, int32_t length) {
    if (buffer == nullptr || length <= 0) return 0;
    std::size_t n = text.size() < static_cast<std::size_t>(length - 1) ? text.size() : static_cast<std::size_t>(length - 1);
    std::memcpy(buffer, text.data(), n);
    buffer[n] = '\0';
    return static_cast<int32_t>(n);
}

int32_t CopyToFixedBuffer(const std::string& text, char* buffer, int32_t size) {
    if (buffer == nullptr || size <= 0) return 0;
    std::size_t n = text.size() < static_cast<std::size_t>(size) ? text.size() : static_cast<std::size_t>(size);
    std::memcpy(buffer, text.data(), n);
    if (n < static_cast<std::size_t>(size)) buffer[n] = '\0';
    return static_cast<int32_t>(n);
}

std::string SetupValueText(float value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.7g", static_cast<double>(value));
    return text;
}

std::string YesNoText(float value) { return value != 0.0f ? "Yes" : "No"; }

int32_t ListSelectedNumber(HostListBox* box) {
    if (box == nullptr || box->ListIndex == nullptr || box->ItemData == nullptr) return 0;
    int32_t index = box->ListIndex(box->Control);
    if (index < 0) return 0;
    return box->ItemData(box->Control, index);
}

int32_t ListSelectNumber(HostListBox* box, int32_t number) {
    if (box == nullptr || box->ListCount == nullptr || box->ItemData == nullptr || box->SetListIndex == nullptr) return 0;
    int32_t count = box->ListCount(box->Control);
    for (int32_t i = 0; i < count; ++i) {
        if (box->ItemData(box->Control, i) == number) {
            box->SetListIndex(box->Control, i);
            return 1;
        }
    }
    box->SetListIndex(box->Control, -1);
    return 0;
}
