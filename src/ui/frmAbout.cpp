#include "ui/frmAbout.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "support/clsAPI.h"
#include "support/clsMisc.h"
#include "ui/AboutText.h"
#include "ui/AppTitle.h"
#include "ui/QtText.h"
#include "ui/WindowPlacement.h"

frmAbout::frmAbout(const AboutInfo& info, const std::string& programFile, QWidget* parent) : QDialog(parent) {
    setObjectName("frmAbout");
    setWindowTitle(QString("About ") + AppTitle);
    setModal(true);

    lblTitle_ = new QLabel(AppTitle, this);
    lblTitle_->setObjectName("lblTitle");
    QFont bigger = lblTitle_->font();
    bigger.setBold(true);
    if (bigger.pointSizeF() > 0) bigger.setPointSizeF(bigger.pointSizeF() * 1.5);
    lblTitle_->setFont(bigger);

    lblVersion_ = new QLabel(this);
    lblVersion_->setObjectName("lblVersion");
    lblVersion_->setTextFormat(Qt::PlainText);
    lblVersion_->setText(ToQString(AboutVersionText(VT_VERSION_MAJOR, VT_VERSION_MINOR, VT_VERSION_PATCH, info)));

    lblDescription_ = new QLabel(this);
    lblDescription_->setObjectName("lblDescription");
    lblDescription_->setTextFormat(Qt::PlainText);
    lblDescription_->setWordWrap(true);
    lblDescription_->setText(ToQString(AboutDescriptionText(programFile)));

    ok_ = new QPushButton("OK", this);
    ok_->setObjectName("cmdOK");
    ok_->setDefault(true);
    QObject::connect(ok_, &QPushButton::clicked, this, [this] { accept(); });

    auto* column = new QVBoxLayout(this);
    column->addWidget(lblTitle_);
    column->addWidget(lblVersion_);
    column->addWidget(lblDescription_);
    column->addWidget(ok_, 0, Qt::AlignRight);
    adjustSize();
}

void frmAbout::ShowModal() {
    TopMostWidget top(*this);
    clsAPI().SetWindowTopMost(top);
    exec();
}

void frmAbout::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    // Centred once shown, when the size includes the window's frame.
    CenterableWidget centre(*this);
    clsMisc().CenterForm(centre);
}
