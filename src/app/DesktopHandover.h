// What the desktop hands the program, on its command line or through a second start: file: addresses and
// paths of files to open, feed: and web addresses to subscribe to. It sorts them; it never opens, imports
// or fetches anything itself.
#pragma once

#include <QStringList>

class DesktopHandover
{
public:
    // At the handing side, so that the running program can use them whatever folder it runs in: local
    // file: addresses become paths, relative paths are made absolute against the folder the start was
    // made in, options are left out, and feed and web addresses stay as they came. Addresses of files
    // elsewhere (another host, a network share) cannot be opened and are left out, with a log line.
    static QStringList argumentsToHandOver(const QStringList &arguments, const QString &workingFolder);

    // feed:, feed://, http:// and https:// addresses: a feed to subscribe to.
    static bool isFeedAddress(const QString &argument);
    static QStringList feedAddresses(const QStringList &handedOver);
    static QStringList files(const QStringList &handedOver);

private:
    static QString handedOverForm(const QString &argument, const QString &workingFolder);
};
