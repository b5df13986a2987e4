#pragma once
// The calls of the host libraries, with C linkage. The stand-in libraries define them; the binding
// (HostLibraries) takes its function pointer types from these declarations and never calls them
// directly. Point numbers are zero-based; readings are 32-bit floats, totals 64-bit floats.
// Text buffers: the job calls get a buffer and its length; point texts fill 80 characters and
// labels, addresses and relay texts 40, with no length argument. A text that fills the
// buffer is not NUL-terminated.
#include <cstdint>

#include "host/HostListBox.h"

#define HOST_CALL extern "C" __attribute__((visibility("default")))

inline constexpr int HostJobBufferSize = 250;
inline constexpr int HostTagTextSize = 80;
inline constexpr int HostLabelSize = 40;

// --- hostpts32.dll: points, job folders, run state ------------------------
HOST_CALL int32_t GetJobDir(char* buffer, int32_t length);
HOST_CALL int32_t GetJobDataDir(char* buffer, int32_t length);
HOST_CALL int32_t GetJobSetupDir(char* buffer, int32_t length);
HOST_CALL int32_t GetJobPath(char* buffer, int32_t length);
HOST_CALL int32_t GetJobTempDir(char* buffer, int32_t length);
HOST_CALL int32_t GetMasterINIFile(char* buffer, int32_t length);
HOST_CALL int32_t GetJobINIFile(char* buffer, int32_t length);
HOST_CALL int32_t GetJobName(char* buffer, int32_t length);
HOST_CALL void ReadInputModule();
HOST_CALL int32_t IsVersion5JobRunning();
HOST_CALL int32_t GetUserMode();

HOST_CALL float GetTagReading(int32_t tag);
HOST_CALL int32_t SetTagReading(int32_t tag, float value);
HOST_CALL int32_t ReadTagOutputValue(int32_t output, int32_t insertStack, int32_t reserved);
HOST_CALL float GetTagOutputReadValue(int32_t output);
HOST_CALL int32_t SetTagOutputValue(int32_t output, float value, int32_t insertStack, int32_t reserved);
HOST_CALL int32_t SetTagOutputValueEx(int32_t tag, float value, int32_t reserved1, int32_t reserved2);

// kind: 0 = input tag, 1 = V4 output tag
HOST_CALL int32_t IsTagActive(int32_t kind, int32_t tag);
HOST_CALL int32_t IsTagInError(int32_t tag);
HOST_CALL int32_t IsTagInAlarm(int32_t tag);
HOST_CALL int32_t IsTagActiveEx(int32_t tag);
HOST_CALL int32_t IsTagInErrorEx(int32_t tag);
HOST_CALL int32_t IsTagInAlarmEx(int32_t tag);
HOST_CALL int32_t GetTagName(int32_t kind, int32_t tag, char* buffer80);
HOST_CALL int32_t GetTagNameEx(int32_t tag, char* buffer80);
// V4: codes of 100 and above are output-tag texts, the others input-tag texts.
HOST_CALL int32_t GetTagText(int32_t tag, int32_t code, char* buffer80);
HOST_CALL int32_t GetTagTextEx(int32_t tag, int32_t code, char* buffer80);
HOST_CALL int32_t SetTagParamEx(int32_t tag, int32_t code, float value);
HOST_CALL double GetTagDayTotal(int32_t tag);
HOST_CALL double GetTagGrandTotal(int32_t tag);
HOST_CALL int32_t SetTagDayTotal(int32_t tag, double value);
HOST_CALL int32_t SetTagGrandTotal(int32_t tag, double value);

// Tag lists: entries are the tag names with the tag number (V4 outputs: the output number from 1)
// as item number. The index calls work in those numbers; 0 when nothing is selected.
HOST_CALL int32_t LoadTagList(HostListBox* box, int32_t kind, int32_t reserved);
HOST_CALL int32_t LoadTagCombo(HostListBox* box, int32_t kind, int32_t reserved);
HOST_CALL int32_t LoadTagListEx(HostListBox* box, int32_t reserved);
HOST_CALL int32_t LoadTagComboEx(HostListBox* box, int32_t reserved);
HOST_CALL int32_t GetTagListIndex(HostListBox* box, int32_t kind);
HOST_CALL int32_t SetTagListIndex(HostListBox* box, int32_t kind, int32_t number);
HOST_CALL int32_t GetTagComboIndex(HostListBox* box, int32_t kind);
HOST_CALL int32_t SetTagComboIndex(HostListBox* box, int32_t kind, int32_t number);
HOST_CALL int32_t GetTagListIndexEx(HostListBox* box);
HOST_CALL int32_t SetTagListIndexEx(HostListBox* box, int32_t number);
HOST_CALL int32_t GetTagComboIndexEx(HostListBox* box);
HOST_CALL int32_t SetTagComboIndexEx(HostListBox* box, int32_t number);
// The tag-number dialog: the chosen number, or a negative number when cancelled.
HOST_CALL int32_t DisplayTagNumberDlg(int32_t owner, int32_t kind, int32_t number, char* text);
HOST_CALL int32_t DisplayTagNumberDlgEx(int32_t owner, int32_t number, char* text);

// --- hostrec32.dll: recorders, pages, lines, relays -----------------------
HOST_CALL void SetRecorderVersion(int32_t version);
HOST_CALL void ReloadRecorderSetup();
HOST_CALL int32_t GetRecorderCount();
HOST_CALL float GetLineReading(int32_t recorder, int32_t page, int32_t line);
HOST_CALL float GetLineReadingEx(int32_t page, int32_t line);
HOST_CALL int32_t IsLineActive(int32_t line);
HOST_CALL int32_t IsLineInError(int32_t recorder, int32_t page, int32_t line);
HOST_CALL int32_t IsLineInAlarm(int32_t recorder, int32_t page, int32_t line);
HOST_CALL int32_t IsLineInErrorEx(int32_t page, int32_t line);
HOST_CALL int32_t IsLineInAlarmEx(int32_t page, int32_t line);
HOST_CALL int32_t GetLineLabel(int32_t line, char* buffer40);
HOST_CALL int32_t GetLineText(int32_t line, int32_t code, char* buffer80);
HOST_CALL int32_t GetLineAddressSZ(int32_t line, char* buffer40);
HOST_CALL int32_t SetLineParamSetup(int32_t line, int32_t code, float value);
HOST_CALL double GetLineDayTotal(int32_t recorder, int32_t page, int32_t line);
HOST_CALL double GetLineGrandTotal(int32_t recorder, int32_t page, int32_t line);
// Line lists: entries are the line labels with the line number as item number.
HOST_CALL int32_t LoadLineList(HostListBox* box, int32_t reserved);
HOST_CALL int32_t LoadLineCombo(HostListBox* box, int32_t reserved);
HOST_CALL int32_t GetLineListIndex(HostListBox* box);
HOST_CALL int32_t SetLineListIndex(HostListBox* box, int32_t line);
HOST_CALL int32_t GetLineComboIndex(HostListBox* box);
HOST_CALL int32_t SetLineComboIndex(HostListBox* box, int32_t line);
HOST_CALL int32_t GetPageLabel(int32_t page, char* buffer40);
HOST_CALL int32_t IsPageActive(int32_t page);
HOST_CALL float GetPageParamSetup(int32_t page, int32_t code);
HOST_CALL int32_t GetRelayLabel(int32_t relay, char* buffer40);
HOST_CALL int32_t GetRelayAddressSZ(int32_t relay, char* buffer40);
HOST_CALL int32_t IsRelayActive(int32_t relay);
HOST_CALL int32_t GetTagRelayLabel(int32_t relay, char* buffer40);
HOST_CALL int32_t GetTagRelayAddressSZ(int32_t relay, char* buffer40);
HOST_CALL int32_t IsTagRelayActive(int32_t relay);

// --- hostcmd32.dll: line data parameters, host log ------------------------
// Data codes: 101 value, 103 day total, 104 grand total.
HOST_CALL int32_t SetLineParamData(int32_t line, int32_t code, float value);
HOST_CALL float GetLineDataParam(int32_t line, int32_t code);
HOST_CALL int32_t SaveLogMessage(const char* moduleName, const char* title);

// --- hostarc.dll: loaded and released only --------------------------------
HOST_CALL int32_t GetArchiveVersion();
