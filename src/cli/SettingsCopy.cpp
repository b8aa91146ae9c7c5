#include "cli/SettingsCopy.h"

#include "model/SettingsTable.h"

SettingsCopy::SettingsCopy() : m_settings(m_scratch.filePath(QStringLiteral("settings.ini")))
{
    SettingsTable::install();
    SettingsTable::registerWith(m_settings);
    for (const QString &key : SettingsTable::defaultValues().keys())
        m_settings.setValue(key, Defaults::standard().value(key));
}
