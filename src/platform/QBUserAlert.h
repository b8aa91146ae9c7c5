// The desktop's ways of catching the user's ear and eye: a named sound, the system beep and a
// request for attention. The desktop program supplies one; without it the core stays silent.
#pragma once

#include <QString>

class QBUserAlert
{
public:
    virtual ~QBUserAlert() = default;

    // False when no sound of that name exists; nothing is played then.
    virtual bool playSound(const QString &name) = 0;
    virtual void beep() = 0;
    // An informational request, never a critical one.
    virtual void requestAttention() = 0;
};
