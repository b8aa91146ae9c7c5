#include "app/FeedEditorController.h"

#include "AppTestDoubles.h"
#include "AppTestLibrary.h"
#include "TestFiles.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <gtest/gtest.h>

namespace {

class EditorTest : public ::testing::Test
{
protected:
    // The observers live in the fixture's own center, which goes with the fixture.
    EditorTest()
    {
        t.center.addObserver("feedLibraryModified", [this](const Notification &) { ++modified; });
        t.center.addObserver("EnclosureSelectionChanged", [this](const Notification &n) {
            clicked.append(n.object.value<std::shared_ptr<Enclosure>>());
        });
    }

    void select(const FeedPtr &feed)
    {
        t.library.setSelectedItems({feed});
        t.center.post("feedSelectionChanged");
    }

    static std::shared_ptr<Enclosure> enclosure(const QString &name, const QString &localFile = {})
    {
        auto enclosure = std::make_shared<Enclosure>();
        enclosure->setLink(QUrl("http://127.0.0.1:9/" + name));
        enclosure->setLocalFilePath(localFile);
        return enclosure;
    }

    static bool transparent(const QImage &image)
    {
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixelColor(x, y).alpha() != 0)
                    return false;
        return true;
    }

    AppTestLibrary t;
    RecordingDesktop desktop;
    FeedEditorController editor{t.library, t.center, desktop, nullptr};
    int modified = 0;
    QList<std::shared_ptr<Enclosure>> clicked;
};

} // namespace

TEST_F(EditorTest, TheSelectedFeedIsShownValuesWithoutAnItemShowTheThirtyItemAndDescriptionLinksOpenOutside)
{
    t.harbour->setUpdateInterval(45);
    t.harbour->setRetentionPeriod(7);
    t.kitchen->setUpdateInterval(-1);
    t.kitchen->setRetentionPeriod(400);
    {
        // An editor that went stops hearing the selection.
        FeedEditorController gone(t.library, t.center, desktop, nullptr);
    }
    t.library.setSelectedItems({t.kitchen, t.harbour});
    t.center.post("feedSelectionChanged");

    EXPECT_EQ(editor.feed(), t.harbour) << "the last selected feed";
    EXPECT_EQ(editor.windowTitle(), "Harbour Notes");
    EXPECT_EQ(editor.panelTitleField()->text(), "Harbour Notes");
    EXPECT_EQ(editor.feedTitleField()->text(), "Harbour Notes");
    EXPECT_EQ(editor.webLinkField()->text(), t.harbour->link().toString());
    EXPECT_EQ(editor.feedLinkField()->text(), t.harbour->feed().toString());
    EXPECT_EQ(editor.refreshIntervalPopUp()->currentData().toInt(), 30);
    EXPECT_EQ(editor.retentionPeriodPopUp()->currentData().toInt(), 7);
    EXPECT_TRUE(editor.descriptionWebView()->toPlainText().contains("No description available"));
    EXPECT_FALSE(editor.iconImageView()->pixmap().isNull());
    EXPECT_EQ(editor.refreshStatusField()->text(), "Not yet refreshed");

    // A refresh that ends while the feed is shown shows its outcome at once.
    t.harbour->setFailureReason("404 Not Found");
    t.center.post("feedDownloaded", QVariant::fromValue(t.harbour));
    EXPECT_EQ(editor.refreshStatusField()->text(), "Failed: 404 Not Found");
    t.harbour->setLastSucceeded(QDateTime(QDate(2026, 3, 1), QTime(8, 0), Qt::UTC));
    t.center.post("feedDownloaded", QVariant::fromValue(t.harbour));
    EXPECT_TRUE(editor.refreshStatusField()->text().startsWith("Failed: 404 Not Found (last succeeded "));

    select(t.kitchen);
    EXPECT_EQ(editor.refreshIntervalPopUp()->currentData().toInt(), -1);
    EXPECT_EQ(editor.retentionPeriodPopUp()->currentData().toInt(), 30);

    // Description links open in the browser and the view stays.
    t.sky->setDescription("Notes from the <a href=\"http://127.0.0.1:9/quay\">quay</a>.");
    select(t.sky);
    EXPECT_TRUE(editor.descriptionWebView()->toPlainText().contains("Notes from the quay."));
    const QString before = editor.descriptionWebView()->toHtml();
    emit editor.descriptionWebView()->anchorClicked(QUrl("http://127.0.0.1:9/quay"));
    EXPECT_EQ(desktop.opened.value(0).first, QUrl("http://127.0.0.1:9/quay"));
    EXPECT_EQ(editor.descriptionWebView()->toHtml(), before);
}

TEST_F(EditorTest, EditsReachTheFeedAndBadAddressesBeepAndComeBack)
{
    select(t.harbour);
    const QUrl link = t.harbour->link();

    editor.feedTitleField()->setText("Harbour Log");
    editor.webLinkField()->setText("http://exa mple.com/");
    editor.feedLinkField()->setText("https://127.0.0.1:9/log.xml");
    editor.refreshIntervalPopUp()->setCurrentIndex(editor.refreshIntervalPopUp()->findData(120));
    editor.retentionPeriodPopUp()->setCurrentIndex(editor.retentionPeriodPopUp()->findData(-1));
    editor.doFeedChanged();

    EXPECT_EQ(desktop.beeps, 1);
    EXPECT_EQ(t.harbour->link(), link);
    EXPECT_EQ(editor.webLinkField()->text(), link.toString());
    EXPECT_EQ(t.harbour->title(), "Harbour Log");
    EXPECT_EQ(editor.panelTitleField()->text(), "Harbour Log");
    EXPECT_EQ(t.harbour->feed(), QUrl("https://127.0.0.1:9/log.xml"));
    EXPECT_EQ(t.harbour->updateInterval(), 120);
    EXPECT_EQ(t.harbour->retentionPeriod(), -1);
    EXPECT_EQ(modified, 1);

    editor.feedLinkField()->setText("no address at all");
    editor.doFeedChanged();
    EXPECT_EQ(desktop.beeps, 2);
    EXPECT_EQ(editor.feedLinkField()->text(), "https://127.0.0.1:9/log.xml");

    t.kitchen->setLink(QUrl());
    select(t.kitchen);
    editor.feedTitleField()->setText("Kitchen");
    editor.doFeedChanged();
    EXPECT_EQ(desktop.beeps, 2) << "a feed without a web site can still be renamed";
    EXPECT_EQ(t.kitchen->title(), "Kitchen");
}

TEST_F(EditorTest, TheEnclosureTableShowsTypeTitleAndSavedStateAndAClickAnnouncesTheEnclosure)
{
    QTemporaryDir folder;
    writeFile(folder.filePath("tide.mp3"), {});
    select(t.harbour);
    editor.setEnclosures({enclosure("tide.mp3", folder.filePath("tide.mp3")),
                          enclosure("wind.pdf", folder.filePath("gone.pdf")), enclosure("gull.ogg")});
    editor.applyFeedSelectionToUI();

    EXPECT_EQ(editor.rowCount(), 3);
    EXPECT_EQ(editor.podcastTable()->rowCount(), 3);
    EXPECT_EQ(editor.cellValue("title", 1).toString(), "wind.pdf");
    const QImage savedMark = editor.cellValue("downloaded", 0).value<QImage>();
    EXPECT_EQ(savedMark.size(), QSize(16, 16));
    EXPECT_FALSE(transparent(savedMark));
    EXPECT_TRUE(transparent(editor.cellValue("downloaded", 1).value<QImage>())) << "its file is gone";
    EXPECT_TRUE(transparent(editor.cellValue("downloaded", 2).value<QImage>()));
    EXPECT_EQ(editor.cellValue("downloaded", 2).value<QImage>().size(), QSize(16, 16));
    EXPECT_EQ(editor.cellValue("icon", 0).value<QImage>().size(), QSize(16, 16));
    EXPECT_EQ(editor.cellValue("size", 0).toString(), "???");
    EXPECT_EQ(editor.cellValue("title", 3).toString(), "");

    editor.doPodcastTableClick();
    EXPECT_TRUE(clicked.isEmpty()) << "nothing is selected yet";
    editor.podcastTable()->selectRow(2);
    editor.doPodcastTableClick();
    ASSERT_EQ(clicked.size(), 1);
    EXPECT_EQ(clicked.at(0), editor.enclosures().at(2));
}
