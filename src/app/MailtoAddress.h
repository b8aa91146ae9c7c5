// The "mailto:" address that opens a new message in the user's mail program with a subject and a body.
// It only builds the address; the desktop opens it.
#pragma once

#include <QString>
#include <QUrl>

class MailtoAddress
{
public:
    // Every delimiter of both texts is escaped: an '&' in the body would otherwise end it early.
    static QUrl forMessage(const QString &subject, const QString &body);
};
