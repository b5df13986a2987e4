#include "host/HostLibraries.h"

#include <dlfcn.h>

#include <cstring>
#include <type_traits>
#include <vector>

#include "platform/Files.h"
#include "platform/Paths.h"

namespace {

constexpr int ErrDllEntryPoint = 453;  // Specified DLL function not found

std::string CutBuffer(const std::vector<char>& buffer, std::size_t size) {
    return std::string(buffer.data(), ::strnlen(buffer.data(), size));
}

}  // namespace

const char* HostLibraryFileName(HostLibrary library) {
    switch (library) {
    case HostLibrary::Points: return "hostpts32.dll";
    case HostLibrary::Recorder: return "hostrec32.dll";
    case HostLibrary::Archive: return "hostarc.dll";
    case HostLibrary::Command: return "hostcmd32.dll";
    }
    return "";
}

HostLibraries::~HostLibraries() {
    for (int i = 0; i < 4; ++i) Release(static_cast<HostLibrary>(i));
}

bool HostLibraries::Load(HostLibrary library, std::string_view fullPathText) {
    Release(library);
    if (!FileExists(fullPathText)) return false;
    std::string path = LocalPath(fullPathText).string();
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) return false;
    modules_[static_cast<int>(library)].Handle = handle;
    return true;
}

void HostLibraries::Release(HostLibrary library) {
    Module& m = modules_[static_cast<int>(library)];
    if (m.Handle != nullptr) ::dlclose(m.Handle);
    m.Handle = nullptr;
    m.Calls.clear();
    m.BySite.clear();
}

VbError HostLibraries::Resolve(HostLibrary library, const char* name, void*& address) {
    Module& m = modules_[static_cast<int>(library)];
    address = nullptr;
    if (m.Handle == nullptr)
        return VbError(ErrFileNotFound, std::string("File not found: ") + HostLibraryFileName(library));
    if (auto site = m.BySite.find(name); site != m.BySite.end()) {
        address = site->second;
    } else {
        auto found = m.Calls.find(name);
        if (found == m.Calls.end()) found = m.Calls.emplace(name, ::dlsym(m.Handle, name)).first;
        address = found->second;
        m.BySite.emplace(name, address);
    }
    if (address == nullptr)
        return VbError(ErrDllEntryPoint, std::string("Can't find DLL entry point ") + name + " in " + HostLibraryFileName(library));
    return {};
}

template <class Fn, class... A>
auto HostLibraries::Invoke(HostLibrary library, const char* name, A... args) {
    using R = std::invoke_result_t<Fn, A...>;
    void* address = nullptr;
    VbError error = Resolve(library, name, address);
    if constexpr (std::is_void_v<R>) {
        if (!error) reinterpret_cast<Fn>(address)(args...);
        return error;
    } else {
        VbResult<R> result;
        result.Error = error;
        if (!error) result.Value = reinterpret_cast<Fn>(address)(args...);
        return result;
    }
}

template <class Fn>
VbResult<std::string> HostLibraries::JobText(const char* name) {
    std::vector<char> buffer(HostJobBufferSize + 1, '\0');
    VbResult<std::string> result;
    auto call = Invoke<Fn>(HostLibrary::Points, name, buffer.data(), static_cast<int32_t>(HostJobBufferSize));
    result.Error = call.Error;
    if (call.Ok()) result.Value = CutBuffer(buffer, HostJobBufferSize);
    return result;
}

// Calls that fill a fixed text buffer: the buffer is one longer than the call may fill and
// the text ends at its first NUL or at the buffer's size.
#define VT_TEXT_CALL(Library, Name, Size, ...)                                              \
    std::vector<char> buffer((Size) + 1, '\0');                                              \
    VbResult<std::string> result;                                                            \
    auto call = Invoke<decltype(&::Name)>(HostLibrary::Library, #Name, __VA_ARGS__);         \
    result.Error = call.Error;                                                               \
    if (call.Ok()) result.Value = CutBuffer(buffer, (Size));                                 \
    return result;

#define VT_CALL(Library, Name, ...) return Invoke<decltype(&::Name)>(HostLibrary::Library, #Name, __VA_ARGS__);
#define VT_CALL0(Library, Name) return Invoke<decltype(&::Name)>(HostLibrary::Library, #Name);

VbResult<std::string> HostLibraries::GetJobDir() { return JobText<decltype(&::GetJobDir)>("GetJobDir"); }
VbResult<std::string> HostLibraries::GetJobDataDir() { return JobText<decltype(&::GetJobDataDir)>("GetJobDataDir"); }
VbResult<std::string> HostLibraries::GetJobSetupDir() { return JobText<decltype(&::GetJobSetupDir)>("GetJobSetupDir"); }
VbResult<std::string> HostLibraries::GetJobPath() { return JobText<decltype(&::GetJobPath)>("GetJobPath"); }
VbResult<std::string> HostLibraries::GetJobTempDir() { return JobText<decltype(&::GetJobTempDir)>("GetJobTempDir"); }
VbResult<std::string> HostLibraries::GetMasterINIFile() { return JobText<decltype(&::GetMasterINIFile)>("GetMasterINIFile"); }
VbResult<std::string> HostLibraries::GetJobINIFile() { return JobText<decltype(&::GetJobINIFile)>("GetJobINIFile"); }
VbResult<std::string> HostLibraries::GetJobName() { return JobText<decltype(&::GetJobName)>("GetJobName"); }
VbError HostLibraries::ReadInputModule() { VT_CALL0(Points, ReadInputModule) }
VbResult<int32_t> HostLibraries::IsVersion5JobRunning() { VT_CALL0(Points, IsVersion5JobRunning) }
VbResult<int32_t> HostLibraries::GetUserMode() { VT_CALL0(Points, GetUserMode) }
VbResult<float> HostLibraries::GetTagReading(int32_t tag) { VT_CALL(Points, GetTagReading, tag) }
VbResult<int32_t> HostLibraries::SetTagReading(int32_t tag, float value) { VT_CALL(Points, SetTagReading, tag, value) }
VbResult<int32_t> HostLibraries::ReadTagOutputValue(int32_t output, int32_t insertStack, int32_t reserved) {
    VT_CALL(Points, ReadTagOutputValue, output, insertStack, reserved)
}
VbResult<float> HostLibraries::GetTagOutputReadValue(int32_t output) { VT_CALL(Points, GetTagOutputReadValue, output) }
VbResult<int32_t> HostLibraries::SetTagOutputValue(int32_t output, float value, int32_t insertStack, int32_t reserved) {
    VT_CALL(Points, SetTagOutputValue, output, value, insertStack, reserved)
}
VbResult<int32_t> HostLibraries::SetTagOutputValueEx(int32_t tag, float value, int32_t reserved1, int32_t reserved2) {
    VT_CALL(Points, SetTagOutputValueEx, tag, value, reserved1, reserved2)
}
VbResult<int32_t> HostLibraries::IsTagActive(int32_t kind, int32_t tag) { VT_CALL(Points, IsTagActive, kind, tag) }
VbResult<int32_t> HostLibraries::IsTagInError(int32_t tag) { VT_CALL(Points, IsTagInError, tag) }
VbResult<int32_t> HostLibraries::IsTagInAlarm(int32_t tag) { VT_CALL(Points, IsTagInAlarm, tag) }
VbResult<int32_t> HostLibraries::IsTagActiveEx(int32_t tag) { VT_CALL(Points, IsTagActiveEx, tag) }
VbResult<int32_t> HostLibraries::IsTagInErrorEx(int32_t tag) { VT_CALL(Points, IsTagInErrorEx, tag) }
VbResult<int32_t> HostLibraries::IsTagInAlarmEx(int32_t tag) { VT_CALL(Points, IsTagInAlarmEx, tag) }
VbResult<std::string> HostLibraries::GetTagName(int32_t kind, int32_t tag) {
    VT_TEXT_CALL(Points, GetTagName, HostTagTextSize, kind, tag, buffer.data())
}
VbResult<std::string> HostLibraries::GetTagNameEx(int32_t tag) { VT_TEXT_CALL(Points, GetTagNameEx, HostTagTextSize, tag, buffer.data()) }
VbResult<std::string> HostLibraries::GetTagText(int32_t tag, int32_t code) {
    VT_TEXT_CALL(Points, GetTagText, HostTagTextSize, tag, code, buffer.data())
}
VbResult<std::string> HostLibraries::GetTagTextEx(int32_t tag, int32_t code) {
    VT_TEXT_CALL(Points, GetTagTextEx, HostTagTextSize, tag, code, buffer.data())
}
VbResult<int32_t> HostLibraries::SetTagParamEx(int32_t tag, int32_t code, float value) { VT_CALL(Points, SetTagParamEx, tag, code, value) }
VbResult<double> HostLibraries::GetTagDayTotal(int32_t tag) { VT_CALL(Points, GetTagDayTotal, tag) }
VbResult<double> HostLibraries::GetTagGrandTotal(int32_t tag) { VT_CALL(Points, GetTagGrandTotal, tag) }
VbResult<int32_t> HostLibraries::SetTagDayTotal(int32_t tag, double value) { VT_CALL(Points, SetTagDayTotal, tag, value) }
VbResult<int32_t> HostLibraries::SetTagGrandTotal(int32_t tag, double value) { VT_CALL(Points, SetTagGrandTotal, tag, value) }
VbResult<int32_t> HostLibraries::LoadTagList(HostListBox* box, int32_t kind, int32_t reserved) { VT_CALL(Points, LoadTagList, box, kind, reserved) }
VbResult<int32_t> HostLibraries::LoadTagCombo(HostListBox* box, int32_t kind, int32_t reserved) { VT_CALL(Points, LoadTagCombo, box, kind, reserved) }
VbResult<int32_t> HostLibraries::LoadTagListEx(HostListBox* box, int32_t reserved) { VT_CALL(Points, LoadTagListEx, box, reserved) }
VbResult<int32_t> HostLibraries::LoadTagComboEx(HostListBox* box, int32_t reserved) { VT_CALL(Points, LoadTagComboEx, box, reserved) }
VbResult<int32_t> HostLibraries::GetTagListIndex(HostListBox* box, int32_t kind) { VT_CALL(Points, GetTagListIndex, box, kind) }
VbResult<int32_t> HostLibraries::SetTagListIndex(HostListBox* box, int32_t kind, int32_t number) { VT_CALL(Points, SetTagListIndex, box, kind, number) }
VbResult<int32_t> HostLibraries::GetTagComboIndex(HostListBox* box, int32_t kind) { VT_CALL(Points, GetTagComboIndex, box, kind) }
VbResult<int32_t> HostLibraries::SetTagComboIndex(HostListBox* box, int32_t kind, int32_t number) { VT_CALL(Points, SetTagComboIndex, box, kind, number) }
VbResult<int32_t> HostLibraries::GetTagListIndexEx(HostListBox* box) { VT_CALL(Points, GetTagListIndexEx, box) }
VbResult<int32_t> HostLibraries::SetTagListIndexEx(HostListBox* box, int32_t number) { VT_CALL(Points, SetTagListIndexEx, box, number) }
VbResult<int32_t> HostLibraries::GetTagComboIndexEx(HostListBox* box) { VT_CALL(Points, GetTagComboIndexEx, box) }
VbResult<int32_t> HostLibraries::SetTagComboIndexEx(HostListBox* box, int32_t number) { VT_CALL(Points, SetTagComboIndexEx, box, number) }

VbResult<int32_t> HostLibraries::DisplayTagNumberDlg(int32_t owner, int32_t kind, int32_t number, const std::string& text) {
    std::vector<char> buffer(HostTagTextSize + 1, '\0');
    std::memcpy(buffer.data(), text.data(), text.size() < HostTagTextSize ? text.size() : HostTagTextSize);
    VT_CALL(Points, DisplayTagNumberDlg, owner, kind, number, buffer.data())
}

VbResult<int32_t> HostLibraries::DisplayTagNumberDlgEx(int32_t owner, int32_t number, const std::string& text) {
    std::vector<char> buffer(HostTagTextSize + 1, '\0');
    std::memcpy(buffer.data(), text.data(), text.size() < HostTagTextSize ? text.size() : HostTagTextSize);
    VT_CALL(Points, DisplayTagNumberDlgEx, owner, number, buffer.data())
}

VbError HostLibraries::SetRecorderVersion(int32_t version) { VT_CALL(Recorder, SetRecorderVersion, version) }
VbError HostLibraries::ReloadRecorderSetup() { VT_CALL0(Recorder, ReloadRecorderSetup) }
VbResult<int32_t> HostLibraries::GetRecorderCount() { VT_CALL0(Recorder, GetRecorderCount) }
VbResult<float> HostLibraries::GetLineReading(int32_t recorder, int32_t page, int32_t line) { VT_CALL(Recorder, GetLineReading, recorder, page, line) }
VbResult<float> HostLibraries::GetLineReadingEx(int32_t page, int32_t line) { VT_CALL(Recorder, GetLineReadingEx, page, line) }
VbResult<int32_t> HostLibraries::IsLineActive(int32_t line) { VT_CALL(Recorder, IsLineActive, line) }
VbResult<int32_t> HostLibraries::IsLineInError(int32_t recorder, int32_t page, int32_t line) { VT_CALL(Recorder, IsLineInError, recorder, page, line) }
VbResult<int32_t> HostLibraries::IsLineInAlarm(int32_t recorder, int32_t page, int32_t line) { VT_CALL(Recorder, IsLineInAlarm, recorder, page, line) }
VbResult<int32_t> HostLibraries::IsLineInErrorEx(int32_t page, int32_t line) { VT_CALL(Recorder, IsLineInErrorEx, page, line) }
VbResult<int32_t> HostLibraries::IsLineInAlarmEx(int32_t page, int32_t line) { VT_CALL(Recorder, IsLineInAlarmEx, page, line) }
VbResult<std::string> HostLibraries::GetLineLabel(int32_t line) { VT_TEXT_CALL(Recorder, GetLineLabel, HostLabelSize, line, buffer.data()) }
VbResult<std::string> HostLibraries::GetLineText(int32_t line, int32_t code) {
    VT_TEXT_CALL(Recorder, GetLineText, HostTagTextSize, line, code, buffer.data())
}
VbResult<std::string> HostLibraries::GetLineAddressSZ(int32_t line) { VT_TEXT_CALL(Recorder, GetLineAddressSZ, HostLabelSize, line, buffer.data()) }
VbResult<int32_t> HostLibraries::SetLineParamSetup(int32_t line, int32_t code, float value) { VT_CALL(Recorder, SetLineParamSetup, line, code, value) }
VbResult<double> HostLibraries::GetLineDayTotal(int32_t recorder, int32_t page, int32_t line) { VT_CALL(Recorder, GetLineDayTotal, recorder, page, line) }
VbResult<double> HostLibraries::GetLineGrandTotal(int32_t recorder, int32_t page, int32_t line) { VT_CALL(Recorder, GetLineGrandTotal, recorder, page, line) }
VbResult<int32_t> HostLibraries::LoadLineList(HostListBox* box, int32_t reserved) { VT_CALL(Recorder, LoadLineList, box, reserved) }
VbResult<int32_t> HostLibraries::LoadLineCombo(HostListBox* box, int32_t reserved) { VT_CALL(Recorder, LoadLineCombo, box, reserved) }
VbResult<int32_t> HostLibraries::GetLineListIndex(HostListBox* box) { VT_CALL(Recorder, GetLineListIndex, box) }
VbResult<int32_t> HostLibraries::SetLineListIndex(HostListBox* box, int32_t line) { VT_CALL(Recorder, SetLineListIndex, box, line) }
VbResult<int32_t> HostLibraries::GetLineComboIndex(HostListBox* box) { VT_CALL(Recorder, GetLineComboIndex, box) }
VbResult<int32_t> HostLibraries::SetLineComboIndex(HostListBox* box, int32_t line) { VT_CALL(Recorder, SetLineComboIndex, box, line) }
VbResult<std::string> HostLibraries::GetPageLabel(int32_t page) { VT_TEXT_CALL(Recorder, GetPageLabel, HostLabelSize, page, buffer.data()) }
VbResult<int32_t> HostLibraries::IsPageActive(int32_t page) { VT_CALL(Recorder, IsPageActive, page) }
VbResult<float> HostLibraries::GetPageParamSetup(int32_t page, int32_t code) { VT_CALL(Recorder, GetPageParamSetup, page, code) }
VbResult<std::string> HostLibraries::GetRelayLabel(int32_t relay) { VT_TEXT_CALL(Recorder, GetRelayLabel, HostLabelSize, relay, buffer.data()) }
VbResult<std::string> HostLibraries::GetRelayAddressSZ(int32_t relay) { VT_TEXT_CALL(Recorder, GetRelayAddressSZ, HostLabelSize, relay, buffer.data()) }
VbResult<int32_t> HostLibraries::IsRelayActive(int32_t relay) { VT_CALL(Recorder, IsRelayActive, relay) }
VbResult<std::string> HostLibraries::GetTagRelayLabel(int32_t relay) { VT_TEXT_CALL(Recorder, GetTagRelayLabel, HostLabelSize, relay, buffer.data()) }
VbResult<std::string> HostLibraries::GetTagRelayAddressSZ(int32_t relay) {
    VT_TEXT_CALL(Recorder, GetTagRelayAddressSZ, HostLabelSize, relay, buffer.data())
}
VbResult<int32_t> HostLibraries::IsTagRelayActive(int32_t relay) { VT_CALL(Recorder, IsTagRelayActive, relay) }

VbResult<int32_t> HostLibraries::SetLineParamData(int32_t line, int32_t code, float value) { VT_CALL(Command, SetLineParamData, line, code, value) }
VbResult<float> HostLibraries::GetLineDataParam(int32_t line, int32_t code) { VT_CALL(Command, GetLineDataParam, line, code) }
VbResult<int32_t> HostLibraries::SaveLogMessage(const std::string& moduleName, const std::string& title) {
    VT_CALL(Command, SaveLogMessage, moduleName.c_str(), title.c_str())
}

#undef VT_TEXT_CALL
#undef VT_CALL
#undef VT_CALL0
