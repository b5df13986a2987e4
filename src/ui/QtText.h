#pragma once
// The monitor's texts are Windows-1252 bytes with CR LF line breaks; widgets take Unicode with "\n".
#include <string_view>

#include <QColor>
#include <QString>

#include "core/MonitorView.h"

QString ToQString(std::string_view text);
QColor ToQColor(RgbColour colour);
