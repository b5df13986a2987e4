// hostrec32.dll: recorders, pages, lines and relays.
#include "LibShared.h"
#include "host/HostCalls.h"

namespace {

// Line numbering chosen by SetRecorderVersion in this process (0 until called).
int32_t recorderVersion = 0;

int32_t YesOrNo(bool on) { return on ? 1 : 0; }

// Zero-based line of a V4 (recorder, page, line) triple; -1 when any part is out of range.
int V4Line(int32_t recorder, int32_t page, int32_t line) {
    if (recorder < 1 || recorder > HostMaxRecorders || page < 1 || page > 10 || line < 1 || line > 10) return -1;
    return (recorder - 1) * 100 + (page - 1) * 10 + (line - 1);
}

int V5Line(int32_t page, int32_t line) {
    if (page < 1 || page > HostMaxPages || line < 1 || line > 10) return -1;
    return (page - 1) * 10 + (line - 1);
}

bool LineFlag(int line, HostFlag flag) { return line >= 0 && LibState().Flag(HostTable::Lines, line, flag); }

int LineCount() {
    int32_t version = recorderVersion != 0 ? recorderVersion : LibState().Generation();
    return version == 4 ? HostMaxV4Lines : HostMaxLines;
}

int32_t FillLines(HostListBox* box) {
    if (box == nullptr || box->Clear == nullptr || box->AddItem == nullptr) return 0;
    HostState& s = LibState();
    box->Clear(box->Control);
    int32_t added = 0;
    for (int i = 0; i < LineCount(); ++i) {
        std::string label = s.Name(HostTable::Lines, i);
        if (!s.Flag(HostTable::Lines, i, HostFlag::Active) && label.empty()) continue;
        box->AddItem(box->Control, label.c_str(), i + 1);
        ++added;
    }
    return added;
}

}  // namespace

HOST_CALL void SetRecorderVersion(int32_t version) {
    recorderVersion = version;
    LibState().SetRecorderVersion(version);
}

HOST_CALL void ReloadRecorderSetup() { LibState().CountReloadRecorderSetup(); }
HOST_CALL int32_t GetRecorderCount() { return LibState().RecorderCount(); }

HOST_CALL float GetLineReading(int32_t recorder, int32_t page, int32_t line) {
    int index = V4Line(recorder, page, line);
    return index < 0 ? 0.0f : LibState().Reading(HostTable::Lines, index);
}

HOST_CALL float GetLineReadingEx(int32_t page, int32_t line) {
    int index = V5Line(page, line);
    return index < 0 ? 0.0f : LibState().Reading(HostTable::Lines, index);
}

HOST_CALL int32_t IsLineActive(int32_t line) { return YesOrNo(LibState().Flag(HostTable::Lines, line, HostFlag::Active)); }
HOST_CALL int32_t IsLineInError(int32_t recorder, int32_t page, int32_t line) { return YesOrNo(LineFlag(V4Line(recorder, page, line), HostFlag::InError)); }
HOST_CALL int32_t IsLineInAlarm(int32_t recorder, int32_t page, int32_t line) { return YesOrNo(LineFlag(V4Line(recorder, page, line), HostFlag::InAlarm)); }
HOST_CALL int32_t IsLineInErrorEx(int32_t page, int32_t line) { return YesOrNo(LineFlag(V5Line(page, line), HostFlag::InError)); }
HOST_CALL int32_t IsLineInAlarmEx(int32_t page, int32_t line) { return YesOrNo(LineFlag(V5Line(page, line), HostFlag::InAlarm)); }

HOST_CALL int32_t GetLineLabel(int32_t line, char* buffer40) {
    return CopyToFixedBuffer(LibState().Name(HostTable::Lines, line), buffer40, HostLabelSize);
}

HOST_CALL int32_t GetLineText(int32_t line, int32_t code, char* buffer80) {
    return CopyToFixedBuffer(LibState().Param(HostTable::Lines, line, code), buffer80, HostTagTextSize);
}

HOST_CALL int32_t GetLineAddressSZ(int32_t line, char* buffer40) {
    return CopyToFixedBuffer(LibState().Address(HostTable::Lines, line), buffer40, HostLabelSize);
}

HOST_CALL int32_t SetLineParamSetup(int32_t line, int32_t code, float value) {
    std::string text = code == 40 ? YesNoText(value) : SetupValueText(value);
    return YesOrNo(LibState().SetParam(HostTable::Lines, line, code, text));
}

HOST_CALL double GetLineDayTotal(int32_t recorder, int32_t page, int32_t line) {
    int index = V4Line(recorder, page, line);
    return index < 0 ? 0.0 : LibState().Total(HostTable::Lines, index, HostTotal::DayTotal);
}

HOST_CALL double GetLineGrandTotal(int32_t recorder, int32_t page, int32_t line) {
    int index = V4Line(recorder, page, line);
    return index < 0 ? 0.0 : LibState().Total(HostTable::Lines, index, HostTotal::GrandTotal);
}

HOST_CALL int32_t LoadLineList(HostListBox* box, int32_t reserved) {
    (void)reserved;
    return FillLines(box);
}

HOST_CALL int32_t LoadLineCombo(HostListBox* box, int32_t reserved) { return LoadLineList(box, reserved); }
HOST_CALL int32_t GetLineListIndex(HostListBox* box) { return ListSelectedNumber(box); }
HOST_CALL int32_t SetLineListIndex(HostListBox* box, int32_t line) { return ListSelectNumber(box, line); }
HOST_CALL int32_t GetLineComboIndex(HostListBox* box) { return ListSelectedNumber(box); }
HOST_CALL int32_t SetLineComboIndex(HostListBox* box, int32_t line) { return ListSelectNumber(box, line); }

HOST_CALL int32_t GetPageLabel(int32_t page, char* buffer40) {
    return CopyToFixedBuffer(LibState().PageLabel(page), buffer40, HostLabelSize);
}

HOST_CALL int32_t IsPageActive(int32_t page) { return YesOrNo(LibState().PageActive(page)); }
HOST_CALL float GetPageParamSetup(int32_t page, int32_t code) { return LibState().PageParam(page, code); }

HOST_CALL int32_t GetRelayLabel(int32_t relay, char* buffer40) {
    return CopyToFixedBuffer(LibState().RelayLabel(HostRelayTable::Recorder, relay), buffer40, HostLabelSize);
}

HOST_CALL int32_t GetRelayAddressSZ(int32_t relay, char* buffer40) {
    return CopyToFixedBuffer(LibState().RelayAddress(HostRelayTable::Recorder, relay), buffer40, HostLabelSize);
}

HOST_CALL int32_t IsRelayActive(int32_t relay) { return YesOrNo(LibState().RelayActive(HostRelayTable::Recorder, relay)); }

HOST_CALL int32_t GetTagRelayLabel(int32_t relay, char* buffer40) {
    return CopyToFixedBuffer(LibState().RelayLabel(HostRelayTable::Tag, relay), buffer40, HostLabelSize);
}

HOST_CALL int32_t GetTagRelayAddressSZ(int32_t relay, char* buffer40) {
    return CopyToFixedBuffer(LibState().RelayAddress(HostRelayTable::Tag, relay), buffer40, HostLabelSize);
}

HOST_CALL int32_t IsTagRelayActive(int32_t relay) { return YesOrNo(LibState().RelayActive(HostRelayTable::Tag, relay)); }
