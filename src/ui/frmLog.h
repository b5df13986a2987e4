#pragma once
// The socket log window: the newest 1000 lines of the socket trace, all of them also in the
// socket log file.
#include <string>

#include <QMainWindow>

#include "support/Log.h"

class QAction;
class QListWidget;
class QMenu;

inline constexpr int LogListLimit = 1000;

class frmLog : public QMainWindow {
public:
    explicit frmLog(QWidget* parent = nullptr);

    // Loaded on first use: centred, the list emptied. Not shown.
    void Form_Load();
    bool Loaded() const { return loaded_; }
    // Closes the window; the next use loads it again with an empty list.
    void Unload();

    // Adds one line at the top of the list and to the socket log file. Never lets events run:
    // it is called from inside the socket handlers.
    void AddLog(const std::string& text);

    // program folder + "\" + program name + "_LogForm.txt"
    static std::string LogFile();

    QListWidget* lstLog() const { return list_; }
    QAction* mnuFClear() const { return clear_; }
    QAction* mnuFExit() const { return exit_; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void Form_Resize();

    bool loaded_ = false;
    bool centredShown_ = false;  // centred again on the first show after loading
    clsLog log_;
    QListWidget* list_ = nullptr;
    QMenu* mnuFile_ = nullptr;
    QAction* clear_ = nullptr;
    QAction* exit_ = nullptr;
};
