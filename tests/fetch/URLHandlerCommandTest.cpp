#include "fetch/URLHandlerCommand.h"

#include <QStringList>
#include <gtest/gtest.h>

namespace {

struct Outcome
{
    int beeps = 0;
    QList<QUrl> requests;
};

Outcome handle(const QString &text)
{
    Outcome outcome;
    URLHandlerCommand command(
        text, [&] { ++outcome.beeps; }, [&](const QUrl &url) { outcome.requests.append(url); });
    command.performDefaultImplementation();
    return outcome;
}

} // namespace

TEST(URLHandlerCommand, FeedAddressesBecomeWebAddressesAndTextShorterThanSixCharactersBeeps)
{
    const QList<std::pair<QString, QString>> rows = {
        {"feed:https://host.example/x", "https://host.example/x"},
        {"feed://host.example/x", "http://host.example/x"},
        {"feed:host.example/x", "http://host.example/x"},
        {"https://host.example/x", "https://host.example/x"},
        {"feed:h", "http://h"},
        {"feed:", ""},
        {"", ""}};
    for (const auto &[text, address] : rows) {
        const Outcome outcome = handle(text);
        EXPECT_EQ(outcome.requests, address.isEmpty() ? QList<QUrl>() : QList<QUrl>{QUrl(address)})
            << text.toStdString();
        EXPECT_EQ(outcome.beeps, address.isEmpty() ? 1 : 0) << text.toStdString();
    }
}
