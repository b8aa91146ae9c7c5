// Arranges a page's articles into titled groups (by day, by feed or by read state), caps how many
// are shown and says how often the page had to be cut. It writes through the renderer and never filters.
#pragma once

#include "headlines/HeadlineRenderer.h"
#include "model/TreeNode.h"

class HeadlineArrangement
{
public:
    // The cap is the number of articles this build may show, already multiplied by the paging counter.
    HeadlineArrangement(HeadlineRenderer &renderer, qsizetype cap);

    QString displayArrangedHeadlines(const TreeNodeList &items);
    // How many more-articles bars the last arrangement wrote: the paging counter rises by as much.
    int cuts() const { return m_cuts; }

private:
    QString byState(const QList<ArticlePtr> &articles);
    QString byFeed(const QList<ArticlePtr> &articles);
    QString byDate(const QList<ArticlePtr> &articles);

    HeadlineRenderer &m_renderer;
    qsizetype m_cap;
    int m_cuts = 0;
};
