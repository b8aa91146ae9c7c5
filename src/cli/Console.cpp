#include "cli/Console.h"

#include <cstdio>

void Console::print(const QString &text)
{
    printBytes(text.toUtf8());
}

void Console::printBytes(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

void Console::complain(const QString &line)
{
    std::fprintf(stderr, "quillbay-cli: %s\n", oneLine(line).toUtf8().constData());
    std::fflush(stderr);
}

QString Console::oneLine(const QString &text)
{
    QString line = text;
    for (QChar &c : line) {
        if (c == u'\n' || c == u'\r' || c == u'\t' || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = u' ';
    }
    return line;
}
