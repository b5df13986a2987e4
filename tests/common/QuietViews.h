#pragma once
// Screens that show nothing, for benchmarks and fuzz targets that drive the file and scan
// procedures without watching them.
#include <string>

#include "files/SetupLoadView.h"
#include "files/StoreFileView.h"

// The setup-load part of any view, quiet; View is the interface (or a view) it completes.
template <class View>
class QuietSetupLoad : public View {
public:
    void ShowWait(const std::string&) override {}
    void SetWaitProgress(const std::string&) override {}
    void DoEvents() override {}
    void SetGridCell(int, int, const std::string&) override {}
    void ShowMessage(const std::string&, const std::string&, MessageIcon) override {}
    void EndProgram() override {}
    void StartProgram(const std::string&, const std::string&) override {}
};

using QuietSetupLoadView = QuietSetupLoad<SetupLoadView>;

class QuietStoreFileView : public QuietSetupLoad<StoreFileView> {
public:
    void CloseWait() override {}
    void SetStatusText(const std::string&) override {}
};
