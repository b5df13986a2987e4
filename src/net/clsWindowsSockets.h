#pragma once
// The socket settings: JobSetupFolder + "\WinSockets.ini", section "Sockets". The other keys of the
// section belong to other programs of the family and are left alone.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/VbError.h"
#include "support/clsIni.h"

inline constexpr int32_t DefaultMonitorPortNo = 1007;
// The longest idle time the key can give, in seconds.
inline constexpr int32_t LongestIdleSeconds = 86400;

class clsWindowsSockets {
public:
    // jobSetupFolder is the host job's setup folder as a path text.
    explicit clsWindowsSockets(std::string_view jobSetupFolder);

    // The listening port. A value below 1 (missing, not a number, 0, negative) gives 1007, which is
    // then written back to the key. A value beyond 32 bits is error 6 with 1007 as the value and
    // the key left as it is.
    VbResult<int32_t> VoltarisMonitorPortNo();

    // Key ListenAddress: the address the server listens on. Empty (the default) means the loopback
    // address 127.0.0.1; "*" means every address; otherwise an IPv4 or IPv6 address in text form.
    std::string ListenAddress();

    // Key IdleSeconds: a connection that sends nothing for this long is closed. Read as a number,
    // rounded; none when missing or below 1, at most a day.
    std::optional<int32_t> IdleSeconds();

    // Key MaxConnectionsPerAddress: connections one client address may hold at once. Read as a
    // number, rounded; none when missing or below 1.
    std::optional<int32_t> MaxConnectionsPerAddress();

    // Key SetsAllowedFrom: the client addresses whose set requests are obeyed (see
    // net/ClientAddressList.h); empty when missing.
    std::string SetsAllowedFrom();

    const std::string& FileName() const { return ini_.FileName(); }

private:
    std::optional<int32_t> PositiveNumber(const char* key);
    clsIni ini_;
};
