#pragma once
// The binding to the host libraries: each is loaded by its full path from the host folder and its
// calls looked up by name. A call into a library that is not loaded gives error 53 (File not
// found: <library>), a call the library does not export error 453; nothing is ever thrown.
#include <array>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <string>
#include <string_view>

#include "host/HostCalls.h"
#include "platform/VbError.h"

enum class HostLibrary { Points = 0, Recorder = 1, Archive = 2, Command = 3 };

// "hostpts32.dll", "hostrec32.dll", "hostarc.dll", "hostcmd32.dll".
const char* HostLibraryFileName(HostLibrary library);

class HostLibraries {
public:
    HostLibraries() = default;
    ~HostLibraries();  // releases whatever is still loaded
    HostLibraries(const HostLibraries&) = delete;
    HostLibraries& operator=(const HostLibraries&) = delete;

    // Loads the library from a full path text. False (and not loaded) when the file is missing or
    // is not a loadable library. A library already loaded is released first.
    bool Load(HostLibrary library, std::string_view fullPathText);
    void Release(HostLibrary library);
    bool Loaded(HostLibrary library) const;

    // hostpts32.dll
    VbResult<std::string> GetJobDir();
    VbResult<std::string> GetJobDataDir();
    VbResult<std::string> GetJobSetupDir();
    VbResult<std::string> GetJobPath();
    VbResult<std::string> GetJobTempDir();
    VbResult<std::string> GetMasterINIFile();
    VbResult<std::string> GetJobINIFile();
    VbResult<std::string> GetJobName();
    VbError ReadInputModule();
    VbResult<int32_t> IsVersion5JobRunning();
    VbResult<int32_t> GetUserMode();
    VbResult<float> GetTagReading(int32_t tag);
    VbResult<int32_t> SetTagReading(int32_t tag, float value);
    VbResult<int32_t> ReadTagOutputValue(int32_t output, int32_t insertStack, int32_t reserved);
    VbResult<float> GetTagOutputReadValue(int32_t output);
    VbResult<int32_t> SetTagOutputValue(int32_t output, float value, int32_t insertStack, int32_t reserved);
    VbResult<int32_t> SetTagOutputValueEx(int32_t tag, float value, int32_t reserved1, int32_t reserved2);
    VbResult<int32_t> IsTagActive(int32_t kind, int32_t tag);
    VbResult<int32_t> IsTagInError(int32_t tag);
    VbResult<int32_t> IsTagInAlarm(int32_t tag);
    VbResult<int32_t> IsTagActiveEx(int32_t tag);
    VbResult<int32_t> IsTagInErrorEx(int32_t tag);
    VbResult<int32_t> IsTagInAlarmEx(int32_t tag);
    VbResult<std::string> GetTagName(int32_t kind, int32_t tag);  // 80-character buffer
    VbResult<std::string> GetTagNameEx(int32_t tag);
    VbResult<std::string> GetTagText(int32_t tag, int32_t code);  // 80-character buffer
    VbResult<std::string> GetTagTextEx(int32_t tag, int32_t code);
    VbResult<int32_t> SetTagParamEx(int32_t tag, int32_t code, float value);
    VbResult<double> GetTagDayTotal(int32_t tag);
    VbResult<double> GetTagGrandTotal(int32_t tag);
    VbResult<int32_t> SetTagDayTotal(int32_t tag, double value);
    VbResult<int32_t> SetTagGrandTotal(int32_t tag, double value);
    VbResult<int32_t> LoadTagList(HostListBox* box, int32_t kind, int32_t reserved);
    VbResult<int32_t> LoadTagCombo(HostListBox* box, int32_t kind, int32_t reserved);
    VbResult<int32_t> LoadTagListEx(HostListBox* box, int32_t reserved);
    VbResult<int32_t> LoadTagComboEx(HostListBox* box, int32_t reserved);
    VbResult<int32_t> GetTagListIndex(HostListBox* box, int32_t kind);
    VbResult<int32_t> SetTagListIndex(HostListBox* box, int32_t kind, int32_t number);
    VbResult<int32_t> GetTagComboIndex(HostListBox* box, int32_t kind);
    VbResult<int32_t> SetTagComboIndex(HostListBox* box, int32_t kind, int32_t number);
    VbResult<int32_t> GetTagListIndexEx(HostListBox* box);
    VbResult<int32_t> SetTagListIndexEx(HostListBox* box, int32_t number);
    VbResult<int32_t> GetTagComboIndexEx(HostListBox* box);
    VbResult<int32_t> SetTagComboIndexEx(HostListBox* box, int32_t number);
    // text goes to the dialog in an 80-character buffer.
    VbResult<int32_t> DisplayTagNumberDlg(int32_t owner, int32_t kind, int32_t number, const std::string& text);
    VbResult<int32_t> DisplayTagNumberDlgEx(int32_t owner, int32_t number, const std::string& text);

    // hostrec32.dll
    VbError SetRecorderVersion(int32_t version);
    VbError ReloadRecorderSetup();
    VbResult<int32_t> GetRecorderCount();
    VbResult<float> GetLineReading(int32_t recorder, int32_t page, int32_t line);
    VbResult<float> GetLineReadingEx(int32_t page, int32_t line);
    VbResult<int32_t> IsLineActive(int32_t line);
    VbResult<int32_t> IsLineInError(int32_t recorder, int32_t page, int32_t line);
    VbResult<int32_t> IsLineInAlarm(int32_t recorder, int32_t page, int32_t line);
    VbResult<int32_t> IsLineInErrorEx(int32_t page, int32_t line);
    VbResult<int32_t> IsLineInAlarmEx(int32_t page, int32_t line);
    VbResult<std::string> GetLineLabel(int32_t line);                 // 40-character buffer
    VbResult<std::string> GetLineText(int32_t line, int32_t code);    // 80-character buffer
    VbResult<std::string> GetLineAddressSZ(int32_t line);             // 40-character buffer
    VbResult<int32_t> SetLineParamSetup(int32_t line, int32_t code, float value);
    VbResult<double> GetLineDayTotal(int32_t recorder, int32_t page, int32_t line);
    VbResult<double> GetLineGrandTotal(int32_t recorder, int32_t page, int32_t line);
    VbResult<int32_t> LoadLineList(HostListBox* box, int32_t reserved);
    VbResult<int32_t> LoadLineCombo(HostListBox* box, int32_t reserved);
    VbResult<int32_t> GetLineListIndex(HostListBox* box);
    VbResult<int32_t> SetLineListIndex(HostListBox* box, int32_t line);
    VbResult<int32_t> GetLineComboIndex(HostListBox* box);
    VbResult<int32_t> SetLineComboIndex(HostListBox* box, int32_t line);
    VbResult<std::string> GetPageLabel(int32_t page);        // 40-character buffer
    VbResult<int32_t> IsPageActive(int32_t page);
    VbResult<float> GetPageParamSetup(int32_t page, int32_t code);
    VbResult<std::string> GetRelayLabel(int32_t relay);      // 40-character buffer
    VbResult<std::string> GetRelayAddressSZ(int32_t relay);
    VbResult<int32_t> IsRelayActive(int32_t relay);
    VbResult<std::string> GetTagRelayLabel(int32_t relay);
    VbResult<std::string> GetTagRelayAddressSZ(int32_t relay);
    VbResult<int32_t> IsTagRelayActive(int32_t relay);

    // hostcmd32.dll
    VbResult<int32_t> SetLineParamData(int32_t line, int32_t code, float value);
    VbResult<float> GetLineDataParam(int32_t line, int32_t code);
    VbResult<int32_t> SaveLogMessage(const std::string& moduleName, const std::string& title);

private:
    // The address of a call, or the error a call of it raises.
    VbError Resolve(HostLibrary library, const char* name, void*& address);
    template <class Fn, class... A>
    auto Invoke(HostLibrary library, const char* name, A... args);
    template <class Fn>
    VbResult<std::string> JobText(const char* name);

    struct Module {
        void* Handle = nullptr;
        std::map<std::string, void*, std::less<>> Calls;  // by name, filled by dlsym on first use
        // The same addresses by the name text's own address: every call site passes a literal,
        // so a scan's thousands of calls cost a pointer hash each.
        std::unordered_map<const char*, void*> BySite;
    };
    std::array<Module, 4> modules_{};
};

inline bool HostLibraries::Loaded(HostLibrary library) const {
    return modules_[static_cast<int>(library)].Handle != nullptr;
}
