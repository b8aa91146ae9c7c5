// `render`: the headline page of one selection of the library, as the desktop program would show it,
// written to standard output or a file. It reads the user's display settings and never saves the library.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

class FeedLibrary;

class RenderCommand
{
public:
    // The arguments that follow the command word; they are read by run().
    explicit RenderCommand(const QStringList &arguments);
    int run();

private:
    bool readArguments();
    bool takeValue(qsizetype &at, std::optional<QString> &value);
    bool readChoices();
    bool select(FeedLibrary &library) const;
    int usageError(const QString &problem) const;

    QStringList m_arguments;
    std::optional<QString> m_feed, m_folder, m_article, m_search, m_mode, m_sort, m_filter, m_out, m_library;
    bool m_unread = false;
    bool m_today = false;
    int m_displayMode = 0;
    int m_sortMethod = 1;
    int m_filterMethod = 0;
};
