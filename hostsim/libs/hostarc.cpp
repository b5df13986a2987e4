// hostarc.dll: the host's archive library. The monitor only loads and releases it.
#include "host/HostCalls.h"

HOST_CALL int32_t GetArchiveVersion() { return 1; }
