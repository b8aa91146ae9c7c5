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

const KeyedUnarchiver::ClassTable Classes{{"QBPerson", [] { return std::make_shared<QBPerson>(); }}};

std::shared_ptr<QBPerson> sequentialRoundTrip(const std::shared_ptr<QBPerson> &person)
{
    const QByteArray data = KeyedArchiver::archivedDataWithRootObject(person);
    return std::dynamic_pointer_cast<QBPerson>(KeyedUnarchiver::unarchiveObjectWithData(data, Classes));
}

bool isEmptyPerson(const QBPerson &person)
{
    return person.name().isNull() && person.title().isNull() && person.email().isNull() &&
           person.URI().isEmpty();
}

} // namespace

TEST(QBPerson, DictionaryFormHoldsOnlyTheFieldsThatAreSet)
{
    EXPECT_TRUE(QBPerson().archive().isEmpty());
    EXPECT_TRUE(isEmptyPerson(*QBPerson::unarchive({})));

    QBPerson jane("Jane Doe", "Author", QString());
    EXPECT_EQ(jane.archive(), (QVariantMap{{"name", "Jane Doe"}, {"title", "Author"}}));
    jane.setURI(QUrl("http://example.com/~jane"));
    jane.setEmail("");
    EXPECT_EQ(
        jane.archive(),
        (QVariantMap{
            {"name", "Jane Doe"}, {"title", "Author"}, {"email", ""}, {"uri", "http://example.com/~jane"}}));
}

TEST(QBPerson, UnarchiveTakesTheKeysItKnowsAndIgnoresTheRest)
{
    const auto person = QBPerson::unarchive({{"uri", "http://example.com/me"},
                                             {"URI", "http://example.com/wrong"},
                                             {"name", "Ann"},
                                             {"email", QVariantList{"not", "text"}},
                                             {"nickname", "A"}});
    EXPECT_EQ(person->name(), "Ann");
    EXPECT_TRUE(person->title().isNull());
    EXPECT_TRUE(person->email().isNull());
    EXPECT_EQ(person->URI(), QUrl("http://example.com/me"));
}

TEST(QBPerson, AuthorsColumnTextReadsBackAsTheSamePeople)
{
    QBPerson first("José \"Pepe\" Núñez", "Author", "pepe@example.com");
    first.setURI(QUrl("http://example.com/a b"));
    const QBPerson second;
    const QString text = PropertyList::write(QVariantList{first.archive(), second.archive()});

    const QVariantList list = PropertyList::read(text).toList();
    ASSERT_EQ(list.size(), 2);
    const auto back = QBPerson::unarchive(list.at(0).toMap());
    EXPECT_EQ(back->name(), first.name());
    EXPECT_EQ(back->title(), first.title());
    EXPECT_EQ(back->email(), first.email());
    EXPECT_EQ(back->URI(), first.URI());
    EXPECT_TRUE(isEmptyPerson(*QBPerson::unarchive(list.at(1).toMap())));

    EXPECT_EQ(
        QBPerson::unarchive(
            PropertyList::read("( { name = \"Jane Doe\"; title = Author; } )").toList().value(0).toMap())
            ->name(),
        "Jane Doe");
}

TEST(QBPerson, SequentialArchiveReadsBackOnlyFromClassVersionOne)
{
    auto person = std::make_shared<QBPerson>("Jane", QString(), "jane@example.com");
    person->setURI(QUrl("https://example.com/jane"));
    const auto back = sequentialRoundTrip(person);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->name(), "Jane");
    EXPECT_TRUE(back->title().isNull());
    EXPECT_EQ(back->email(), "jane@example.com");
    EXPECT_EQ(back->URI(), QUrl("https://example.com/jane"));

    LogCapture capture;
    const auto later =
        sequentialRoundTrip(std::make_shared<LaterPerson>("Jane", "Author", "jane@example.com"));
    ASSERT_TRUE(later);
    EXPECT_TRUE(isEmptyPerson(*later));
    EXPECT_TRUE(capture.lines().isEmpty());
}
