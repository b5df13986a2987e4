#pragma once
// What the setup file upgrade needs of the host object; the core answers from it, tests give
// fixed values. No host at all is a null pointer.
#include <string>

class UpgradeHost {
public:
    virtual ~UpgradeHost() = default;
    // The current job's setup folder, where the monitor's settings and setup files live.
    virtual std::string JobSetupFolder() const = 0;
    // The host's installation folder (its backup list "VbBackup.txt" is there).
    virtual std::string TelvaneFolder() const = 0;
    // True for a generation 4 host, the only one that keeps a backup list.
    virtual bool V4() const = 0;
};
