// A user's folder in the library tree. Its unread count is always computed afresh from its
// feeds and sub-folders; it never caches one.
#pragma once

#include "model/TreeNode.h"

class Folder : public TreeNode
{
public:
    Folder() = default;

    int kindOfObject() const override { return FolderKind; }

    QString title() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }
    bool locked() const { return m_locked; }
    void setLocked(bool locked) { m_locked = locked; }

    int unreadCount() const override;
    bool hasNewArticles() const override;
    QString description() const override;

    QString archiveClassName() const override { return QStringLiteral("Folder"); }
    void encodeWithCoder(KeyedArchiver &coder) const override;
    void initWithCoder(KeyedUnarchiver &coder) override;

private:
    QString m_title;
    bool m_locked = false;
};
