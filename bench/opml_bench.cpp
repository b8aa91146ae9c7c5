// Measures OPML import at sizes beyond any real subscription list: the time to read a generated file of
// many feeds, in folders of a hundred and all in one folder, and the rate at which bytes are decoded.
#include "reading/OPMLImporter.h"
#include "reading/TextDecoder.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>

namespace {
QByteArray outline(int n)
{
    return QStringLiteral(
               "    <outline text=\"Feed %1 &amp; friends\" title=\"Feed %1 &amp;amp; friends\" type=\"rss\" "
               "xmlUrl=\"https://feeds.example.org/%1.xml\" htmlUrl=\"https://example.org/%1/\" "
               "description=\"News from place %1\" keywords=\"a,b,c\"/>\n")
        .arg(n)
        .toUtf8();
}

QByteArray document(int feeds, int perFolder)
{
    QByteArray text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<opml version=\"1.0\"><body>\n";
    for (int n = 0; n < feeds; ++n) {
        if (n % perFolder == 0)
            text += QStringLiteral("  <outline text=\"Folder %1\">\n").arg(n / perFolder).toUtf8();
        text += outline(n);
        if (n % perFolder == perFolder - 1 || n == feeds - 1)
            text += "  </outline>\n";
    }
    return text + "</body></opml>\n";
}

void measureImport(const QTemporaryDir &scratch, int feeds, int perFolder)
{
    const QString path = scratch.filePath(QStringLiteral("list.opml"));
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    const QByteArray bytes = document(feeds, perFolder);
    file.write(bytes);
    file.close();
    QElapsedTimer timer;
    timer.start();
    const OPMLImporter importer = OPMLImporter::importFeedsFromPath(path);
    std::printf("import: %6d feeds, %5d per folder, %6.1f MB: %lld ms (%d feeds read)\n", feeds, perFolder,
                bytes.size() / 1e6, timer.elapsed(), int(importer.feeds().size()));
}

void measureDecoding(const char *name, const QByteArray &bytes)
{
    QElapsedTimer timer;
    timer.start();
    const auto text = TextDecoder::decode(bytes, QString::fromLatin1(name));
    const qint64 ms = std::max<qint64>(timer.elapsed(), 1);
    std::printf("decode: %-10s %5.1f MB in %lld ms, %6.0f MB/s (%s)\n", name, bytes.size() / 1e6, ms,
                bytes.size() / 1e3 / ms, text ? "ok" : "failed");
}
} // namespace

int main()
{
    QTemporaryDir scratch;
    for (const int feeds : {1000, 10000, 50000}) {
        measureImport(scratch, feeds, 100);
        measureImport(scratch, feeds, feeds);
    }
    const QByteArray latin(20 * 1000 * 1000, '\xe9');
    QByteArray utf8;
    while (utf8.size() < 20 * 1000 * 1000)
        utf8 += "Plain words and caf\xc3\xa9 \xe2\x80\x93 \xf0\x9f\x98\x80 ";
    measureDecoding("iso-8859-1", latin);
    measureDecoding("utf-8", utf8);
    measureDecoding("utf-16", utf8);
    return 0;
}
