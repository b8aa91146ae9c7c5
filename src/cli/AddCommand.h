// `add ADDRESS [--folder NAME]`: subscribes headlessly through the subscribe panel's own controller,
// following the feed a web page links to, prints the feed it found or why it found none, and saves the
// library. It never changes the user's settings.
#pragma once

#include <QString>
#include <optional>

class AddCommand
{
public:
    // The icon search of the new feed is waited for this long at most; the next refresh takes it up.
    static constexpr int iconWaitMs = 30 * 1000;

    AddCommand(const QString &address, const std::optional<QString> &folder);
    int run() const;

private:
    QString m_address;
    std::optional<QString> m_folder;
};
