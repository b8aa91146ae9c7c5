// Whole files read and written in one line, for tests that compare bytes on disk or serve them.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

// The file's bytes, or none when it cannot be read.
QByteArray fileBytes(const QString &path);
// Makes the folders on the way; a failed write fails the test.
void writeFile(const QString &path, const QByteArray &bytes);
// The picture encoded in the format, as a server or a file holds it.
QByteArray pictureBytes(const char *format, const QImage &picture);
// A plain square of that colour.
QByteArray pictureBytes(const char *format, const QColor &colour = Qt::darkCyan, int side = 32);
