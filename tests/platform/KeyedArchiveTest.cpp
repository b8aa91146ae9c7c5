#include "LogCapture.h"
#include "platform/ArchiveFormat.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QFile>
#include <QRandomGenerator>
#include <QTimeZone>
#include "FeedCorpus.h"

#include <gtest/gtest.h>

namespace {

// A tree node as the library keeps them: it owns its children and links back to its parent.
class Node : public Archivable
{
public:
    QString name;
    std::weak_ptr<Node> parent;
    QList<std::shared_ptr<Node>> children;
    std::shared_ptr<Archivable> tag;
    Node *parentSeenWhileReading = nullptr;

    QString archiveClassName() const override { return QStringLiteral("Node"); }
    void encodeWithCoder(KeyedArchiver &coder) const override
    {
        coder.encodeString("name", name);
        coder.encodeObject("parent", parent.lock());
        coder.encodeObjectList("children", {children.cbegin(), children.cend()});
        coder.encodeObject("tag", tag);
    }
    void initWithCoder(KeyedUnarchiver &coder) override
    {
        name = coder.decodeString("name");
        const auto decodedParent = std::dynamic_pointer_cast<Node>(coder.decodeObject("parent"));
        parentSeenWhileReading = decodedParent.get();
        parent = decodedParent;
        for (const auto &child : coder.decodeObjectList("children"))
            children.append(std::dynamic_pointer_cast<Node>(child));
        tag = coder.decodeObject("tag");
    }
};

// One value of every kind the archive keeps.
class Values : public Archivable
{
public:
    QString nilText, emptyText = "", text = "zoë \"q\" \n";
    qint32 smallest = std::numeric_limits<qint32>::min(), largest = std::numeric_limits<qint32>::max();
    quint64 huge = std::numeric_limits<quint64>::max();
    double fraction = 0.1;
    bool yes = true, no = false;
    QUrl url = QUrl("http://example.com/a b/é?q=1&r=%2F#frag"), noUrl;
    CalendarDate past = CalendarDate::distantPast();
    CalendarDate nepal =
        CalendarDate(QDateTime(QDate(2006, 5, 17), QTime(14, 32, 7, 250), Qt::UTC), 20700, "%d/%m");
    CalendarDate oddOffset =
        CalendarDate(QDateTime(QDate(1883, 11, 18), QTime(12, 0), Qt::UTC), -17762, QString());
    CalendarDate noDate;
    QDateTime utc = QDateTime(QDate(2020, 2, 29), QTime(23, 59, 59, 999), Qt::UTC);
    QDateTime offset = QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::OffsetFromUTC, -9000);
    QDateTime zoned = QDateTime(QDate(2010, 7, 1), QTime(12, 0), QTimeZone("Europe/Berlin"));
    QDateTime noMoment;
    QStringList words{"a", "", "b c"};
    QString first = "1st", second;
    QUrl third = QUrl("mailto:x@example.com");

    QString archiveClassName() const override { return QStringLiteral("Values"); }
    void encodeWithCoder(KeyedArchiver &coder) const override
    {
        coder.encodeString("nilText", nilText);
        coder.encodeString("emptyText", emptyText);
        coder.encodeString("text", text);
        coder.encodeInt32("smallest", smallest);
        coder.encodeInt32("largest", largest);
        coder.encodeUInt64("huge", huge);
        coder.encodeDouble("fraction", fraction);
        coder.encodeBool("yes", yes);
        coder.encodeBool("no", no);
        coder.encodeUrl("url", url);
        coder.encodeUrl("noUrl", noUrl);
        coder.encodeCalendarDate("past", past);
        coder.encodeCalendarDate("nepal", nepal);
        coder.encodeCalendarDate("oddOffset", oddOffset);
        coder.encodeCalendarDate("noDate", noDate);
        coder.encodeDateTime("utc", utc);
        coder.encodeDateTime("offset", offset);
        coder.encodeDateTime("zoned", zoned);
        coder.encodeDateTime("noMoment", noMoment);
        coder.encodeStringList("words", words);
        coder.encodeNextString(first);
        coder.encodeNextString(second);
        coder.encodeNextUrl(third);
    }
    void initWithCoder(KeyedUnarchiver &coder) override
    {
        nilText = coder.decodeString("nilText");
        emptyText = coder.decodeString("emptyText");
        text = coder.decodeString("text");
        smallest = coder.decodeInt32("smallest");
        largest = coder.decodeInt32("largest");
        huge = coder.decodeUInt64("huge");
        fraction = coder.decodeDouble("fraction");
        yes = coder.decodeBool("yes");
        no = coder.decodeBool("no");
        url = coder.decodeUrl("url");
        noUrl = coder.decodeUrl("noUrl");
        past = coder.decodeCalendarDate("past");
        nepal = coder.decodeCalendarDate("nepal");
        oddOffset = coder.decodeCalendarDate("oddOffset");
        noDate = coder.decodeCalendarDate("noDate");
        utc = coder.decodeDateTime("utc");
        offset = coder.decodeDateTime("offset");
        zoned = coder.decodeDateTime("zoned");
        noMoment = coder.decodeDateTime("noMoment");
        words = coder.decodeStringList("words");
        first = coder.decodeNextString();
        second = coder.decodeNextString();
        third = coder.decodeNextUrl();
    }
};

// Reads the key "value" with the decoder its kind names, to meet values of other types.
class TypedReader : public Archivable
{
public:
    explicit TypedReader(const QString &kind) : m_kind(kind) {}

    QString archiveClassName() const override { return QStringLiteral("Node"); }
    void encodeWithCoder(KeyedArchiver &) const override {}
    void initWithCoder(KeyedUnarchiver &coder) override
    {
        const QHash<QString, std::function<void()>> decoders{
            {"string", [&] { coder.decodeString("value"); }},
            {"int32", [&] { coder.decodeInt32("value"); }},
            {"uint64", [&] { coder.decodeUInt64("value"); }},
            {"double", [&] { coder.decodeDouble("value"); }},
            {"bool", [&] { coder.decodeBool("value"); }},
            {"url", [&] { coder.decodeUrl("value"); }},
            {"calendarDate", [&] { coder.decodeCalendarDate("value"); }},
            {"dateTime", [&] { coder.decodeDateTime("value"); }},
            {"stringList", [&] { coder.decodeStringList("value"); }},
        };
        decoders.value(m_kind)();
    }

private:
    QString m_kind;
};

const KeyedUnarchiver::ClassTable Classes{{"Node", [] { return std::make_shared<Node>(); }},
                                          {"Values", [] { return std::make_shared<Values>(); }}};

std::shared_ptr<Node> makeNode(const QString &name, const std::shared_ptr<Node> &parent = nullptr)
{
    auto node = std::make_shared<Node>();
    node->name = name;
    if (parent) {
        node->parent = parent;
        parent->children.append(node);
    }
    return node;
}

QByteArray archiveOf(const QCborArray &objects,
                     const QCborValue &root = QCborValue(ArchiveFormat::ObjectReferenceTag, 0))
{
    const QCborMap archive{{ArchiveFormat::FormatKey, ArchiveFormat::Marker},
                           {ArchiveFormat::VersionKey, 1},
                           {ArchiveFormat::ClassesKey, QCborMap{{"Node", 0}}},
                           {ArchiveFormat::ObjectsKey, objects},
                           {ArchiveFormat::RootKey, root}};
    return QCborValue(archive).toCbor();
}

QCborMap nodeEntry(const QCborMap &values)
{
    return QCborMap{{ArchiveFormat::ClassKey, "Node"}, {ArchiveFormat::ValuesKey, values}};
}

QCborValue reference(qint64 index)
{
    return QCborValue(ArchiveFormat::ObjectReferenceTag, index);
}


} // namespace

TEST(KeyedArchive, SharedObjectsAreStoredOnceAndAChildsParentReadsBackAsTheSameObject)
{
    auto root = makeNode("root");
    auto folder = makeNode("folder", root);
    auto feed = makeNode("feed", folder);
    auto other = makeNode("other", root);
    auto shared = makeNode("shared");
    feed->tag = shared;
    other->tag = shared;
    root->tag = root;

    const QByteArray data = KeyedArchiver::archivedDataWithRootObject(root);
    EXPECT_EQ(QCborValue::fromCbor(data).toMap().value(ArchiveFormat::ObjectsKey).toArray().size(), 5);

    LogCapture capture;
    auto back = std::dynamic_pointer_cast<Node>(KeyedUnarchiver::unarchiveObjectWithData(data, Classes));
    ASSERT_TRUE(back);
    EXPECT_TRUE(capture.lines().isEmpty());
    ASSERT_EQ(back->children.size(), 2);
    const auto backFolder = back->children.at(0);
    const auto backOther = back->children.at(1);
    ASSERT_EQ(backFolder->children.size(), 1);
    const auto backFeed = backFolder->children.at(0);
    EXPECT_EQ(backFeed->name, "feed");
    EXPECT_EQ(backFeed->parent.lock(), backFolder);
    EXPECT_EQ(backFolder->parentSeenWhileReading, back.get());
    EXPECT_EQ(backOther->parent.lock(), back);
    EXPECT_EQ(back->tag, back);
    ASSERT_TRUE(backFeed->tag);
    EXPECT_EQ(backFeed->tag, backOther->tag);
    EXPECT_EQ(std::dynamic_pointer_cast<Node>(backFeed->tag)->name, "shared");
    EXPECT_TRUE(back->parent.expired());
    back->tag.reset();
    root->tag.reset();
}

TEST(KeyedArchive, EveryValueTypeReadsBackWithItsType)
{
    auto values = std::make_shared<Values>();
    values->second = QString();
    const QByteArray data = KeyedArchiver::archivedDataWithRootObject(values);

    auto back = std::dynamic_pointer_cast<Values>(KeyedUnarchiver::unarchiveObjectWithData(data, Classes));
    ASSERT_TRUE(back);
    const Values expected;
    EXPECT_TRUE(back->nilText.isNull());
    EXPECT_FALSE(back->emptyText.isNull());
    EXPECT_TRUE(back->emptyText.isEmpty());
    EXPECT_EQ(back->text, expected.text);
    EXPECT_EQ(back->smallest, expected.smallest);
    EXPECT_EQ(back->largest, expected.largest);
    EXPECT_EQ(back->huge, expected.huge);
    EXPECT_EQ(back->fraction, 0.1);
    EXPECT_TRUE(back->yes);
    EXPECT_FALSE(back->no);
    EXPECT_EQ(back->url, expected.url);
    EXPECT_TRUE(back->noUrl.isEmpty());
    EXPECT_EQ(back->past, CalendarDate::distantPast());
    EXPECT_EQ(back->past.year(), 1);
    EXPECT_EQ(back->nepal, expected.nepal);
    EXPECT_EQ(back->nepal.localMoment().time(), QTime(20, 17, 7, 250));
    EXPECT_EQ(back->oddOffset, expected.oddOffset);
    EXPECT_TRUE(back->oddOffset.calendarFormat().isNull());
    EXPECT_TRUE(back->noDate.isNull());
    EXPECT_EQ(back->utc, expected.utc);
    EXPECT_EQ(back->utc.timeSpec(), Qt::UTC);
    EXPECT_EQ(back->offset.offsetFromUtc(), -9000);
    EXPECT_EQ(back->offset, expected.offset);
    EXPECT_EQ(back->zoned.timeZone().id(), QByteArray("Europe/Berlin"));
    EXPECT_EQ(back->zoned, expected.zoned);
    EXPECT_FALSE(back->noMoment.isValid());
    EXPECT_EQ(back->words, expected.words);
    EXPECT_EQ(back->first, "1st");
    EXPECT_TRUE(back->second.isNull());
    EXPECT_EQ(back->third, expected.third);
}

TEST(KeyedArchive, AbsentKeysGiveEmptyValuesAndRecordedVersionsAreAnswered)
{
    class Probe : public Archivable
    {
    public:
        QString archiveClassName() const override { return QStringLiteral("Probe"); }
        int archiveClassVersion() const override { return 7; }
        void encodeWithCoder(KeyedArchiver &coder) const override { coder.encodeNextString("only"); }
        void initWithCoder(KeyedUnarchiver &coder) override
        {
            heard << QString::number(coder.containsValue("absent")) << coder.decodeNextString()
                  << QString::number(coder.decodeNextString().isNull())
                  << QString::number(coder.decodeInt32("absent"))
                  << QString::number(coder.versionForClassName("Probe"))
                  << QString::number(coder.versionForClassName("Node"));
        }
        QStringList heard;
    };
    const QByteArray data = KeyedArchiver::archivedDataWithRootObject(std::make_shared<Probe>());
    auto back =
        KeyedUnarchiver::unarchiveObjectWithData(data, {{"Probe", [] { return std::make_shared<Probe>(); }}});
    ASSERT_TRUE(back);
    EXPECT_EQ(static_cast<Probe &>(*back).heard, QStringList({"0", "only", "1", "0", "7", "-1"}));
}

TEST(KeyedArchive, DamagedOrForeignDataGivesNothingAndOneLogLine)
{
    const QByteArray valid = KeyedArchiver::archivedDataWithRootObject(std::make_shared<Values>());
    QByteArray deepChain;
    {
        QCborArray chain;
        for (int i = 0; i < 5000; ++i)
            chain.append(nodeEntry({{"parent", reference(i + 1)}}));
        chain.append(nodeEntry({}));
        deepChain = archiveOf(chain);
    }
    QCborMap future = QCborValue::fromCbor(valid).toMap();
    future.insert(ArchiveFormat::VersionKey, 2);

    const QList<std::pair<QByteArray, QString>> cases{
        {QByteArray(), "no data to read"},
        {valid.left(valid.size() - 1), "damaged data"},
        {valid + char(0), "unexpected bytes after the archive"},
        {QByteArray("{\"format\": \"QuillBayKeyedArchive\", \"version\": 1}"), "damaged data"},
        {QCborValue(QCborMap{{"a", 1}}).toCbor(), "not a QuillBay archive"},
        {QCborValue(QCborArray{1, 2}).toCbor(), "not a QuillBay archive"},
        {QCborValue(future).toCbor(), "unsupported archive version"},
        {archiveOf({QCborMap{{ArchiveFormat::ClassKey, "Folder"}, {ArchiveFormat::ValuesKey, QCborMap()}}}),
         "object 0 has the unknown class \"Folder\""},
        {archiveOf({nodeEntry({{"name", 5}})}), "the value of \"name\" in object 0 (Node) is not a string"},
        {archiveOf({nodeEntry({{"parent", reference(3)}})}), "refers to object 3, outside the table"},
        {archiveOf({nodeEntry({{"parent", reference(-1)}})}), "refers to object -1, outside the table"},
        {archiveOf({nodeEntry({{"children", QCborArray{reference(0), 7}}})}), "is not an object reference"},
        {archiveOf({nodeEntry({{"children", "x"}})}), "is not a list of objects"},
        {archiveOf({nodeEntry({})}, QCborValue(0)), "the root is not an object reference"},
        {archiveOf({nodeEntry({})}, QCborValue(QCborValue::Null)), "the archive has no root object"},
        {archiveOf({QCborValue(3)}), "object 0 is damaged"},
        {deepChain, "objects nested deeper than 256 levels"},
    };
    for (const auto &[data, problem] : cases) {
        LogCapture capture;
        EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData(data, Classes)) << problem.toStdString();
        ASSERT_EQ(capture.lines().size(), 1) << problem.toStdString();
        EXPECT_TRUE(capture.lines().first().startsWith("-[KeyedUnarchiver unarchiveObjectWithData:] "));
        EXPECT_TRUE(capture.lines().first().contains(problem)) << capture.lines().first().toStdString();
    }
}

TEST(KeyedArchive, AValueOfTheWrongTypeFailsTheWholeArchive)
{
    const QList<std::tuple<QString, QCborValue, QString>> cases{
        {"string", QCborValue(3), "a string"},
        {"int32", QCborValue("3"), "a 32-bit integer"},
        {"int32", QCborValue(qint64(1) << 31), "a 32-bit integer"},
        {"int32", QCborValue(QCborValue::Null), "a 32-bit integer"},
        {"uint64", QCborValue(3), "an unsigned 64-bit integer"},
        {"uint64", QCborValue(ArchiveFormat::UInt64Tag, "3"), "an unsigned 64-bit integer"},
        {"double", QCborValue(3), "a double"},
        {"bool", QCborValue(1), "a boolean"},
        {"url", QCborValue("http://example.com/"), "a URL"},
        {"calendarDate", QCborValue(ArchiveFormat::CalendarDateTag, QCborArray{0, 86400, "%Y"}),
         "a calendar date"},
        {"calendarDate", QCborValue(ArchiveFormat::CalendarDateTag, QCborArray{0, 0}), "a calendar date"},
        {"calendarDate", QCborValue(ArchiveFormat::DateTimeTag, QCborArray{0, 0}), "a calendar date"},
        {"dateTime", QCborValue(ArchiveFormat::DateTimeTag, QCborArray{0, 3, "No/Such_Zone"}), "a date"},
        {"dateTime", QCborValue(ArchiveFormat::DateTimeTag, QCborArray{0, 9}), "a date"},
        {"dateTime", QCborValue(QDateTime::currentDateTimeUtc()), "a date"},
        {"stringList", QCborArray{"a", 1}, "a list of strings"},
        {"stringList", QCborValue("a"), "a list of strings"},
    };
    for (const auto &[kind, value, expected] : cases) {
        const QString kindName = kind;
        const KeyedUnarchiver::ClassTable classes{
            {"Node", [kindName] { return std::make_shared<TypedReader>(kindName); }}};
        LogCapture capture;
        EXPECT_FALSE(
            KeyedUnarchiver::unarchiveObjectWithData(archiveOf({nodeEntry({{"value", value}})}), classes));
        EXPECT_EQ(capture.lines(),
                  QStringList("-[KeyedUnarchiver unarchiveObjectWithData:] the value of \"value\" in "
                              "object 0 (Node) is not " +
                              expected))
            << kind.toStdString();
    }
}

TEST(KeyedArchive, TruncatedFlippedAndRandomBytesNeverCrash)
{
    auto root = makeNode("root");
    makeNode("child", root)->tag = std::make_shared<Values>();
    const QByteArray valid = KeyedArchiver::archivedDataWithRootObject(root);
    for (qsizetype size = 0; size < valid.size(); ++size) {
        LogCapture capture;
        EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData(valid.left(size), Classes)) << size;
        EXPECT_EQ(capture.lines().size(), 1) << size;
    }
    QRandomGenerator random(20061);
    for (int round = 0; round < 2000; ++round) {
        QByteArray damaged = valid;
        damaged[random.bounded(int(damaged.size()))] ^= char(1 << random.bounded(8));
        LogCapture capture;
        KeyedUnarchiver::unarchiveObjectWithData(damaged, Classes);
        EXPECT_LE(capture.lines().size(), 1);
    }
    for (int round = 0; round < 500; ++round) {
        QByteArray noise(random.bounded(1, 300), Qt::Uninitialized);
        for (char &byte : noise)
            byte = char(random.bounded(256));
        LogCapture capture;
        EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData(noise, Classes));
        EXPECT_EQ(capture.lines().size(), 1);
    }
}

TEST(KeyedArchive, ReadingEveryCorpusFileAsAnArchiveGivesNothing)
{
    const QStringList corpus = FeedCorpus::files();
    if (corpus.isEmpty())
        GTEST_SKIP() << "no feed corpus at " << FeedCorpus::folder().toStdString();
    int files = 0;
    for (const QString &path : corpus) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        LogCapture capture;
        EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData(file.readAll(), Classes));
        EXPECT_EQ(capture.lines().size(), 1);
        ++files;
    }
    EXPECT_GT(files, 0);
}
