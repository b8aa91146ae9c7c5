#include "app/AddFeedPanel.h"

#include "AppTestDoubles.h"
#include "AppTestLibrary.h"
#include "EventLoopWait.h"
#include "LoopbackServer.h"

#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

using Response = LoopbackServer::Response;

const QByteArray ferryFeed = "<?xml version=\"1.0\"?><rss version=\"2.0\"><channel><title>Ferry Times</title>"
                             "<link>http://127.0.0.1/</link><item><title>Morning crossing</title>"
                             "<guid>ferry-1</guid></item></channel></rss>";

class PanelTest : public ::testing::Test
{
protected:
    void settle()
    {
        waitUntil([this] { return !panel.controller().download(); }, 5000);
    }

    void addAddress(const QUrl &url)
    {
        panel.present(url);
        panel.doAddFeed();
        settle();
    }

    bool addressIsRed() const
    {
        return panel.addressField()->palette().color(QPalette::Text) == QColor(Qt::red);
    }

    AppTestLibrary t;
    RecordingDesktop desktop;
    AddFeedPanel panel{t.library, t.updater, t.defaults, t.center, desktop, nullptr};
    LoopbackServer server;
};

} // namespace

TEST_F(PanelTest, TheClipboardOffersWebAndFeedAddressesOnlyAGivenAddressWinsAndTheFolderPopUpListsEveryFolder)
{
    QGuiApplication::clipboard()->setText("ftp://127.0.0.1/files");
    panel.setFeedAddressFromClipboard();
    EXPECT_TRUE(panel.addressField()->text().isEmpty());
    QGuiApplication::clipboard()->setText("feed://127.0.0.1/news.xml");
    panel.setFeedAddressFromClipboard();
    EXPECT_EQ(panel.addressField()->text(), "feed://127.0.0.1/news.xml");
    QGuiApplication::clipboard()->setText("http://127.0.0.1/page");
    panel.present(QUrl("http://127.0.0.1/given.xml"));
    EXPECT_EQ(panel.addressField()->text(), "http://127.0.0.1/given.xml");

    QComboBox *popUp = panel.folderPopUpButton();
    ASSERT_EQ(popUp->count(), 1 + t.library.allFolders().size());
    EXPECT_EQ(popUp->currentIndex(), 0) << "the library itself first";
    EXPECT_EQ(popUp->itemText(1), "Science");
    for (int i = 0; i < popUp->count(); ++i)
        EXPECT_FALSE(popUp->itemIcon(i).isNull()) << i;
    popUp->setCurrentIndex(1);
    EXPECT_EQ(panel.controller().folder(), t.folder);
    panel.windowDidBecomeKey();
    EXPECT_EQ(popUp->currentIndex(), 1) << "filling the menu again keeps the choice";
    panel.doCancel();

    QGuiApplication::clipboard()->setText("just some words");
    panel.present(QUrl());
    EXPECT_TRUE(panel.addressField()->text().isEmpty());
    panel.doCancel();
}

TEST_F(PanelTest, TheSheetShowsEachStepOfAnAddAndClosesOnlyWithAFeedAtTheTopOfTheChosenFolderOrOnCancel)
{
    server.route("/empty.xml",
                 Response::ok("<?xml version=\"1.0\"?><rss version=\"2.0\"><channel>"
                              "<title>Quiet</title><link>http://127.0.0.1/</link></channel></rss>",
                              "application/rss+xml"));
    Response broken = Response::ok(ferryFeed, "application/rss+xml");
    broken.closeMidBody = true;
    server.route("/broken.xml", broken);
    Response slow = Response::ok(ferryFeed, "application/rss+xml");
    slow.delayMs = 300;
    server.route("/slow.xml", slow);
    server.route("/ferry.xml", Response::ok(ferryFeed, "application/rss+xml"));
    const qsizetype before = t.library.allFeeds().size();
    QSignalSpy finished(&panel, &QDialog::finished);

    addAddress(server.url("/empty.xml"));
    EXPECT_TRUE(panel.isVisible());
    EXPECT_TRUE(addressIsRed());
    EXPECT_TRUE(panel.addButton()->isEnabled());
    EXPECT_FALSE(panel.addressField()->isReadOnly());
    EXPECT_TRUE(panel.spinner()->isHidden());
    QTest::keyClick(panel.addressField(), Qt::Key_X);
    EXPECT_FALSE(addressIsRed());
    EXPECT_EQ(panel.controller().address(), server.url("/empty.xml").toString() + "x");

    addAddress(server.url("/broken.xml"));
    EXPECT_EQ(desktop.beeps, 1);
    EXPECT_TRUE(panel.isVisible());
    EXPECT_TRUE(panel.addButton()->isEnabled());

    panel.addressField()->setText(server.url("/slow.xml").toString());
    panel.doAddFeed();
    panel.reject();
    QTest::qWait(500);
    ASSERT_EQ(finished.size(), 1);
    EXPECT_EQ(finished.at(0).at(0).toInt(), 0);
    EXPECT_FALSE(panel.isVisible());
    EXPECT_EQ(t.library.allFeeds().size(), before);

    panel.present(server.url("/ferry.xml"));
    panel.folderPopUpButton()->setCurrentIndex(1);
    panel.doAddFeed();
    EXPECT_FALSE(panel.addButton()->isEnabled());
    EXPECT_TRUE(panel.addressField()->isReadOnly());
    EXPECT_FALSE(panel.spinner()->isHidden());
    settle();
    ASSERT_EQ(finished.size(), 2);
    EXPECT_EQ(finished.at(1).at(0).toInt(), 1);
    EXPECT_FALSE(panel.isVisible());
    const FeedPtr feed = std::dynamic_pointer_cast<Feed>(t.folder->children().value(0));
    ASSERT_TRUE(feed);
    EXPECT_EQ(feed->title(), "Ferry Times");
    EXPECT_EQ(t.library.selectedItems(), TreeNodeList{feed});
    EXPECT_TRUE(panel.addressField()->text().isEmpty());
    EXPECT_TRUE(panel.addButton()->isEnabled());
    EXPECT_TRUE(panel.spinner()->isHidden());
    EXPECT_EQ(desktop.beeps, 1);
}

TEST_F(PanelTest, RunAnswersWhetherAFeedWasAdded)
{
    server.route("/ferry.xml", Response::ok(ferryFeed, "application/rss+xml"));
    QTimer::singleShot(0, &panel, [this] { panel.doAddFeed(); });
    EXPECT_TRUE(panel.run(server.url("/ferry.xml")));

    QTimer::singleShot(0, &panel, [this] {
        EXPECT_FALSE(panel.run(server.url("/second.xml"))) << "a second request goes into the open sheet";
        EXPECT_EQ(panel.addressField()->text(), server.url("/second.xml").toString());
        panel.doCancel();
    });
    EXPECT_FALSE(panel.run(server.url("/ferry.xml")));
}
