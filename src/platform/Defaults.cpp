#include "Defaults.h"

#include "Log.h"

#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <QSettings>
#include <QStandardPaths>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {

bool isText(const QVariant &value)
{
    const int type = value.typeId();
    return type == QMetaType::QString || type == QMetaType::QByteArray;
}

bool isCollection(const QVariant &value)
{
    const int type = value.typeId();
    return type == QMetaType::QStringList || type == QMetaType::QVariantList ||
           type == QMetaType::QVariantMap || type == QMetaType::QVariantHash;
}

// INI files keep every scalar as text, so a value read back from the file may be "true" or "12".
// Any other word reads as false.
bool isTrueWord(const QString &text)
{
    const QString word = text.trimmed().toLower();
    return word == QLatin1String("true") || word == QLatin1String("yes");
}

double numberOf(const QVariant &value)
{
    if (isText(value)) {
        const QString text = value.toString();
        bool ok = false;
        const double number = text.toDouble(&ok);
        if (ok)
            return number;
        return isTrueWord(text) ? 1.0 : 0.0;
    }
    bool ok = false;
    const double number = value.toDouble(&ok);
    return ok ? number : 0.0;
}

int integerOf(const QVariant &value)
{
    const double number = numberOf(value);
    if (std::isnan(number))
        return 0;
    const double limited =
        std::clamp(number, double(std::numeric_limits<int>::min()), double(std::numeric_limits<int>::max()));
    return int(std::trunc(limited));
}

bool truthOf(const QVariant &value)
{
    const double number = numberOf(value);
    return number != 0.0 && !std::isnan(number);
}

QString textOf(const QVariant &value)
{
    if (!value.isValid() || isCollection(value))
        return {};
    return value.toString();
}

} // namespace

Defaults &Defaults::standard()
{
    // A function-local store, so that the file's location is asked for only once the program runs.
    static Defaults store(standardFilePath());
    return store;
}

QString Defaults::standardFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/QuillBay/QuillBay.conf");
}

Defaults::Defaults(const QString &filePath) : m_filePath(filePath)
{
    loadUserValues();
    keepFilePrivate();
}

// The settings name the user's folders and services; no other user of the machine reads them, also
// when an older version left the file readable to all. QSettings keeps the modes on later writes.
void Defaults::keepFilePrivate() const
{
    if (QFileInfo::exists(m_filePath))
        QFile::setPermissions(m_filePath, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

void Defaults::registerDefaults(const QVariantMap &defaults)
{
    const QMutexLocker locker(&m_lock);
    m_registered.insert(defaults);
}

QVariant Defaults::value(const QString &key) const
{
    const QMutexLocker locker(&m_lock);
    return lookUp(key);
}

int Defaults::integer(const QString &key) const
{
    return integerOf(value(key));
}

bool Defaults::boolean(const QString &key) const
{
    return truthOf(value(key));
}

QString Defaults::string(const QString &key) const
{
    return textOf(value(key));
}

double Defaults::doubleValue(const QString &key) const
{
    return numberOf(value(key));
}

void Defaults::setValue(const QString &key, const QVariant &value)
{
    if (key.isEmpty()) {
        Log::write(QStringLiteral("-[Defaults setValue] called with an empty key"));
        return;
    }
    if (!value.isValid()) {
        removeObject(key);
        return;
    }
    const QMutexLocker locker(&m_lock);
    m_userValues.insert(key, value);
    writeThrough(key, value);
}

void Defaults::removeObject(const QString &key)
{
    if (key.isEmpty()) {
        Log::write(QStringLiteral("-[Defaults removeObject] called with an empty key"));
        return;
    }
    const QMutexLocker locker(&m_lock);
    m_userValues.remove(key);
    writeThrough(key, QVariant());
}

bool Defaults::synchronize()
{
    const QMutexLocker locker(&m_lock);
    return loadUserValues();
}

bool Defaults::loadUserValues()
{
    const QSettings file(m_filePath, QSettings::IniFormat);
    if (file.status() != QSettings::NoError) {
        Log::write(QStringLiteral("-[Defaults loadUserValues] could not read %1").arg(m_filePath));
        return false;
    }
    m_userValues.clear();
    for (const QString &key : file.allKeys())
        m_userValues.insert(key, file.value(key));
    return true;
}

// A short-lived QSettings on the caller's thread: a long-lived one would flush itself from the
// event loop of the thread that made it, outside this store's lock.
void Defaults::writeThrough(const QString &key, const QVariant &value) const
{
    QSettings file(m_filePath, QSettings::IniFormat);
    if (value.isValid())
        file.setValue(key, value);
    else
        file.remove(key);
    file.sync();
    if (file.status() != QSettings::NoError)
        Log::write(QStringLiteral("-[Defaults setValue] could not write %1").arg(m_filePath));
    else
        keepFilePrivate();
}

QVariant Defaults::lookUp(const QString &key) const
{
    const auto userValue = m_userValues.constFind(key);
    if (userValue != m_userValues.constEnd())
        return *userValue;
    return m_registered.value(key);
}
