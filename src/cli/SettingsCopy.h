// A scratch copy of the user's settings for a command's updater, so that what the command changes
// (a --concurrent, say) lasts for that run only. It never writes the user's own settings file.
#pragma once

#include "platform/Defaults.h"

#include <QTemporaryDir>

class SettingsCopy
{
public:
    SettingsCopy();

    Defaults &settings() { return m_settings; }

private:
    QTemporaryDir m_scratch;
    Defaults m_settings;
};
