#pragma once
#include <memory>
#include <string>

#include "files/HostFolders.h"
#include "files/UpgradeHost.h"

class Telvane;

// The host job's folders as the file procedures and the setup file upgrade ask for them,
// answered by the host object.
class TelvaneHostFolders : public HostFolders, public UpgradeHost {
public:
    explicit TelvaneHostFolders(const std::unique_ptr<Telvane>& host) : host_(host) {}
    std::string JobDataFolder() const override;
    std::string TelvaneFolder() const override;
    std::string JobSetupFolder() const override;
    bool V4() const override;

private:
    const std::unique_ptr<Telvane>& host_;
};
