#include "model/QBPerson.h"

#include "LogCapture.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/PropertyList.h"

#include <gtest/gtest.h>

namespace {

// Stands for a later build whose persons are laid out differently.
class LaterPerson : public QBPerson
{
public:
    using QBPerson::QBPerson;
    int archiveClassVersion() const override { return 2; }
};

std::shared_ptr<QBPerson> sequentialRoundTrip(const std::shared_ptr<QBPerson> &person)
{
    const QByteArray data = KeyedArchiver::archivedDataWithRootObject(person);
    return std::dynamic_pointer_cast<QBPerson>(KeyedUnarchiver::unarchiveObjectWithData(
        data, {{"QBPerson", [] { return std::make_shared<QBPerson>(); }}}));
}

// Fields compared as text, so that a null field and an empty one tell apart.
QStringList fields(const QBPerson &person)
{
    QStringList texts;
    for (const QString &text : {person.name(), person.title(), person.email(), person.URI().toString()})
        texts << (text.isNull() ? QStringLiteral("<null>") : text);
    return texts;
}

} // namespace

TEST(QBPerson, TheAuthorsColumnHoldsOnlyTheFieldsThatAreSetAndReadsBackAsTheSamePeople)
{
    EXPECT_TRUE(QBPerson().archive().isEmpty());
    QBPerson jane("Jane Doe", "Author", QString());
    jane.setEmail("");
    EXPECT_EQ(jane.archive(), (QVariantMap{{"name", "Jane Doe"}, {"title", "Author"}, {"email", ""}}));

    QBPerson pepe("José \"Pepe\" Núñez", "Author", "pepe@example.com");
    pepe.setURI(QUrl("http://example.com/a b"));
    const QString text = PropertyList::write(QVariantList{pepe.archive(), QBPerson().archive()});
    const QVariantList list = PropertyList::read(text).toList();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(fields(*QBPerson::unarchive(list.at(0).toMap())), fields(pepe));
    EXPECT_EQ(fields(*QBPerson::unarchive(list.at(1).toMap())), fields(QBPerson()));

    // Keys of another case or of another type are ignored.
    const auto odd = QBPerson::unarchive({{"uri", "http://example.com/me"},
                                          {"URI", "http://example.com/wrong"},
                                          {"name", "Ann"},
                                          {"email", QVariantList{"not", "text"}},
                                          {"nickname", "A"}});
    EXPECT_EQ(fields(*odd), QStringList({"Ann", "<null>", "<null>", "http://example.com/me"}));
}

TEST(QBPerson, TheLibraryFileReadsBackAPersonOnlyFromClassVersionOneAndQuietlyKeepsOthersEmpty)
{
    auto person = std::make_shared<QBPerson>("Jane", QString(), "jane@example.com");
    person->setURI(QUrl("https://example.com/jane"));
    const auto back = sequentialRoundTrip(person);
    ASSERT_TRUE(back);
    EXPECT_EQ(fields(*back), fields(*person));

    LogCapture capture;
    const auto later =
        sequentialRoundTrip(std::make_shared<LaterPerson>("Jane", "Author", "jane@example.com"));
    ASSERT_TRUE(later);
    EXPECT_EQ(fields(*later), fields(QBPerson()));
    EXPECT_TRUE(capture.lines().isEmpty());
}
