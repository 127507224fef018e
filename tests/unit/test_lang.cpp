// Translations from dvlang.ini.
#include "testutil.h"

#include "config/dvconfigfile.h"
#include "support/dvlangsupport.h"

#include <gtest/gtest.h>

#include <unistd.h>

using dvtest::TempDir;

namespace {

class LangTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dvtest::setEnv("DVCONFIG", nullptr);
        ASSERT_EQ(chdir(cwd.path().c_str()), 0);
        dvSetSystemConfigDirForTesting((system.path() + "/").c_str());
        DVLangSupport::ResetForTesting();
    }
    void TearDown() override
    {
        DVLangSupport::ResetForTesting();
        dvSetSystemConfigDirForTesting(nullptr);
        ASSERT_EQ(chdir("/tmp"), 0);
    }
    TempDir cwd, system, config;
};

TEST_F(LangTest, WithoutALanguageFileEveryTextComesBackUnchanged)
{
    EXPECT_EQ(DVLangSupport::getIniFilePath(), "");
    EXPECT_EQ(DVLangSupport::getText("Dravik is busy"), "Dravik is busy");
    EXPECT_EQ(DVLangSupport::getIniFilePath(), "");
    EXPECT_EQ(DVLangSupport::getText(static_cast<const char*>(nullptr)), "");
}

TEST_F(LangTest, TranslationReplacesTheTextAndAnEmptyOneDoesNot)
{
    dvtest::writeFile(cwd.file("dvlang.ini"), "[Lang]\nDone = Erledigt\nBusy =\nclosed = Geschlossen\n");
    EXPECT_EQ(DVLangSupport::getText("Done"), "Erledigt");
    EXPECT_EQ(DVLangSupport::getText("Busy"), "Busy");
    EXPECT_EQ(DVLangSupport::getText("Closed"), "Geschlossen"); // names ignore case
    EXPECT_EQ(DVLangSupport::getIniFilePath(), "./dvlang.ini");
}

TEST_F(LangTest, TranslationThatReadsAsEmptyTextLeavesTheKey)
{
    static const char text[] = "[Lang]\nDone = \0hidden\n";
    dvtest::writeFile(cwd.file("dvlang.ini"), std::string(text, sizeof text - 1));
    EXPECT_EQ(DVLangSupport::getText("Done"), "Done");
}

TEST_F(LangTest, SearchOrderIsDvconfigCurrentDirectorySystemDirectory)
{
    dvtest::writeFile(system.file("dvlang.ini"), "[Lang]\nDone=system\n");
    EXPECT_EQ(DVLangSupport::getText("Done"), "system");
    DVLangSupport::ResetForTesting();

    dvtest::writeFile(cwd.file("dvlang.ini"), "[Lang]\nDone=current\n");
    EXPECT_EQ(DVLangSupport::getText("Done"), "current");
    DVLangSupport::ResetForTesting();

    dvtest::setEnv("DVCONFIG", config.path().c_str());
    dvtest::writeFile(config.file("dvlang.ini"), "[Lang]\nDone=dvconfig\n");
    EXPECT_EQ(DVLangSupport::getText("Done"), "dvconfig");
    EXPECT_EQ(DVLangSupport::getIniFilePath(), config.file("dvlang.ini"));
}

TEST_F(LangTest, FileIsReadOnceForTheLifeOfTheProcess)
{
    dvtest::writeFile(cwd.file("dvlang.ini"), "[Lang]\nDone=first\n");
    EXPECT_EQ(DVLangSupport::getText("Done"), "first");
    dvtest::writeFile(cwd.file("dvlang.ini"), "[Lang]\nDone=second\n");
    EXPECT_EQ(DVLangSupport::getText("Done"), "first");
}

TEST_F(LangTest, MessageCopyIsBoundedAndTranslationsAreNeverFormats)
{
    dvtest::writeFile(cwd.file("dvlang.ini"),
                      "[Lang]\nDone = 100%% %s%n%d\nBusy = " + std::string(1000, 'x') + "\n");
    char message[32];
    dvSetMessage(message, "Done", sizeof message);
    EXPECT_STREQ(message, "100% %s%n%d");
    dvSetMessage(message, "Busy", sizeof message);
    EXPECT_EQ(std::string(message), std::string(31, 'x'));
    dvSetMessage(nullptr, "Busy", sizeof message); // no crash
}

} // namespace
