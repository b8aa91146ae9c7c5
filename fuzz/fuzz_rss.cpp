// Runs arbitrary bytes, read as UTF-8 text, through the RSS reader into a scratch feed. The library is
// never loaded, so nothing is written to disk and every input is read on its own.
#include "fetch/ImagingService.h"
#include "reading/QBLiberalRSSParser.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static FeedLibrary library;
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    QBLiberalRSSParser parser(text, library);
    parser.setFeed(std::make_shared<Feed>());
    parser.parse();
    // Nothing fetches thumbnails here, so the queue is emptied before it grows with every input.
    ImagingService &images = ImagingService::sharedImagingService();
    for (const ArticlePtr &article : images.queue())
        images.removeFromQueue(article);
    return 0;
}
