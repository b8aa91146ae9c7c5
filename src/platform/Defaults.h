// The per-user settings store: the user's own values, kept in an INI file, over a layer of registered
// defaults. It is safe to use from any thread and never answers a registered value over the user's own.
#pragma once

#include <QMutex>
#include <QString>
#include <QVariant>
#include <QVariantMap>

class Defaults
{
public:
    // The store every part of the program shares; its file is found on first use.
    static Defaults &standard();
    static QString standardFilePath();

    // A store of its own over the given INI file, for tests and tools.
    explicit Defaults(const QString &filePath);
    Defaults(const Defaults &) = delete;
    Defaults &operator=(const Defaults &) = delete;

    QString filePath() const { return m_filePath; }

    // Merges the keys into the registered layer; later registrations of a key replace earlier ones.
    void registerDefaults(const QVariantMap &defaults);

    // The user's value, else the registered one, else an invalid QVariant.
    QVariant value(const QString &key) const;
    int integer(const QString &key) const;
    bool boolean(const QString &key) const;
    QString string(const QString &key) const;
    double doubleValue(const QString &key) const;

    // Writes go straight to the file, so they survive a crash and other stores see them.
    void setValue(const QString &key, const QVariant &value);
    void setInteger(const QString &key, int value) { setValue(key, value); }
    void setBoolean(const QString &key, bool value) { setValue(key, value); }
    void setString(const QString &key, const QString &value) { setValue(key, value); }
    void setDouble(const QString &key, double value) { setValue(key, value); }
    void removeObject(const QString &key);

    // Reloads the user's values from the file, taking in what other stores wrote there.
    bool synchronize();

private:
    bool loadUserValues();
    void keepFilePrivate() const;
    void writeThrough(const QString &key, const QVariant &value) const;
    QVariant lookUp(const QString &key) const;

    const QString m_filePath;
    QVariantMap m_userValues;
    QVariantMap m_registered;
    mutable QMutex m_lock;
};
