// Turns a feed: address the desktop hands the program into the web address to subscribe to, and asks
// for the subscribe panel with it. It never downloads anything and never opens a window itself.
#pragma once

#include <QString>
#include <QUrl>
#include <functional>

class URLHandlerCommand
{
public:
    using Beep = std::function<void()>;
    using NewChannelRequest = std::function<void(const QUrl &)>;

    // The direct parameter is the address text as the desktop gave it.
    URLHandlerCommand(const QString &directParameter, Beep beep, NewChannelRequest requestNewChannel);

    // Text too short to name anything beeps; anything else becomes a request for a new channel.
    void performDefaultImplementation() const;

    // feed://host/x gives http://host/x, feed:https://host/x gives https://host/x, and text without a
    // web scheme gets http:// in front.
    static QString webAddress(const QString &text);

private:
    QString m_directParameter;
    Beep m_beep;
    NewChannelRequest m_requestNewChannel;
};
