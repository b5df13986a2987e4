#include <gtest/gtest.h>

#include <filesystem>

#include <QAbstractButton>
#include <QMessageBox>

#include "common/TempPrefix.h"
#include "support/Log.h"
#include "ui/MessageBoxes.h"
#include "ui/QtText.h"
#include "ui/frmMain.h"
#include "UiTestSupport.h"

namespace {

class MessageBoxTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { UiApp(); }
    void TearDown() override { SetDebugMode(false); }
    TempPrefix prefix;
    FakeCommands commands;
};

TEST_F(MessageBoxTest, TitleTextIconAndButtons) {
    auto stop = MakeMessageBox("Voltaris Monitor is already loaded", "Voltaris Monitor", MessageButtons::OK,
                               MessageIcon::Critical, nullptr);
    EXPECT_EQ(stop->windowTitle(), "Voltaris Monitor");
    EXPECT_EQ(stop->text(), "Voltaris Monitor is already loaded");
    EXPECT_EQ(stop->icon(), QMessageBox::Critical);
    EXPECT_EQ(stop->standardButtons(), QMessageBox::Ok);

    auto store = MakeMessageBox("Store file C:\\a.lum\r\nhas 50 periods per day", "Error in Store File",
                                MessageButtons::OK, MessageIcon::Critical, nullptr);
    EXPECT_EQ(store->text(), "Store file C:\\a.lum\nhas 50 periods per day");

    auto setup = MakeMessageBox("x", "Setup error", MessageButtons::OK, MessageIcon::Information, nullptr);
    EXPECT_EQ(setup->icon(), QMessageBox::Information);
    auto plain = MakeMessageBox("x", "Error - Voltaris Monitor", MessageButtons::OK, MessageIcon::None, nullptr);
    EXPECT_EQ(plain->icon(), QMessageBox::NoIcon);

    auto question = MakeMessageBox("Terminate?", "Voltaris Monitor", MessageButtons::YesNo,
                                   MessageIcon::Exclamation, nullptr);
    EXPECT_EQ(question->icon(), QMessageBox::Warning);
    EXPECT_EQ(question->standardButtons(), QMessageBox::Yes | QMessageBox::No);
}

TEST_F(MessageBoxTest, AskReturnsTheButtonChosen) {
    auto window = CreateMainWindow(commands);
    WhenModalAppears([](QWidget* box) { static_cast<QMessageBox*>(box)->button(QMessageBox::No)->click(); });
    EXPECT_EQ(window->Ask("Go?", "Voltaris Monitor", MessageButtons::YesNo, MessageIcon::Question), MessageAnswer::No);
    WhenModalAppears([](QWidget* box) { static_cast<QMessageBox*>(box)->button(QMessageBox::Yes)->click(); });
    EXPECT_EQ(window->Ask("Go?", "Voltaris Monitor", MessageButtons::YesNo, MessageIcon::Question),
              MessageAnswer::Yes);
    QString shown;
    WhenModalAppears([&](QWidget* box) {
        shown = static_cast<QMessageBox*>(box)->text();
        box->close();
    });
    window->ShowMessage("Line one\r\nLine two", "Setup error", MessageIcon::Information);
    EXPECT_EQ(shown, "Line one\nLine two");
}

TEST_F(MessageBoxTest, UnwritableLogUnderDebugAsksAndYesClosesTheWindow) {
    auto window = CreateMainWindow(commands);
    window->show();
    // A folder in the main log's place: every line fails.
    std::filesystem::create_directories(prefix.ProgramDir() / "voltamon.log");

    SetDebugMode(false);
    AddToLog("lost quietly");
    EXPECT_TRUE(commands.Calls.empty());

    SetDebugMode(true);
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    WhenModalAppears([&](QWidget* w) {
        auto* box = static_cast<QMessageBox*>(w);
        title = box->windowTitle();
        text = box->text();
        icon = box->icon();
        box->button(QMessageBox::Yes)->click();
    });
    AddToLog("cannot be written");
    EXPECT_EQ(title, "Voltaris Monitor");
    EXPECT_TRUE(text.startsWith("AddToLog, Error ")) << text.toStdString();
    EXPECT_TRUE(text.endsWith("\n\nDo you wish to terminate the Voltaris Monitor?")) << text.toStdString();
    EXPECT_EQ(icon, QMessageBox::Warning);
    EXPECT_EQ(commands.Calls, (std::vector<std::string>{"QueryClose"}));
    EXPECT_FALSE(window->isVisible());
}

TEST(QtTextTest, WindowsBytesAndLineBreaks) {
    EXPECT_EQ(ToQString("a\r\nb\rc\nd"), QString("a\nb\nc\nd"));
    EXPECT_EQ(ToQString("\x80 5\xB0" "C \x96 caf\xE9"), QString::fromUtf8("\u20AC 5\u00B0C \u2013 caf\u00E9"));
    EXPECT_EQ(ToQString(std::string("\x81", 1)), QString(QChar(0x81)));
    EXPECT_EQ(ToQColor(ColourDarkBlue), QColor(0, 0, 128));
}

} // namespace
