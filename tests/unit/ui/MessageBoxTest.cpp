#include <gtest/gtest.h>

#include <QMessageBox>

#include "ui/MessageBoxes.h"
#include "ui/QtText.h"
#include "UiTestSupport.h"

namespace {

TEST(MessageBoxTest, TitleTextIconAndButtons) {
    UiApp();
    struct Case {
        MessageButtons buttons;
        MessageIcon icon;
        QMessageBox::Icon qIcon;
        QMessageBox::StandardButtons qButtons;
    };
    for (const Case& c : {Case{MessageButtons::OK, MessageIcon::Critical, QMessageBox::Critical, QMessageBox::Ok},
                          Case{MessageButtons::OK, MessageIcon::Information, QMessageBox::Information, QMessageBox::Ok},
                          Case{MessageButtons::OK, MessageIcon::None, QMessageBox::NoIcon, QMessageBox::Ok},
                          Case{MessageButtons::YesNo, MessageIcon::Exclamation, QMessageBox::Warning,
                               QMessageBox::Yes | QMessageBox::No}}) {
        auto box = MakeMessageBox("Store file C:\\a.lum\r\nhas 50 periods per day", "Error in Store File", c.buttons,
                                  c.icon, nullptr);
        EXPECT_EQ(box->windowTitle(), "Error in Store File");
        EXPECT_EQ(box->text(), "Store file C:\\a.lum\nhas 50 periods per day");
        EXPECT_EQ(box->icon(), c.qIcon);
        EXPECT_EQ(box->standardButtons(), c.qButtons);
    }
}

TEST(QtTextTest, WindowsBytesAndLineBreaks) {
    EXPECT_EQ(ToQString("a\r\nb\rc\nd"), QString("a\nb\nc\nd"));
    EXPECT_EQ(ToQString("\x80 5\xB0" "C \x96 caf\xE9"), QString::fromUtf8("\u20AC 5\u00B0C \u2013 caf\u00E9"));
    EXPECT_EQ(ToQString(std::string("\x81", 1)), QString(QChar(0x81)));
}

} // namespace
