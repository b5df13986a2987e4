#include "net/clsWindowsSockets.h"

#include "platform/Paths.h"
#include "support/VbConvert.h"

clsWindowsSockets::clsWindowsSockets(std::string_view jobSetupFolder) {
    ini_.FileName(PathJoin(jobSetupFolder, "WinSockets.ini"));
    ini_.AppName("Sockets");
}

VbResult<int32_t> clsWindowsSockets::VoltarisMonitorPortNo() {
    ini_.KeyName("VoltarisMonitorPortNo");
    VbResult<int32_t> port = CLng(Val(ini_.GetIni()));
    if (!port.Ok()) {
        port.Value = DefaultMonitorPortNo;
        return port;
    }
    if (port.Value < 1) {
        port.Value = DefaultMonitorPortNo;
        ini_.SetIni(std::to_string(DefaultMonitorPortNo));
    }
    return port;
}

std::string clsWindowsSockets::ListenAddress() {
    ini_.KeyName("ListenAddress");
    return ini_.GetIni();
}
