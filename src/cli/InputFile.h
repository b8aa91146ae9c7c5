// Reads a file named on the command line. A file that cannot be read is reported in one line with
// its path and the reason; it never reads more than the one file it is given.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

class InputFile
{
public:
    // The file's bytes (empty, never null, for an empty file), or nothing after the complaint.
    static std::optional<QByteArray> read(const QString &path);
};
