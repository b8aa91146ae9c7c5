#include "LogCapture.h"
#include "platform/ArchiveFormat.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QRandomGenerator>
#include <QTimeZone>
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

using Writer = std::function<void(KeyedArchiver &)>;
using Reader = std::function<void(KeyedUnarchiver &)>;

// Writes and reads whatever its two functions say, to try one kind of value at a time.
class Box : public Archivable
{
public:
    Writer write;
    Reader read;

    QString archiveClassName() const override { return QStringLiteral("Box"); }
    void encodeWithCoder(KeyedArchiver &coder) const override { write(coder); }
    void initWithCoder(KeyedUnarchiver &coder) override { read(coder); }
};

std::shared_ptr<Box> makeBox(
    const Writer &write, const Reader &read = [](KeyedUnarchiver &) {})
{
    auto box = std::make_shared<Box>();
    box->write = write;
    box->read = read;
    return box;
}

// A box as read back by a box that runs the reader.
std::shared_ptr<Archivable> readBox(const QByteArray &data, const Reader &read)
{
    return KeyedUnarchiver::unarchiveObjectWithData(data, {{"Box", [read] { return makeBox({}, read); }}});
}

// A value written under a key by one encoder and read back by the matching decoder.
template <typename T, typename Value>
T readBack(void (KeyedArchiver::*encode)(const QString &, Value),
           T (KeyedUnarchiver::*decode)(const QString &) const, const std::type_identity_t<T> &value)
{
    T back{};
    const auto box = makeBox([&](KeyedArchiver &coder) { (coder.*encode)("v", value); });
    EXPECT_TRUE(readBox(KeyedArchiver::archivedDataWithRootObject(box),
                        [&](KeyedUnarchiver &coder) { back = (coder.*decode)("v"); }));
    return back;
}

// A value of every kind, so that damaged copies of the archive reach every decoder.
const auto everyKind = makeBox(
    [](KeyedArchiver &coder) {
        coder.encodeString("string", "zoë");
        coder.encodeInt32("int32", -1);
        coder.encodeUInt64("uint64", std::numeric_limits<quint64>::max());
        coder.encodeDouble("double", 0.1);
        coder.encodeBool("bool", true);
        coder.encodeUrl("url", QUrl("http://example.com/a b"));
        coder.encodeCalendarDate("calendarDate", CalendarDate::distantPast());
        coder.encodeDateTime("dateTime",
                             QDateTime(QDate(2010, 7, 1), QTime(12, 0), QTimeZone("Europe/Berlin")));
        coder.encodeStringList("stringList", {"a", ""});
        coder.encodeNextString("next");
    },
    [](KeyedUnarchiver &coder) {
        coder.decodeString("string");
        coder.decodeInt32("int32");
        coder.decodeUInt64("uint64");
        coder.decodeDouble("double");
        coder.decodeBool("bool");
        coder.decodeUrl("url");
        coder.decodeCalendarDate("calendarDate");
        coder.decodeDateTime("dateTime");
        coder.decodeStringList("stringList");
        coder.decodeNextString();
    });

const KeyedUnarchiver::ClassTable Classes{{"Node", [] { return std::make_shared<Node>(); }},
                                          {"Box", [] { return makeBox({}, everyKind->read); }}};

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

TEST(KeyedArchive, EveryKindOfValueReadsBackWithItsTypeItsEdgesAndTheNullAndEmptyKeptApart)
{
    using A = KeyedArchiver;
    using U = KeyedUnarchiver;
    EXPECT_TRUE(readBack(&A::encodeString, &U::decodeString, QString()).isNull());
    EXPECT_FALSE(readBack(&A::encodeString, &U::decodeString, "").isNull());
    EXPECT_EQ(readBack(&A::encodeString, &U::decodeString, "zoë \"q\" \n"), "zoë \"q\" \n");
    for (const qint32 edge : {std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max()})
        EXPECT_EQ(readBack(&A::encodeInt32, &U::decodeInt32, edge), edge);
    EXPECT_EQ(readBack(&A::encodeUInt64, &U::decodeUInt64, std::numeric_limits<quint64>::max()),
              std::numeric_limits<quint64>::max());
    EXPECT_EQ(readBack(&A::encodeDouble, &U::decodeDouble, 0.1), 0.1);
    EXPECT_TRUE(readBack(&A::encodeBool, &U::decodeBool, true));
    EXPECT_FALSE(readBack(&A::encodeBool, &U::decodeBool, false));
    const QUrl url("http://example.com/a b/é?q=1&r=%2F#frag");
    EXPECT_EQ(readBack(&A::encodeUrl, &U::decodeUrl, url), url);
    EXPECT_TRUE(readBack(&A::encodeUrl, &U::decodeUrl, QUrl()).isEmpty());
    EXPECT_EQ(readBack(&A::encodeStringList, &U::decodeStringList, {"a", "", "b c"}),
              QStringList({"a", "", "b c"}));

    EXPECT_EQ(readBack(&A::encodeCalendarDate, &U::decodeCalendarDate, CalendarDate::distantPast()).year(),
              1);
    const CalendarDate nepal(QDateTime(QDate(2006, 5, 17), QTime(14, 32, 7, 250), Qt::UTC), 20700, "%d/%m");
    EXPECT_EQ(readBack(&A::encodeCalendarDate, &U::decodeCalendarDate, nepal), nepal);
    EXPECT_EQ(readBack(&A::encodeCalendarDate, &U::decodeCalendarDate, nepal).localMoment().time(),
              QTime(20, 17, 7, 250));
    const CalendarDate oddOffset(QDateTime(QDate(1883, 11, 18), QTime(12, 0), Qt::UTC), -17762, QString());
    const CalendarDate oddBack = readBack(&A::encodeCalendarDate, &U::decodeCalendarDate, oddOffset);
    EXPECT_EQ(oddBack, oddOffset);
    EXPECT_TRUE(oddBack.calendarFormat().isNull());
    EXPECT_TRUE(readBack(&A::encodeCalendarDate, &U::decodeCalendarDate, CalendarDate()).isNull());

    const QDateTime utc(QDate(2020, 2, 29), QTime(23, 59, 59, 999), Qt::UTC);
    EXPECT_EQ(readBack(&A::encodeDateTime, &U::decodeDateTime, utc).timeSpec(), Qt::UTC);
    EXPECT_EQ(readBack(&A::encodeDateTime, &U::decodeDateTime, utc), utc);
    const QDateTime offset(QDate(2001, 1, 1), QTime(0, 0), Qt::OffsetFromUTC, -9000);
    EXPECT_EQ(readBack(&A::encodeDateTime, &U::decodeDateTime, offset).offsetFromUtc(), -9000);
    const QDateTime zoned(QDate(2010, 7, 1), QTime(12, 0), QTimeZone("Europe/Berlin"));
    EXPECT_EQ(readBack(&A::encodeDateTime, &U::decodeDateTime, zoned).timeZone().id(), "Europe/Berlin");
    EXPECT_EQ(readBack(&A::encodeDateTime, &U::decodeDateTime, zoned), zoned);
    EXPECT_FALSE(readBack(&A::encodeDateTime, &U::decodeDateTime, QDateTime()).isValid());

    QStringList next;
    const auto box = makeBox([](KeyedArchiver &coder) {
        coder.encodeNextString("1st");
        coder.encodeNextString(QString());
        coder.encodeNextUrl(QUrl("mailto:x@example.com"));
    });
    EXPECT_TRUE(readBox(KeyedArchiver::archivedDataWithRootObject(box), [&](KeyedUnarchiver &coder) {
        next << coder.decodeNextString() << QString::number(coder.decodeNextString().isNull())
             << coder.decodeNextUrl().toString() << QString::number(coder.decodeNextString().isNull())
             << QString::number(coder.containsValue("absent")) << QString::number(coder.decodeInt32("absent"))
             << QString::number(coder.versionForClassName("Box"))
             << QString::number(coder.versionForClassName("Node"));
    }));
    // Past the last value and under absent keys come empty values; only recorded classes have a version.
    EXPECT_EQ(next, QStringList({"1st", "1", "mailto:x@example.com", "1", "0", "0", "0", "-1"}));
}

TEST(KeyedArchive, DamagedOrForeignDataGivesNothingAndOneLogLine)
{
    const QByteArray valid = KeyedArchiver::archivedDataWithRootObject(everyKind);
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
    // The keys of the box of every kind are named after their kinds.
    const KeyedUnarchiver::ClassTable classes{{"Node", [] { return makeBox({}, everyKind->read); }}};
    for (const auto &[kind, value, expected] : cases) {
        LogCapture capture;
        EXPECT_FALSE(
            KeyedUnarchiver::unarchiveObjectWithData(archiveOf({nodeEntry({{kind, value}})}), classes));
        EXPECT_EQ(capture.lines(), QStringList("-[KeyedUnarchiver unarchiveObjectWithData:] the value of \"" +
                                               kind + "\" in object 0 (Node) is not " + expected))
            << kind.toStdString();
    }
}

TEST(KeyedArchive, TruncatedFlippedAndRandomBytesNeverCrash)
{
    auto root = makeNode("root");
    makeNode("child", root)->tag = everyKind;
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
