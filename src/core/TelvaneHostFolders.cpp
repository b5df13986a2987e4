#include "core/TelvaneHostFolders.h"

#include "host/Telvane.h"

std::string TelvaneHostFolders::JobDataFolder() const { return host_ ? host_->JobDataFolder() : std::string(); }

std::string TelvaneHostFolders::TelvaneFolder() const { return host_ ? host_->TelvaneFolder() : std::string(); }

std::string TelvaneHostFolders::JobSetupFolder() const { return host_ ? host_->JobSetupFolder() : std::string(); }

bool TelvaneHostFolders::V4() const { return host_ && host_->V4(); }
