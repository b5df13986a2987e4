#include "net/clsWindowsSockets.h"

#include <algorithm>

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

std::optional<int32_t> clsWindowsSockets::PositiveNumber(const char* key) {
    ini_.KeyName(key);
    const std::string text = ini_.GetIni();
    if (text.empty()) return std::nullopt;
    // Beyond 32 bits is as good as "as many as there can be".
    const double value = RoundHalfEven(Val(text));
    if (!(value >= 1)) return std::nullopt;
    return value >= 2147483647.0 ? 2147483647 : static_cast<int32_t>(value);
}

std::optional<int32_t> clsWindowsSockets::IdleSeconds() {
    const std::optional<int32_t> seconds = PositiveNumber("IdleSeconds");
    if (!seconds) return std::nullopt;
    return std::min(*seconds, LongestIdleSeconds);
}

std::optional<int32_t> clsWindowsSockets::MaxConnectionsPerAddress() { return PositiveNumber("MaxConnectionsPerAddress"); }

std::string clsWindowsSockets::SetsAllowedFrom() {
    ini_.KeyName("SetsAllowedFrom");
    return ini_.GetIni();
}
