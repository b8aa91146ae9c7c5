#include "model/SettingsTable.h"

#include "platform/Defaults.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// What each default means is shown by the tests of the code that reads it; here only how the table
// reaches a store.
TEST(SettingsTable, AFreshStoreAnswersEveryDefaultWithItsTypeAndOnlyTheFirstInstallationRegisters)
{
    const QTemporaryDir dir;
    Defaults store(dir.path() + "/QuillBay.conf");
    SettingsTable::registerWith(store);
    const QVariantMap table = SettingsTable::defaultValues();
    for (auto it = table.cbegin(); it != table.cend(); ++it) {
        EXPECT_EQ(store.value(it.key()).typeId(), it.value().typeId()) << it.key().toStdString();
        EXPECT_EQ(store.value(it.key()), it.value()) << it.key().toStdString();
    }
    EXPECT_FALSE(store.value("articleLength").isValid()) << "the side bar registers its own slider value";
    EXPECT_TRUE(QDir::isAbsolutePath(store.string("downloadPath")));

    Defaults &shared = Defaults::standard();
    SettingsTable::install();
    shared.registerDefaults({{"displayFontSize", 3}});
    SettingsTable::install();
    EXPECT_EQ(shared.integer("displayFontSize"), 3) << "only the first installation registers";
    shared.registerDefaults({{"displayFontSize", 1}});
}
