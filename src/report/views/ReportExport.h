#pragma once
// A view written to a file: a widget of its own (made for the export, not one on the screen)
// drawn at the asked size as PNG or SVG, and its data as CSV.
#include <QSize>
#include <QString>
#include <string>

class QWidget;

// Each gives "" when written, else why not.
std::string SavePng(QWidget& view, const QString& path, QSize size);
std::string SaveSvg(QWidget& view, const QString& path, QSize size, const QString& title);
std::string SaveText(const QString& path, const std::string& text);
