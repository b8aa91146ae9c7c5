// Whole files read and written in one line, for tests that compare bytes on disk.
#pragma once

#include <QByteArray>
#include <QString>

// The file's bytes, or none when it cannot be read.
QByteArray fileBytes(const QString &path);
// Makes the folders on the way; a failed write fails the test.
void writeFile(const QString &path, const QByteArray &bytes);
