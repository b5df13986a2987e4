#pragma once
// The socket settings: JobSetupFolder + "\WinSockets.ini", section "Sockets". The other keys of the
// section belong to other programs of the family and are left alone.
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/VbError.h"
#include "support/clsIni.h"

inline constexpr int32_t DefaultMonitorPortNo = 1007;

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

    const std::string& FileName() const { return ini_.FileName(); }

private:
    clsIni ini_;
};
