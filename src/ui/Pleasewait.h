#pragma once
// The please-wait window shown while the monitor loads and while it re-reads the tag setup file.
#include <functional>
#include <string>

#include <QDialog>

class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;

class Pleasewait : public QDialog {
public:
    // stage2Begun tells the window's own timer when start-up has moved on and it may go.
    explicit Pleasewait(std::function<bool()> stage2Begun, QWidget* parent = nullptr);
    ~Pleasewait() override;

    // Shows the window with this caption, centred across and a third of the way down the screen.
    void ShowWait(const std::string& caption);
    void SetMessage(const std::string& text);
    // "45%": the gauge and the message label.
    void SetProgress(const std::string& text);

    QLabel* lblMessage() const { return lblMessage_; }
    QProgressBar* Gauge1() const { return gauge_; }
    QPushButton* cmdOK() const { return ok_; }
    QTimer* Timer1() const { return timer_; }

    // left = (screen width - width) / 2, top = (screen height - height) / 3, in twips.
    static void PlaceOnScreen(int screenWidth, int screenHeight, int width, int height, int& left, int& top);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void Timer1_Timer();

    std::function<bool()> stage2Begun_;
    QLabel* heading_ = nullptr;
    QLabel* lblMessage_ = nullptr;
    QProgressBar* gauge_ = nullptr;
    QPushButton* ok_ = nullptr;
    QTimer* timer_ = nullptr;
};
