// Where quillbay-cli writes: results on standard output, one-line complaints on standard error.
// Results never go to standard error and complaints never to standard output, so that output pipes cleanly.
#pragma once

#include <QByteArray>
#include <QString>

class Console
{
public:
    static void print(const QString &text);
    static void printBytes(const QByteArray &bytes);
    // One line, prefixed with the program's name, on standard error.
    static void complain(const QString &line);
    // Line breaks and tabs turned into spaces, so that a feed's text cannot break a line-per-item output.
    static QString oneLine(const QString &text);
};
