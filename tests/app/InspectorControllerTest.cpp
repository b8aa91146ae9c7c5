#include "app/InspectorController.h"

#include "AppTestDoubles.h"
#include "platform/NotificationCenter.h"

#include <QTableWidget>
#include <gtest/gtest.h>

namespace {

FeedPtr feedWithTags(const QStringList &keywords)
{
    auto feed = std::make_shared<Feed>();
    feed->setKeywords(keywords);
    return feed;
}

class InspectorTest : public ::testing::Test
{
protected:
    void select(const QList<FeedPtr> &feeds)
    {
        center.post("channelSelectionChanged", QVariant::fromValue(feeds));
    }

    NotificationCenter center;
    RecordingDesktop desktop;
    InspectorController inspector{center, desktop};
    FeedPtr first = feedWithTags({"a", "b"});
    FeedPtr second = feedWithTags({"b", "c"});
};

} // namespace

TEST_F(InspectorTest, ShowsTheFirstFeedsTagsOnlyOnceItsWindowExistsOrAllOfThemJoinedWhenAsked)
{
    select({first, second});
    EXPECT_TRUE(inspector.channels().isEmpty());

    inspector.showInspector();
    select({first, second});
    EXPECT_EQ(inspector.channels().size(), 2);
    EXPECT_EQ(inspector.tags(), QStringList({"a", "b"}));
    EXPECT_EQ(inspector.tagTable()->rowCount(), 2);
    EXPECT_EQ(inspector.tableView(1), "b");
    EXPECT_EQ(inspector.window()->windowTitle(), "Tags of 2 feeds") << "an edit reaches both";
    inspector._extractTagsFromChannels();
    EXPECT_EQ(inspector.tags(), QStringList({"a", "b", "b", "c"})) << "duplicates are kept";

    // Feeds may also come as tree nodes, among which folders are passed over.
    center.post("channelSelectionChanged",
                QVariant::fromValue(QList<TreeNodePtr>{std::make_shared<Folder>(), second}));
    EXPECT_EQ(inspector.tags(), QStringList({"b", "c"}));
    EXPECT_EQ(inspector.window()->windowTitle(), "Tags of " + second->title());

    select({});
    EXPECT_TRUE(inspector.tags().isEmpty());
    inspector.hideInspector();
    EXPECT_FALSE(inspector.window()->isVisible());
}

TEST_F(InspectorTest, AddingEditingAndRemovingATagChangesEveryInspectedFeedAndRemovingNoRowBeeps)
{
    inspector.showInspector();
    select({first, second});
    inspector.tagTable()->clearSelection();
    inspector.tagTable()->setCurrentCell(-1, -1);
    inspector.removeTag();
    EXPECT_EQ(desktop.beeps, 1);
    EXPECT_EQ(second->keywords(), QStringList({"b", "c"}));

    inspector.addTag();
    EXPECT_EQ(inspector.tags(), QStringList({"a", "b", "Tag"}));
    EXPECT_EQ(inspector.tagTable()->currentRow(), 2);
    EXPECT_EQ(second->keywords(), QStringList({"a", "b", "Tag"}));
    inspector.tagTable()->item(2, 0)->setText("harbour");
    EXPECT_EQ(first->keywords(), QStringList({"a", "b", "harbour"}));
    EXPECT_EQ(second->keywords(), QStringList({"a", "b", "harbour"}));
    inspector.tableView("ghost", 9);
    EXPECT_EQ(inspector.tags().size(), 3) << "a row past the end is not there to edit";

    inspector.tagTable()->selectRow(0);
    inspector.removeTag();
    EXPECT_EQ(desktop.beeps, 1);
    EXPECT_EQ(inspector.tags(), QStringList({"b", "harbour"}));
    EXPECT_EQ(first->keywords(), QStringList({"b", "harbour"}));
    EXPECT_EQ(second->keywords(), QStringList({"b", "harbour"}));
    EXPECT_EQ(inspector.tagTable()->currentRow(), 1) << "the last row";
}
