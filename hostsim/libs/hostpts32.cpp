// hostpts32.dll: tag readings, outputs, names, set-up texts, states and totals; tag lists and the
// tag-number dialog; the job folders and run state.
#include "LibShared.h"
#include "host/HostCalls.h"

namespace {

int32_t JobText(HostJobText which, char* buffer, int32_t length) {
    return CopyToBuffer(LibState().JobText(which), buffer, length);
}

HostTable KindTable(int32_t kind) { return kind == 1 ? HostTable::OutputTags : HostTable::Tags; }

int32_t YesOrNo(bool on) { return on ? 1 : 0; }

// Which tags a list shows: every configured one (active or named).
bool Configured(HostTable table, int index) {
    HostState& s = LibState();
    return s.Flag(table, index, HostFlag::Active) || !s.Name(table, index).empty();
}

int32_t FillTags(HostListBox* box, HostTable table, int count) {
    if (box == nullptr || box->Clear == nullptr || box->AddItem == nullptr) return 0;
    box->Clear(box->Control);
    int32_t added = 0;
    for (int i = 0; i < count; ++i) {
        if (!Configured(table, i)) continue;
        box->AddItem(box->Control, LibState().Name(table, i).c_str(), i + 1);
        ++added;
    }
    return added;
}

int32_t TagTextInto(HostTable table, int32_t tag, int32_t code, char* buffer) {
    return CopyToFixedBuffer(LibState().Param(table, tag, code), buffer, HostTagTextSize);
}

int32_t Dialog(int32_t number, char* text) {
    (void)text;  // the dialog's caption
    int32_t answer = LibState().DialogAnswer();
    return answer > 0 ? answer : number;
}

}  // namespace

HOST_CALL int32_t GetJobDir(char* buffer, int32_t length) { return JobText(HostJobText::JobDir, buffer, length); }
HOST_CALL int32_t GetJobDataDir(char* buffer, int32_t length) { return JobText(HostJobText::JobDataDir, buffer, length); }
HOST_CALL int32_t GetJobSetupDir(char* buffer, int32_t length) { return JobText(HostJobText::JobSetupDir, buffer, length); }
HOST_CALL int32_t GetJobPath(char* buffer, int32_t length) { return JobText(HostJobText::JobPath, buffer, length); }
HOST_CALL int32_t GetJobTempDir(char* buffer, int32_t length) { return JobText(HostJobText::JobTempDir, buffer, length); }
HOST_CALL int32_t GetMasterINIFile(char* buffer, int32_t length) { return JobText(HostJobText::MasterIniFile, buffer, length); }
HOST_CALL int32_t GetJobINIFile(char* buffer, int32_t length) { return JobText(HostJobText::JobIniFile, buffer, length); }
HOST_CALL int32_t GetJobName(char* buffer, int32_t length) { return JobText(HostJobText::JobName, buffer, length); }

HOST_CALL void ReadInputModule() { LibState().CountReadInputModule(); }
HOST_CALL int32_t IsVersion5JobRunning() { return LibState().JobRunning(); }
HOST_CALL int32_t GetUserMode() { return LibState().UserMode(); }

HOST_CALL float GetTagReading(int32_t tag) { return LibState().Reading(HostTable::Tags, tag); }

HOST_CALL int32_t SetTagReading(int32_t tag, float value) {
    if (LibState().Point(HostTable::Tags, tag) == nullptr) return 0;
    LibState().SetReading(HostTable::Tags, tag, value);
    return 1;
}

HOST_CALL int32_t ReadTagOutputValue(int32_t output, int32_t insertStack, int32_t reserved) {
    (void)reserved;
    HostState& s = LibState();
    if (s.Point(HostTable::OutputTags, output) == nullptr) return 0;
    s.SetLastInsertStack(HostTable::OutputTags, output, insertStack);
    s.SetReadValue(HostTable::OutputTags, output, s.Reading(HostTable::OutputTags, output));
    return 1;
}

HOST_CALL float GetTagOutputReadValue(int32_t output) { return LibState().ReadValue(HostTable::OutputTags, output); }

HOST_CALL int32_t SetTagOutputValue(int32_t output, float value, int32_t insertStack, int32_t reserved) {
    (void)reserved;
    HostState& s = LibState();
    if (s.Point(HostTable::OutputTags, output) == nullptr) return 0;
    s.SetLastInsertStack(HostTable::OutputTags, output, insertStack);
    s.SetReading(HostTable::OutputTags, output, value);
    return 1;
}

HOST_CALL int32_t SetTagOutputValueEx(int32_t tag, float value, int32_t reserved1, int32_t reserved2) {
    (void)reserved1;
    (void)reserved2;
    if (LibState().Point(HostTable::Tags, tag) == nullptr) return 0;
    LibState().SetReading(HostTable::Tags, tag, value);
    return 1;
}

HOST_CALL int32_t IsTagActive(int32_t kind, int32_t tag) { return YesOrNo(LibState().Flag(KindTable(kind), tag, HostFlag::Active)); }
HOST_CALL int32_t IsTagInError(int32_t tag) { return YesOrNo(LibState().Flag(HostTable::Tags, tag, HostFlag::InError)); }
HOST_CALL int32_t IsTagInAlarm(int32_t tag) { return YesOrNo(LibState().Flag(HostTable::Tags, tag, HostFlag::InAlarm)); }
HOST_CALL int32_t IsTagActiveEx(int32_t tag) { return YesOrNo(LibState().Flag(HostTable::Tags, tag, HostFlag::Active)); }
HOST_CALL int32_t IsTagInErrorEx(int32_t tag) { return YesOrNo(LibState().Flag(HostTable::Tags, tag, HostFlag::InError)); }
HOST_CALL int32_t IsTagInAlarmEx(int32_t tag) { return YesOrNo(LibState().Flag(HostTable::Tags, tag, HostFlag::InAlarm)); }

HOST_CALL int32_t GetTagName(int32_t kind, int32_t tag, char* buffer80) {
    return CopyToFixedBuffer(LibState().Name(KindTable(kind), tag), buffer80, HostTagTextSize);
}

HOST_CALL int32_t GetTagNameEx(int32_t tag, char* buffer80) {
    return CopyToFixedBuffer(LibState().Name(HostTable::Tags, tag), buffer80, HostTagTextSize);
}

// The call has no kind argument, so an output's index cannot be told from the input tag's of the
// same index: the output-only codes (100 and above) answer from the outputs, the others (among them
// calibration, which is also read for outputs) from the inputs.
HOST_CALL int32_t GetTagText(int32_t tag, int32_t code, char* buffer80) {
    return TagTextInto(code >= 100 ? HostTable::OutputTags : HostTable::Tags, tag, code, buffer80);
}

HOST_CALL int32_t GetTagTextEx(int32_t tag, int32_t code, char* buffer80) {
    return TagTextInto(HostTable::Tags, tag, code, buffer80);
}

HOST_CALL int32_t SetTagParamEx(int32_t tag, int32_t code, float value) {
    std::string text = code == 33 ? YesNoText(value) : SetupValueText(value);
    return YesOrNo(LibState().SetParam(HostTable::Tags, tag, code, text));
}

HOST_CALL double GetTagDayTotal(int32_t tag) { return LibState().Total(HostTable::Tags, tag, HostTotal::DayTotal); }
HOST_CALL double GetTagGrandTotal(int32_t tag) { return LibState().Total(HostTable::Tags, tag, HostTotal::GrandTotal); }

HOST_CALL int32_t SetTagDayTotal(int32_t tag, double value) {
    if (LibState().Point(HostTable::Tags, tag) == nullptr) return 0;
    LibState().SetTotal(HostTable::Tags, tag, HostTotal::DayTotal, value);
    return 1;
}

HOST_CALL int32_t SetTagGrandTotal(int32_t tag, double value) {
    if (LibState().Point(HostTable::Tags, tag) == nullptr) return 0;
    LibState().SetTotal(HostTable::Tags, tag, HostTotal::GrandTotal, value);
    return 1;
}

HOST_CALL int32_t LoadTagList(HostListBox* box, int32_t kind, int32_t reserved) {
    (void)reserved;
    return FillTags(box, KindTable(kind), kind == 1 ? HostMaxOutputTags : HostMaxV4InputTags);
}

HOST_CALL int32_t LoadTagCombo(HostListBox* box, int32_t kind, int32_t reserved) { return LoadTagList(box, kind, reserved); }

HOST_CALL int32_t LoadTagListEx(HostListBox* box, int32_t reserved) {
    (void)reserved;
    return FillTags(box, HostTable::Tags, HostMaxTags);
}

HOST_CALL int32_t LoadTagComboEx(HostListBox* box, int32_t reserved) { return LoadTagListEx(box, reserved); }

HOST_CALL int32_t GetTagListIndex(HostListBox* box, int32_t kind) {
    (void)kind;
    return ListSelectedNumber(box);
}

HOST_CALL int32_t SetTagListIndex(HostListBox* box, int32_t kind, int32_t number) {
    (void)kind;
    return ListSelectNumber(box, number);
}

HOST_CALL int32_t GetTagComboIndex(HostListBox* box, int32_t kind) { return GetTagListIndex(box, kind); }
HOST_CALL int32_t SetTagComboIndex(HostListBox* box, int32_t kind, int32_t number) { return SetTagListIndex(box, kind, number); }
HOST_CALL int32_t GetTagListIndexEx(HostListBox* box) { return ListSelectedNumber(box); }
HOST_CALL int32_t SetTagListIndexEx(HostListBox* box, int32_t number) { return ListSelectNumber(box, number); }
HOST_CALL int32_t GetTagComboIndexEx(HostListBox* box) { return ListSelectedNumber(box); }
HOST_CALL int32_t SetTagComboIndexEx(HostListBox* box, int32_t number) { return ListSelectNumber(box, number); }

HOST_CALL int32_t DisplayTagNumberDlg(int32_t owner, int32_t kind, int32_t number, char* text) {
    (void)owner;
    (void)kind;
    return Dialog(number, text);
}

HOST_CALL int32_t DisplayTagNumberDlgEx(int32_t owner, int32_t number, char* text) {
    (void)owner;
    return Dialog(number, text);
}
