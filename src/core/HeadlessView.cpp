#include "core/HeadlessView.h"

#include <QCoreApplication>

#include <cstdio>

#include "platform/Clock.h"
#include "platform/Programs.h"
#include "support/Log.h"
#include "support/VbText.h"

namespace {

// One log line: each run of line breaks becomes " | ", so a message of several lines stays one log
// line and still shows where its lines were.
std::string OneLine(const std::string& text) {
    std::string line;
    line.reserve(text.size());
    bool inBreak = false;
    for (char c : text) {
        if (c == '\r' || c == '\n') {
            if (!inBreak) line += " | ";
            inBreak = true;
            continue;
        }
        inBreak = false;
        line += c;
    }
    return line;
}

// The message as the window would show it, for a person at the terminal or the service journal:
// its title, then its text with every line break kept (CR LF written as a plain line end).
void CopyToStderr(const std::string& title, const std::string& text, const char* answer) {
    std::string copy = ProgramName() + ": " + title + ": ";
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        copy += text[i] == '\r' ? '\n' : text[i];
    }
    if (answer != nullptr) copy += answer;
    copy += '\n';
    std::fwrite(copy.data(), 1, copy.size(), stderr);
    std::fflush(stderr);
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
    CopyToStderr(title, text, nullptr);
    AddToLog(OneLine(title + ": " + text));
}

MessageAnswer HeadlessView::Ask(const std::string& text, const std::string& title, MessageButtons buttons, MessageIcon) {
    const MessageAnswer answer = buttons == MessageButtons::YesNo ? MessageAnswer::No : MessageAnswer::OK;
    const char* given = answer == MessageAnswer::No ? " (No)" : " (OK)";
    CopyToStderr(title, text, given);
    AddToLog(OneLine(title + ": " + text) + given);
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
