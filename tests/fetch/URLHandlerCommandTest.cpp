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

TEST(URLHandlerCommand, FeedAddressesBecomeWebAddressesForTheSubscribePanel)
{
    EXPECT_EQ(handle("feed:https://host.example/x").requests, QList<QUrl>{QUrl("https://host.example/x")});
    EXPECT_EQ(handle("feed://host.example/x").requests, QList<QUrl>{QUrl("http://host.example/x")});
    EXPECT_EQ(handle("feed:http://host.example/x").requests, QList<QUrl>{QUrl("http://host.example/x")});
    EXPECT_EQ(handle("feed:host.example/x").requests, QList<QUrl>{QUrl("http://host.example/x")});
    EXPECT_EQ(handle("https://host.example/x").requests, QList<QUrl>{QUrl("https://host.example/x")});
    EXPECT_EQ(handle("feed:h").requests, QList<QUrl>{QUrl("http://h")}) << "six characters are enough";
}

TEST(URLHandlerCommand, TextShorterThanSixCharactersBeepsAndAsksForNothing)
{
    for (const char *text : {"feed:", "feed", ""}) {
        const Outcome outcome = handle(text);
        EXPECT_EQ(outcome.beeps, 1) << text;
        EXPECT_TRUE(outcome.requests.isEmpty()) << text;
    }
    EXPECT_EQ(handle("feed://x").beeps, 0);
}
