// `search TEXT`: the library's full-text search, printed one found article per line as its feed's
// title, its own title and its link, separated by tabs. It saves nothing.
#pragma once

#include <QString>

class SearchCommand
{
public:
    explicit SearchCommand(const QString &text);
    int run() const;

private:
    QString m_text;
};
