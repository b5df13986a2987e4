#pragma once
// Everything the monitor does to its screen. The main window (ui), the headless view and the
// recording view of the tests implement it; the core never sees a widget.
#include <cstdint>
#include <string>

#include "core/GridNumber.h"
#include "files/SettingsView.h"
#include "files/StoreFileView.h"

struct RgbColour {
    uint8_t Red = 0;
    uint8_t Green = 0;
    uint8_t Blue = 0;
    friend bool operator==(const RgbColour&, const RgbColour&) = default;
};
inline constexpr RgbColour ColourBlack{0, 0, 0};
inline constexpr RgbColour ColourRed{255, 0, 0};
inline constexpr RgbColour ColourDarkBlue{0, 0, 128};

// The three status panels under the grid.
enum class StatusPanel {
    Panel3D4,  // countdown " Scan in n secs"; holds the watchdog label
    Panel3D2,  // status line, two lines
    Panel3D1,  // date and time, two lines
};

enum class MessageButtons { OK, YesNo };
enum class MessageAnswer { OK, Yes, No };

// Main-window menu items whose visibility or check mark the monitor changes.
enum class MenuItem {
    ldstup,            // "&Reload setup" (hidden)
    setcontrolit,      // "Set &Control..." (hidden)
    mnuO_ViewLog,      // "View Log": offered only while scan logging is on
    mnuHelpHelp,       // "Help" (hidden)
    mnuLog,            // the "Log" menu itself (hidden at start)
    mnuLWindowsSocket, // "Log Windows Socket" (check mark)
};

class MonitorView : public StoreFileView, public SettingsView {
public:
    // False for a view without a grid: the scan then hands it none of a tag's cells or colours,
    // which it would pay for several times per tag.
    bool ShowsGrid() const { return showsGrid_; }

    // Grid1: five data columns, the six headings, rows 1..rows (rows = TagCount).
    virtual void SetupGrid(int rows) = 0;
    // Text colour of a block of cells in one row (columns from..to).
    virtual void SetGridRowColour(int row, int columnFrom, int columnTo, RgbColour colour) = 0;
    // A cell showing a number; a view that shows nothing need not make its text.
    virtual void SetGridNumber(int row, int column, const GridNumber& number) {
        SetGridCell(row, column, number.Text());
    }

    virtual void SetPanelText(StatusPanel panel, const std::string& text) = 0;
    // One step of the scan: lets events run, shows the step text (a literal, which the view may
    // keep) followed by the tag number in the status panel (Panel3D2), and lets events run again.
    // False only when the view knows that no events ran. A view that shows nothing need not make
    // the text.
    virtual bool ScanStep(const char* step, int tag) {
        DoEvents();
        SetPanelText(StatusPanel::Panel3D2, step + std::to_string(tag));
        DoEvents();
        return true;
    }
    virtual void SetPanelColour(StatusPanel panel, RgbColour textColour) = 0;
    // lblWatchDog: on while the watchdog's last written value is 1.
    virtual void SetWatchdogLabel(bool on) = 0;

    // A message box with buttons; returns the button chosen (the headless view answers the default:
    // OK, or No for Yes/No questions).
    virtual MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                              MessageIcon icon) = 0;

    virtual void SetMenuVisible(MenuItem item, bool visible) = 0;
    virtual void SetMenuChecked(MenuItem item, bool checked) = 0;
    virtual bool MenuChecked(MenuItem item) const = 0;

    // frmLog: closed at start-up and by "Hide".
    virtual void CloseLogWindow() = 0;
    // Asks the main window to close; the closing rule of the monitor decides whether it does.
    virtual void CloseMainWindow() = 0;

protected:
    explicit MonitorView(bool showsGrid = true) : showsGrid_(showsGrid) {}

private:
    bool showsGrid_;
};
