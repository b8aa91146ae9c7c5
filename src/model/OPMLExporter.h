// Writes the library tree as an OPML subscription list, the form other readers import. It never changes
// the tree, and a failed write leaves whatever file was at the path as it was.
#pragma once

#include "model/TreeNode.h"

#include <QString>

class OPMLExporter
{
public:
    // The root's children are exported; the root itself gets no outline of its own.
    explicit OPMLExporter(const TreeNodePtr &root);

    // The whole document. Every outline sits at two tabs' indent whatever its depth.
    QString text() const;
    // The text as UTF-8, written to a temporary file and renamed over the path only once complete.
    bool saveToOPMLFile(const QString &path);
    // Why the last save failed; empty after a save that worked.
    QString errorString() const { return m_errorString; }

    static QString escapedAttribute(const QString &value);

private:
    static void appendOutlines(QString &text, const TreeNodePtr &parent);

    TreeNodePtr m_root;
    QString m_errorString;
};
