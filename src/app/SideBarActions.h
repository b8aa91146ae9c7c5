// What the main window and the menus ask of the side bar: the news bin, reading aloud and sharing.
// The side bar answers; callers never reach into its widgets.
#pragma once

#include "model/Article.h"
#include "model/TreeNode.h"

class SideBarActions
{
public:
    virtual ~SideBarActions() = default;

    virtual void clearSelection() = 0;
    // Into and out of the news clippings.
    virtual void doAdd(const ArticlePtr &article) = 0;
    virtual void doRemove(const TreeNodePtr &clipping) = 0;
    virtual void speakArticle(const ArticlePtr &article) = 0;
    virtual void postArticleToWeblogEditor(const ArticlePtr &article) = 0;
    virtual void postArticleInEmail(const ArticlePtr &article) = 0;
    // Services 1 to 5: Digg, Delicious, Instapaper, Twitter, Facebook.
    virtual void postArticle(const ArticlePtr &article, int toService) = 0;
};
