#include "fetch/URLHandlerCommand.h"

#include <utility>

namespace {
// "feed:" and one more character is the shortest text that can name anything.
constexpr qsizetype shortestAddress = 6;
} // namespace

URLHandlerCommand::URLHandlerCommand(const QString &directParameter, Beep beep,
                                     NewChannelRequest requestNewChannel)
    : m_directParameter(directParameter), m_beep(std::move(beep)),
      m_requestNewChannel(std::move(requestNewChannel))
{
}

void URLHandlerCommand::performDefaultImplementation() const
{
    if (m_directParameter.size() < shortestAddress) {
        if (m_beep)
            m_beep();
        return;
    }
    if (m_requestNewChannel)
        m_requestNewChannel(QUrl(webAddress(m_directParameter)));
}

QString URLHandlerCommand::webAddress(const QString &text)
{
    QString address = text;
    if (address.startsWith(QStringLiteral("feed://")))
        address.remove(0, 7);
    else if (address.startsWith(QStringLiteral("feed:")))
        address.remove(0, 5);
    if (!address.startsWith(QStringLiteral("http://")) && !address.startsWith(QStringLiteral("https://")))
        address.prepend(QStringLiteral("http://"));
    return address;
}
