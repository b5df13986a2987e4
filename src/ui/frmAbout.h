#pragma once
// The About box: version lines and the program file's name, date and size.
#include <string>

#include <QDialog>

#include "core/MonitorCommands.h"

class QLabel;
class QPushButton;

class frmAbout : public QDialog {
public:
    // programFile: the file whose name, date and size the description ends with.
    frmAbout(const AboutInfo& info, const std::string& programFile, QWidget* parent = nullptr);

    // Centred on the screen, above other windows, modal.
    void ShowModal();

    QLabel* lblVersion() const { return lblVersion_; }
    QLabel* lblDescription() const { return lblDescription_; }
    QPushButton* cmdOK() const { return ok_; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    QLabel* lblTitle_ = nullptr;
    QLabel* lblVersion_ = nullptr;
    QLabel* lblDescription_ = nullptr;
    QPushButton* ok_ = nullptr;
};
