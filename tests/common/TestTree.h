// Folders and feeds made and added to a library in one line, for tests that build small trees.
#pragma once

#include "model/FeedLibrary.h"

// Appended as the last child of the given node, or of the root without one.
FolderPtr makeFolder(FeedLibrary &library, const QString &title, const TreeNodePtr &into = nullptr);
// With an address on example.org named after the title.
FeedPtr makeFeed(FeedLibrary &library, const QString &title, const TreeNodePtr &into = nullptr);
// Articles of the state, in memory only, appended to the feed, whose unread count is brought up to date.
void addArticles(const FeedPtr &feed, int count, int state = Article::Unread);
