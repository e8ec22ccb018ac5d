#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// Fax files the device serves: multi-page 1-bit TIFF, 1728 pixels wide, made here.
namespace SimTiff {

constexpr int WIDTH = 1728;
constexpr int HEIGHT = 2200;

// A fax of the given number of pages (at least 1), G4 compressed, 204x196 dpi. With a GUI
// application present the lines of text are drawn on each page; otherwise only a frame and
// a page mark, which is enough to tell the pages apart.
QByteArray makeFax(int pages, const QStringList& lines);
// Number of pages (image directories) of a TIFF held in memory; -1 when it is not a TIFF.
int pageCount(const QByteArray& tiff);

} // namespace SimTiff
