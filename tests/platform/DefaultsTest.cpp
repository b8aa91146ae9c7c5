#include "platform/Defaults.h"

#include "LogCapture.h"

#include <QFile>
#include <QTemporaryDir>
#include <climits>
#include <gtest/gtest.h>
#include <thread>

namespace {

QString scratchFile(const QTemporaryDir &dir)
{
    // A folder that does not exist yet: the first write must make it.
    return dir.path() + "/QuillBay/QuillBay.conf";
}

bool isOwnersAlone(const QString &path)
{
    const QFileDevice::Permissions others = QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                            QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                            QFileDevice::WriteOther | QFileDevice::ExeOther;
    return QFile::exists(path) && !(QFile::permissions(path) & others);
}

} // namespace

TEST(Defaults, UserValuesWinPersistForASecondStoreInAFileOnlyTheOwnerReadsAndFallBackWhenRemoved)
{
    const QTemporaryDir dir;
    Defaults first(scratchFile(dir));
    first.registerDefaults({{"downloadConcurrent", 5}, {"generalBlogEditor", "MarsEdit"}});
    first.setInteger("downloadConcurrent", 2);
    first.setString("generalBlogEditor", "Ecto");
    first.registerDefaults({{"downloadConcurrent", 7}});
    EXPECT_EQ(first.integer("downloadConcurrent"), 2);
    EXPECT_TRUE(isOwnersAlone(scratchFile(dir)));
    QFile::setPermissions(scratchFile(dir), QFile::permissions(scratchFile(dir)) | QFileDevice::ReadOther);

    Defaults second(scratchFile(dir));
    EXPECT_TRUE(isOwnersAlone(scratchFile(dir))) << "a file an older version left open to all is narrowed";
    second.registerDefaults({{"downloadConcurrent", 5}});
    EXPECT_EQ(second.integer("downloadConcurrent"), 2);
    EXPECT_EQ(second.string("generalBlogEditor"), "Ecto");

    second.removeObject("downloadConcurrent");
    EXPECT_EQ(second.integer("downloadConcurrent"), 5);
    EXPECT_EQ(first.integer("downloadConcurrent"), 2)
        << "the other store keeps its copy until it synchronizes";
    EXPECT_TRUE(first.synchronize());
    EXPECT_EQ(first.integer("downloadConcurrent"), 7);
    EXPECT_EQ(first.string("generalBlogEditor"), "Ecto");
    EXPECT_FALSE(Defaults(scratchFile(dir)).value("downloadConcurrent").isValid());
}

TEST(Defaults, UnsetKeysWithoutADefaultReadAsNothingAndEmptyKeysAreRefused)
{
    const QTemporaryDir dir;
    Defaults store(scratchFile(dir));
    EXPECT_FALSE(store.value("UserAgent").isValid());
    EXPECT_EQ(store.integer("ArticleDisplayModeKey"), 0);
    EXPECT_FALSE(store.boolean("displaySmallIcons"));
    EXPECT_EQ(store.string("UserAgent"), "");
    EXPECT_EQ(store.doubleValue("articleLength"), 0.0);

    const LogCapture log;
    store.setValue("", 3);
    EXPECT_TRUE(log.contains("-[Defaults setValue] called with an empty key"));
    EXPECT_FALSE(store.value("").isValid());
}

TEST(Defaults, TypedReadsUnderstandValuesWrittenAsOtherTypesBeforeAndAfterTheFile)
{
    const QTemporaryDir dir;
    Defaults writer(scratchFile(dir));
    const QVariantMap written{{"yes", "true"},    {"no", "false"}, {"zero", "0"},          {"word", "No"},
                              {"twelve", " 12 "}, {"half", "2.5"}, {"junk", "junk"},       {"flag", true},
                              {"three", 3},       {"almost", 1.9}, {"huge", "99999999999"}};
    for (auto it = written.cbegin(); it != written.cend(); ++it)
        writer.setValue(it.key(), it.value());
    const Defaults reader(scratchFile(dir));

    for (const Defaults *store : {static_cast<const Defaults *>(&writer), &reader}) {
        SCOPED_TRACE(store == &writer ? "as written" : "read back from the file");
        EXPECT_TRUE(store->boolean("yes"));
        EXPECT_EQ(store->integer("yes"), 1);
        EXPECT_FALSE(store->boolean("no"));
        EXPECT_FALSE(store->boolean("zero"));
        EXPECT_FALSE(store->boolean("word"));
        EXPECT_EQ(store->integer("twelve"), 12);
        EXPECT_TRUE(store->boolean("twelve"));
        EXPECT_EQ(store->integer("half"), 2);
        EXPECT_DOUBLE_EQ(store->doubleValue("half"), 2.5);
        EXPECT_EQ(store->integer("junk"), 0);
        EXPECT_FALSE(store->boolean("junk"));
        EXPECT_TRUE(store->boolean("flag"));
        EXPECT_EQ(store->integer("flag"), 1);
        EXPECT_EQ(store->string("flag"), "true");
        EXPECT_EQ(store->string("three"), "3");
        EXPECT_EQ(store->integer("almost"), 1);
        EXPECT_EQ(store->integer("huge"), INT_MAX);
    }
}

TEST(Defaults, TwoThreadsMayReadAndWriteAtOnce)
{
    const QTemporaryDir dir;
    Defaults store(scratchFile(dir));
    store.registerDefaults({{"generalRefreshInterval", 30}});
    constexpr int rounds = 100;
    bool readerSawOnlyWholeValues = true;

    std::thread worker([&] {
        for (int i = 1; i <= rounds; ++i) {
            store.setInteger("workerCount", i);
            const int seen = store.integer("mainCount");
            readerSawOnlyWholeValues &= seen >= 0 && seen <= rounds;
            readerSawOnlyWholeValues &= store.integer("generalRefreshInterval") == 30;
        }
    });
    for (int i = 1; i <= rounds; ++i) {
        store.setInteger("mainCount", i);
        store.registerDefaults({{"generalRefreshInterval", 30}});
        EXPECT_LE(store.integer("workerCount"), rounds);
    }
    worker.join();

    EXPECT_TRUE(readerSawOnlyWholeValues);
    const Defaults later(scratchFile(dir));
    EXPECT_EQ(later.integer("workerCount"), rounds);
    EXPECT_EQ(later.integer("mainCount"), rounds);
}
