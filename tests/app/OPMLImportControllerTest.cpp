#include "app/OPMLImportController.h"

#include "AppTestLibrary.h"
#include "model/LibraryArchive.h"

#include <QCheckBox>
#include <QDialog>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedWidget>
#include <QTabBar>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// Ferry sits two folders down, Canal one, Loose at the top: document order Ferry, Canal, Loose.
const QByteArray nestedList = "<?xml version=\"1.0\"?><opml version=\"1.0\"><body>"
                              "<outline text=\"Boats\"><outline text=\"Rivers\">"
                              "<outline text=\"Ferry\" xmlUrl=\"http://127.0.0.1:9/ferry.xml\"/></outline>"
                              "<outline text=\"Canal\" xmlUrl=\"http://127.0.0.1:9/canal.xml\"/></outline>"
                              "<outline text=\"Loose\" xmlUrl=\"http://127.0.0.1:9/loose.xml\"/>"
                              "</body></opml>";

QStringList titlesOf(const TreeNodeList &nodes)
{
    QStringList titles;
    for (const TreeNodePtr &node : nodes) {
        if (const auto feed = std::dynamic_pointer_cast<Feed>(node))
            titles << feed->title();
        else if (const auto folder = std::dynamic_pointer_cast<Folder>(node))
            titles << folder->title();
    }
    return titles;
}

class OPMLImportTest : public ::testing::Test
{
protected:
    OPMLImportTest()
    {
        modifiedObserver = t.center.addObserver("feedLibraryModified", [this](const Notification &n) {
            ++modifiedPosts;
            EXPECT_FALSE(n.object.isValid());
        });
    }
    ~OPMLImportTest() override { t.center.removeObserver(modifiedObserver); }

    QString write(const QString &name, const QByteArray &bytes)
    {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

    void openSheet(const QByteArray &bytes = nestedList)
    {
        controller.runOPMLImporterWithFile(write("list.opml", bytes), &mainWindow);
        ASSERT_TRUE(controller.window()->isVisible());
        iconsBefore = t.updater.queuedDownloads().size();
    }

    qsizetype iconsQueued() const { return t.updater.queuedDownloads().size() - iconsBefore; }

    // The top level as the saved library file holds it.
    static QStringList savedTopLevel()
    {
        QFile file(FeedLibrary::libraryFilePath());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const TreeNodePtr root = LibraryArchive::unarchiveRoot(file.readAll());
        return root ? titlesOf(root->children()) : QStringList();
    }

    AppTestLibrary t;
    QWidget mainWindow;
    QTemporaryDir folder;
    OPMLImportController controller{t.library, t.updater, t.center};
    int modifiedObserver = 0;
    int modifiedPosts = 0;
    qsizetype iconsBefore = 0;
};

TEST_F(OPMLImportTest, ImportAllWithFoldersKeptAddsTheNestedFoldersAfterTheLibrarysOwnAndSaves)
{
    openSheet();
    EXPECT_EQ(controller.feedCountLabel()->text(), "This file holds 3 feeds.");
    EXPECT_EQ(controller.window()->parentWidget(), &mainWindow);

    controller.importAllButton()->click();

    EXPECT_FALSE(controller.window()->isVisible());
    const TreeNodeList top = t.library.root()->children();
    EXPECT_EQ(titlesOf(top), QStringList({"Harbour Notes", "Small Kitchen", "Science", "Boats", "Loose"}));
    const TreeNodePtr boats = top.at(3);
    EXPECT_EQ(boats->kindOfObject(), TreeNode::FolderKind);
    EXPECT_EQ(boats->parent(), t.library.root());
    EXPECT_EQ(titlesOf(boats->children()), QStringList({"Rivers", "Canal"}));
    EXPECT_EQ(titlesOf(boats->children().at(0)->children()), QStringList({"Ferry"}));
    EXPECT_EQ(t.library.allFeeds().size(), 6);
    EXPECT_EQ(iconsQueued(), 3);
    EXPECT_EQ(modifiedPosts, 1);
    EXPECT_EQ(savedTopLevel(), titlesOf(top));
    EXPECT_TRUE(controller.importedFeeds().isEmpty()) << "the controller lets go of the file's feeds";
    EXPECT_FALSE(controller.importedFolder());
}

TEST_F(OPMLImportTest, ImportAllWithoutFoldersPutsTheFeedsFirstInReverseOrderAndDropsTheFolders)
{
    openSheet();
    controller.preserveFoldersCheckBox()->setChecked(false);
    controller.doImportAll();

    EXPECT_EQ(titlesOf(t.library.root()->children()),
              QStringList({"Loose", "Canal", "Ferry", "Harbour Notes", "Small Kitchen", "Science"}));
    for (const TreeNodePtr &node : t.library.root()->children().mid(0, 3))
        EXPECT_EQ(node->parent(), t.library.root());
    EXPECT_EQ(iconsQueued(), 3);
    EXPECT_EQ(modifiedPosts, 1);
}

TEST_F(OPMLImportTest, ImportSelectedAddsOnlyTheTickedFeedsAtTheTopOfTheSelectedFolder)
{
    openSheet();
    controller.importMethodSelector()->setCurrentIndex(1);
    EXPECT_TRUE(controller.importSelectedButton()->isVisibleTo(controller.window()));
    EXPECT_FALSE(controller.importAllButton()->isVisibleTo(controller.window()));

    QListWidget *list = controller.feedList();
    ASSERT_EQ(list->count(), 3);
    list->item(1)->setCheckState(Qt::Checked);
    list->item(2)->setCheckState(Qt::Checked);
    list->item(2)->setCheckState(Qt::Unchecked);
    list->item(2)->setCheckState(Qt::Checked);
    EXPECT_TRUE(controller.importedFeeds().at(1)->specialSelection());
    EXPECT_FALSE(controller.importedFeeds().at(0)->specialSelection());

    // A selected feed stands for the folder that holds it.
    t.library.setSelectedItems({t.sky});
    controller.importSelectedButton()->click();

    EXPECT_EQ(titlesOf(t.folder->children()), QStringList({"Loose", "Canal", "Night Sky"}));
    EXPECT_EQ(t.folder->children().at(0)->parent(), t.folder);
    EXPECT_EQ(t.library.root()->children().size(), 3);
    EXPECT_EQ(iconsQueued(), 2);
    EXPECT_EQ(modifiedPosts, 1);
    EXPECT_EQ(list->count(), 0);
}

TEST_F(OPMLImportTest, TheFileChooserLeadsToTheSheetAndFilesHandedOverWhileItIsUpEachGetTheirTurn)
{
    controller.runOPMLImporterForWindow(&mainWindow);
    QFileDialog *chooser = controller.openPanel();
    ASSERT_NE(chooser, nullptr);
    EXPECT_EQ(chooser->parentWidget(), &mainWindow);
    EXPECT_EQ(chooser->fileMode(), QFileDialog::ExistingFile);
    EXPECT_TRUE(chooser->nameFilters().join(' ').contains("*.opml"));
    chooser->selectFile(write("chosen.opml", nestedList));
    static_cast<QDialog *>(chooser)->accept();
    ASSERT_TRUE(controller.window()->isVisible());
    controller.runOPMLImporterWithFile(write("second.opml", nestedList), &mainWindow);
    controller.runOPMLImporterWithFile(write("third.opml", "<opml><body/></opml>"), &mainWindow);
    EXPECT_EQ(controller.feedList()->count(), 3) << "the first file's sheet stays as it was";
    controller.doImportAll();
    EXPECT_EQ(t.library.allFeeds().size(), 6);
    ASSERT_TRUE(QTest::qWaitFor([this] { return controller.window()->isVisible(); }));
    EXPECT_EQ(controller.feedList()->count(), 3);
    controller.doCancel();
    ASSERT_TRUE(QTest::qWaitFor([this] { return controller.window()->isVisible(); }));
    EXPECT_EQ(controller.feedCountLabel()->text(), "This file holds 0 feeds.");
    controller.doCancel();
    QCoreApplication::processEvents();
    EXPECT_FALSE(controller.window()->isVisible());
}

TEST_F(OPMLImportTest, AFileWithoutFeedsLeavesOnlyCancelAndCancelOrEscapeAddNothingButStillSaveAndAnnounce)
{
    openSheet("<html><body><p>Not a subscription list</p></body></html>");
    EXPECT_EQ(controller.feedCountLabel()->text(), "This file holds 0 feeds.");
    EXPECT_FALSE(controller.importAllButton()->isEnabled());
    EXPECT_FALSE(controller.importSelectedButton()->isEnabled());
    t.harbour->setTitle("Harbour Notes, renamed");
    controller.cancelButton()->click();
    EXPECT_EQ(t.library.allFeeds().size(), 3);
    EXPECT_EQ(modifiedPosts, 1);
    EXPECT_EQ(savedTopLevel().value(0), "Harbour Notes, renamed");

    // A file that cannot be read is reported, and the sheet still comes up, empty.
    controller.runOPMLImporterWithFile(folder.filePath("missing.opml"), &mainWindow);
    EXPECT_NE(controller.window()->findChild<QMessageBox *>(), nullptr);
    EXPECT_EQ(controller.feedCountLabel()->text(), "This file holds 0 feeds.");
    EXPECT_FALSE(controller.importAllButton()->isEnabled());

    // The buttons come back for the next file that has feeds.
    controller.doCancel();
    openSheet();
    EXPECT_TRUE(controller.importAllButton()->isEnabled());
    EXPECT_TRUE(controller.importSelectedButton()->isEnabled());
    controller.window()->reject();
    EXPECT_EQ(t.library.allFeeds().size(), 3);
    EXPECT_EQ(iconsQueued(), 0);
    EXPECT_EQ(modifiedPosts, 3);
}

} // namespace
