#include "report/views/ReportExport.h"

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSaveFile>
#include <QSvgGenerator>
#include <QWidget>

namespace {

// Lays the widget out at size, off the screen, so what is drawn is what the size gives.
void Prepare(QWidget& view, QSize size)
{
    view.setAttribute(Qt::WA_DontShowOnScreen);
    view.resize(size);
    view.show();
    QCoreApplication::processEvents();
}

} // namespace

std::string SavePng(QWidget& view, const QString& path, QSize size)
{
    Prepare(view, size);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        view.render(&painter);
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !image.save(&file, "PNG") || !file.commit())
        return "cannot write " + path.toStdString() + ": " + file.errorString().toStdString();
    return {};
}

std::string SaveSvg(QWidget& view, const QString& path, QSize size, const QString& title)
{
    Prepare(view, size);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return "cannot write " + path.toStdString() + ": " + file.errorString().toStdString();
    {
        QSvgGenerator svg;
        svg.setOutputDevice(&file);
        svg.setSize(size);
        svg.setResolution(96);  // so the size in mm is the size in CSS pixels
        svg.setViewBox(QRect(QPoint(0, 0), size));
        svg.setTitle(title);
        QPainter painter(&svg);
        view.render(&painter);
    }
    if (!file.commit())
        return "cannot write " + path.toStdString() + ": " + file.errorString().toStdString();
    return {};
}

std::string SaveText(const QString& path, const std::string& text)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(text.data(), static_cast<qint64>(text.size())) != static_cast<qint64>(text.size()) ||
        !file.commit())
        return "cannot write " + path.toStdString() + ": " + file.errorString().toStdString();
    return {};
}
