// Writes the library tree into the bytes of a library file and reads them back, knowing every class
// a library file may hold. Unreadable bytes give no tree, never a partial one.
#pragma once

#include "model/TreeNode.h"

#include <QByteArray>

class LibraryArchive
{
public:
    static QByteArray archivedData(const TreeNodePtr &root);
    static TreeNodePtr unarchiveRoot(const QByteArray &data);
};
