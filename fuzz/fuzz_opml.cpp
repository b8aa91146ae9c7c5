// libFuzzer entry for the OPML scanner: any bytes, read as Latin-1 text as an undeclared file is.
// Besides not crashing, the imported tree must stay whole: every feed and the current folder hang
// below the imported-feeds folder, and each feed is a child of its own parent.
#include "reading/OPMLImporter.h"

#include <cstdint>
#include <cstdlib>

namespace {
bool hangsBelow(const TreeNodePtr &node, const TreeNodePtr &top)
{
    TreeNodePtr up = node;
    while (up && up != top)
        up = up->parent();
    return up == top;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    OPMLImporter importer;
    importer.parseOPML(QString::fromLatin1(reinterpret_cast<const char *>(data), qsizetype(size)));
    const auto top = importer.importedFeedsFolder();
    if (!hangsBelow(importer.currentFolder(), top))
        std::abort();
    for (const auto &feed : importer.feeds()) {
        if (!hangsBelow(feed, top) || !feed->parent()->hasChild(feed))
            std::abort();
    }
    return 0;
}
