#pragma once
// The host job's folders as the file procedures need them; the host object answers (through the
// core), tests give fixed texts.
#include <string>

class HostFolders {
public:
    virtual ~HostFolders() = default;
    // The host job's data folder ("C:\Telvane\Job1\Data"); the store files live in its "\Voltaris".
    virtual std::string JobDataFolder() const = 0;
    // The host's installation folder, where the setup editor lives.
    virtual std::string TelvaneFolder() const = 0;
};
