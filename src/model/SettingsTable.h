// Every setting the program registers, with its default value, and the one step that installs them.
// It never writes a user value: what the user has set always wins over these defaults.
#pragma once

#include <QString>
#include <QVariantMap>

class Defaults;

class SettingsTable
{
public:
    // Registers the table with the shared store, once per run; later calls do nothing.
    static void install();

    // Registers the table with the given store, every time it is called.
    static void registerWith(Defaults &store);

    // All registered keys and their defaults; the downloads folder is looked up on each call.
    static QVariantMap defaultValues();

    // Where enclosures go unless the user chose a folder: Downloads, else the Desktop.
    static QString defaultDownloadPath();
};
