// Runs arbitrary bytes through the Atom reader into a scratch feed. The library is never loaded, so
// nothing is written to disk; new articles are only kept in memory and their thumbnails only queued.
#include "fetch/ImagingService.h"
#include "reading/QBAtomParser.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QBAtomParser parser(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    auto feed = std::make_shared<Feed>();
    parser.setFeed(feed);
    parser.parse();
    // The queue outlives every input; emptying it keeps one run from growing into the next.
    ImagingService &imaging = ImagingService::sharedImagingService();
    for (const ArticlePtr &article : imaging.queue())
        imaging.removeFromQueue(article);
    return 0;
}
