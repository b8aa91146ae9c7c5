// Which addresses may leave the program for the desktop's browser or mail program, and in what form.
// Feed text names any address it likes; a file:, smb: or custom-scheme one handed to the desktop could
// start a program or read the user's files. It decides and cleans; it never opens anything.
#pragma once

#include <QString>
#include <QUrl>

class OutsideAddress
{
public:
    // The address as it may be handed over: http, https and ftp with a host as they are, mailto
    // cleaned; an empty address for anything else.
    static QUrl admitted(const QUrl &url);
    // An http or https address that names a host: the only kind a page's relative links, an author's
    // home page or a site's icons can be looked for at.
    static bool isWebPage(const QUrl &url);
    // A mailto address with plain recipients and no query but "subject" and "body"; empty when a
    // recipient could carry anything else or nothing is left to write.
    static QUrl cleanedMailto(const QUrl &url);
    // What the status line says when the address is refused; it names the scheme.
    static QString refusalMessage(const QUrl &url);
};
