#include "core/SupportHostCalls.h"

void ConnectClockSync(clsClockSync& clockSync, Telvane& host) {
    HostLibraries& libraries = host.Libraries();
    clockSync.SetTagReading([&libraries](int32_t tag) { return libraries.GetTagReading(tag); });
}

void ConnectWatchdog(clsWatchdog& watchdog, Telvane& host, MonitorView& view) {
    HostLibraries& libraries = host.Libraries();
    watchdog.SetTagOutputValue([&libraries](int32_t output, float value, int32_t insertStack, int32_t reserved) {
        return libraries.SetTagOutputValue(output, value, insertStack, reserved);
    });
    watchdog.SetLabel([&view](bool on) { view.SetWatchdogLabel(on); });
    watchdog.SetDoEvents([&view] { view.DoEvents(); });
}
