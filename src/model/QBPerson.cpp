#include "model/QBPerson.h"

#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

namespace {

const QString NameKey = QStringLiteral("name");
const QString TitleKey = QStringLiteral("title");
const QString EmailKey = QStringLiteral("email");
const QString URIKey = QStringLiteral("uri");

// Values that are not text (a nested list, say, in a hand-edited column) are ignored.
QString textValue(const QVariantMap &dictionary, const QString &key)
{
    const QVariant value = dictionary.value(key);
    if (value.typeId() == QMetaType::QUrl)
        return value.toUrl().toString(QUrl::FullyEncoded);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

} // namespace

QBPerson::QBPerson(const QString &name, const QString &title, const QString &email)
    : m_name(name), m_title(title), m_email(email)
{
}

QVariantMap QBPerson::archive() const
{
    QVariantMap dictionary;
    if (!m_name.isNull())
        dictionary.insert(NameKey, m_name);
    if (!m_title.isNull())
        dictionary.insert(TitleKey, m_title);
    if (!m_email.isNull())
        dictionary.insert(EmailKey, m_email);
    if (!m_URI.isEmpty())
        dictionary.insert(URIKey, m_URI.toString(QUrl::FullyEncoded));
    return dictionary;
}

std::shared_ptr<QBPerson> QBPerson::unarchive(const QVariantMap &dictionary)
{
    auto person = std::make_shared<QBPerson>();
    person->setName(textValue(dictionary, NameKey));
    person->setTitle(textValue(dictionary, TitleKey));
    person->setEmail(textValue(dictionary, EmailKey));
    const QString uri = textValue(dictionary, URIKey);
    if (!uri.isEmpty())
        person->setURI(QUrl(uri));
    return person;
}

void QBPerson::encodeWithCoder(KeyedArchiver &coder) const
{
    coder.encodeNextString(m_name);
    coder.encodeNextString(m_title);
    coder.encodeNextString(m_email);
    coder.encodeNextUrl(m_URI);
}

void QBPerson::initWithCoder(KeyedUnarchiver &coder)
{
    // Other versions laid their fields out differently; such a person is kept, empty.
    if (coder.versionForClassName(archiveClassName()) != 1)
        return;
    m_name = coder.decodeNextString();
    m_title = coder.decodeNextString();
    m_email = coder.decodeNextString();
    m_URI = coder.decodeNextUrl();
}
