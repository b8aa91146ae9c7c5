// `import FILE.opml`: every subscription of an OPML file goes under the library's root with the file's
// folders kept, and the library is saved. It fetches nothing: icons come with the next refresh.
#pragma once

#include <QString>

class ImportCommand
{
public:
    explicit ImportCommand(const QString &path);
    int run() const;

private:
    QString m_path;
};
