// `parse FILE`: one feed document through the parser front into a scratch feed, printed as JSON.
// It works in a library of its own in a temporary folder and never reads or writes the user's library.
#pragma once

#include <QString>
#include <optional>

class FeedLibrary;

class ParseCommand
{
public:
    ParseCommand(const QString &path, const std::optional<QString> &encoding);
    int run() const;

private:
    static void prepareEmptyLibrary(FeedLibrary &library);

    QString m_path;
    std::optional<QString> m_encoding;
};
