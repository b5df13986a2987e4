#pragma once
// What loading the tag setup file needs of the screen: the please-wait window, the tag columns of
// the main grid, a message box and the end of the program. The core's view implements it.
#include <string>

enum class MessageIcon { None, Information, Critical, Exclamation, Question };

class SetupLoadView {
public:
    virtual ~SetupLoadView() = default;
    // Shows the please-wait window with this caption.
    virtual void ShowWait(const std::string& caption) = 0;
    // The please-wait window's progress text ("45%").
    virtual void SetWaitProgress(const std::string& text) = 0;
    // Lets pending window events run.
    virtual void DoEvents() = 0;
    // One cell of the main grid: row = tag number, column 1 name, column 4 tag type.
    virtual void SetGridCell(int row, int column, const std::string& text) = 0;
    virtual void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) = 0;
    // Closes the main window, which ends the program.
    virtual void EndProgram() = 0;
    // Starts the setup editor (shell open of program with arguments).
    virtual void StartProgram(const std::string& program, const std::string& arguments) = 0;
};
