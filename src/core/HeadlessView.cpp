#include "core/HeadlessView.h"

#include <QCoreApplication>

#include "platform/Clock.h"
#include "platform/Programs.h"
#include "support/Log.h"
#include "support/VbText.h"

namespace {

// One log line: the message's line breaks become blanks.
std::string OneLine(const std::string& text) {
    std::string line;
    line.reserve(text.size());
    for (char c : text) {
        if (c == '\n') continue;
        line += c == '\r' ? ' ' : c;
    }
    return line;
}

}  // namespace

void HeadlessView::ShowWait(const std::string&) {}
void HeadlessView::SetWaitProgress(const std::string&) {}
void HeadlessView::CloseWait() {}
void HeadlessView::ShowWaitMessage(const std::string&) {}
void HeadlessView::SetViewLogAvailable(bool) {}
void HeadlessView::SetGridCell(int, int, const std::string&) {}
void HeadlessView::SetupGrid(int) {}
void HeadlessView::SetGridRowColour(int, int, int, RgbColour) {}
void HeadlessView::SetPanelColour(StatusPanel, RgbColour) {}
void HeadlessView::SetWatchdogLabel(bool) {}
void HeadlessView::SetMenuVisible(MenuItem, bool) {}
void HeadlessView::CloseLogWindow() {}

// The scan lets events in at every step. With no window to paint, pending events (socket requests,
// timers) are let in once per tick of the coarse clock (a few milliseconds) at most, and the clock is
// looked at on every fourth request only: each look at the events costs a poll of every socket.
void HeadlessView::DoEvents() { LetEventsIn(); }

bool HeadlessView::LookForEvents() {
    if (QCoreApplication::instance() == nullptr) return false;
    const int64_t now = CoarseMonotonicMs();
    if (now == lastEventsMs_) return false;
    lastEventsMs_ = now;
    QCoreApplication::processEvents();
    return true;
}

void HeadlessView::ShowMessage(const std::string& text, const std::string& title, MessageIcon) {
    AddToLog(OneLine(title + ": " + text));
}

MessageAnswer HeadlessView::Ask(const std::string& text, const std::string& title, MessageButtons buttons, MessageIcon) {
    const MessageAnswer answer = buttons == MessageButtons::YesNo ? MessageAnswer::No : MessageAnswer::OK;
    AddToLog(OneLine(title + ": " + text) + (answer == MessageAnswer::No ? " (No)" : " (OK)"));
    return answer;
}

void HeadlessView::EndProgram() { Quit(1); }

void HeadlessView::StartProgram(const std::string& program, const std::string& arguments) {
    if (VbError e = ::StartProgram(program, arguments, WindowShow::Normal)) ReportError("StartProgram", e);
}

void HeadlessView::SetStatusText(const std::string& text) { SetPanelText(StatusPanel::Panel3D2, text); }

void HeadlessView::SetPanelText(StatusPanel panel, const std::string& text) {
    if (panel == StatusPanel::Panel3D2) step_ = nullptr;
    panels_[static_cast<size_t>(panel)] = text;
}

// The events before and after the step text are one round here: there is no text to paint.
bool HeadlessView::ScanStep(const char* step, int tag) {
    step_ = step;
    stepTag_ = tag;
    return LetEventsIn();
}

std::string HeadlessView::PanelText(StatusPanel panel) const {
    if (panel == StatusPanel::Panel3D2 && step_ != nullptr) return step_ + std::to_string(stepTag_);
    return panels_[static_cast<size_t>(panel)];
}

void HeadlessView::SetMenuChecked(MenuItem item, bool checked) { checked_[item] = checked; }

bool HeadlessView::MenuChecked(MenuItem item) const {
    const auto it = checked_.find(item);
    return it != checked_.end() && it->second;
}

void HeadlessView::CloseMainWindow() {
    if (closed_) return;
    if (commands_ != nullptr && !commands_->QueryClose()) return;
    Quit(0);
}

void HeadlessView::Quit(int exitCode) {
    if (closed_) return;
    closed_ = true;
    exitCode_ = exitCode;
    if (QCoreApplication::instance() != nullptr) QCoreApplication::exit(exitCode);
}
