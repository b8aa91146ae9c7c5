// The interface of objects that write themselves into a keyed archive and read themselves back.
// An archivable object is made bare by its class table and only then reads its keys.
#pragma once

#include <QString>

class KeyedArchiver;
class KeyedUnarchiver;

class Archivable
{
public:
    virtual ~Archivable() = default;

    virtual QString archiveClassName() const = 0;
    virtual int archiveClassVersion() const { return 0; }
    virtual void encodeWithCoder(KeyedArchiver &coder) const = 0;
    virtual void initWithCoder(KeyedUnarchiver &coder) = 0;
};
