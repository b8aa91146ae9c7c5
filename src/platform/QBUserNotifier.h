// Delivers desktop notifications with the default notification sound. The desktop program supplies
// one where the desktop offers notifications; the core never shows one by any other way.
#pragma once

#include <QString>

class QBUserNotifier
{
public:
    virtual ~QBUserNotifier() = default;

    virtual void deliver(const QString &title, const QString &text) = 0;
};
