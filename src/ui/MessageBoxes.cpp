#include "ui/MessageBoxes.h"

#include <QMessageBox>

#include "ui/QtText.h"

namespace {

QMessageBox::Icon ToQIcon(MessageIcon icon) {
    switch (icon) {
    case MessageIcon::Information: return QMessageBox::Information;
    case MessageIcon::Critical: return QMessageBox::Critical;
    case MessageIcon::Exclamation: return QMessageBox::Warning;
    case MessageIcon::Question: return QMessageBox::Question;
    case MessageIcon::None: break;
    }
    return QMessageBox::NoIcon;
}

} // namespace

std::unique_ptr<QMessageBox> MakeMessageBox(const std::string& text, const std::string& title, MessageButtons buttons,
                                            MessageIcon icon, QWidget* parent) {
    auto box = std::make_unique<QMessageBox>(parent);
    box->setWindowTitle(ToQString(title));
    box->setTextFormat(Qt::PlainText);
    box->setText(ToQString(text));
    box->setIcon(ToQIcon(icon));
    if (buttons == MessageButtons::YesNo) {
        box->setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        box->setDefaultButton(QMessageBox::Yes);
        box->setEscapeButton(QMessageBox::No);
    } else {
        box->setStandardButtons(QMessageBox::Ok);
    }
    return box;
}

MessageAnswer RunMessageBox(const std::string& text, const std::string& title, MessageButtons buttons,
                            MessageIcon icon, QWidget* parent) {
    std::unique_ptr<QMessageBox> box = MakeMessageBox(text, title, buttons, icon, parent);
    const int chosen = box->exec();
    if (buttons == MessageButtons::OK) return MessageAnswer::OK;
    return chosen == QMessageBox::Yes ? MessageAnswer::Yes : MessageAnswer::No;
}
