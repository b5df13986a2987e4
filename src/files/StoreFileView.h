#pragma once
// What the store file procedures need of the screen beyond the setup load.
#include <string>

#include "files/SetupLoadView.h"

class StoreFileView : public SetupLoadView {
public:
    virtual void CloseWait() = 0;
    // The scan status panel (Panel3D2).
    virtual void SetStatusText(const std::string& text) = 0;
};
