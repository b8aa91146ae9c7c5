// `export FILE.opml`: the library's folders and feeds written as an OPML subscription list. It never
// changes the library, and a failed export leaves any file already at the path untouched.
#pragma once

#include <QString>

class ExportCommand
{
public:
    explicit ExportCommand(const QString &path);
    int run() const;

private:
    QString m_path;
};
