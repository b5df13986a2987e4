#pragma once
// The monitor's message boxes: title, text (CR LF shown as line breaks), icon and buttons.
#include <memory>
#include <string>

#include "core/MonitorView.h"

class QMessageBox;
class QWidget;

std::unique_ptr<QMessageBox> MakeMessageBox(const std::string& text, const std::string& title, MessageButtons buttons,
                                            MessageIcon icon, QWidget* parent);
// Shows the box modally and returns the button chosen; closing it without a choice answers
// OK, or No for a question.
MessageAnswer RunMessageBox(const std::string& text, const std::string& title, MessageButtons buttons,
                            MessageIcon icon, QWidget* parent);
