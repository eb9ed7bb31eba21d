#include <gtest/gtest.h>

#include "platform/propertyList.h"
#include "prefs/PreferenceStore.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"

namespace tessarin {
namespace {

TEST(PreferenceStore, AnswersOnlyWhatIsStoredUnlessAskedForDefaults) {
  MemoryUserDomain domain;
  PreferenceStore store(domain);
  EXPECT_EQ(store.prefRead(PrefKey::speed), nullptr);
  EXPECT_EQ(store.prefReadString(PrefKey::prores), "");
  EXPECT_EQ(store.integer(PrefKey::speed), 2);
  EXPECT_EQ(store.text(PrefKey::prores), "apcn");
  EXPECT_EQ(store.text(PrefKey::destination), "~/Movies/");
  EXPECT_EQ(store.integer("none"), 0);
  EXPECT_EQ(store.text("none"), "");

  EXPECT_TRUE(store.prefWrite(PrefKey::speed, 0));
  EXPECT_TRUE(store.prefWrite(PrefKey::prores, "apch"));
  EXPECT_EQ(store.integer(PrefKey::speed), 0) << "a stored 0 is no missing value";
  EXPECT_EQ(store.prefReadString(PrefKey::speed), "0");
  EXPECT_EQ(store.text(PrefKey::prores), "apch");
  EXPECT_TRUE(store.prefWrite(PrefKey::speed, "fast"));
  EXPECT_EQ(store.integer(PrefKey::speed), 2) << "a value of the wrong kind is unusable";
}

TEST(PreferenceStore, TheKeysAreTheStoredFormat) {
  std::string keys;
  for (const auto& [key, value] : prefDefaults())
    keys += key + "=" + value.description() + " ";
  EXPECT_EQ(keys,
            "assistantSkip=0 easy=1 editingSoft=2 prefAlertEnd=1 prefCheckMatrix=1 prefColor=-1 "
            "prefDefautDstPathStr=~/Movies/ prefPreset=0 prefProres=apcn prefSpeed=2 prefSurrond=0 "
            "update=1 ");
}

TEST(PreferenceStore, AnEmptyKeyIsNoKey) {
  MemoryUserDomain domain(Dico{{"", 1}});
  PreferenceStore store(domain);
  EXPECT_EQ(store.prefRead(""), nullptr);
  EXPECT_FALSE(store.prefWrite("", 2));
  EXPECT_TRUE(store.prefRemove(""));
  EXPECT_EQ(domain.values(), (Dico{{"", 1}}));
}

TEST(PreferenceStore, RemovesKeysAndStepFlags) {
  MemoryUserDomain domain(Dico{{"encFin", 1}, {"encDeb", 0}});
  PreferenceStore store(domain);
  EXPECT_TRUE(store.flag("encFin"));
  EXPECT_FALSE(store.flag("encDeb"));
  EXPECT_FALSE(store.flag("encV"));
  EXPECT_TRUE(store.prefRemove("encFin"));
  EXPECT_TRUE(store.prefRemove("encFin")) << "gone already";
  EXPECT_FALSE(store.flag("encFin"));
}

TEST(PreferenceStore, TakesOneEntryOutOfAStoredRecord) {
  const Dico seed{{"processEncDico", Dico{{"encQtEnc", 1}, {"out", 2}}}, {"number", 5}};
  MemoryUserDomain domain(seed);
  PreferenceStore store(domain);
  EXPECT_TRUE(store.prefDeleteChildDico("processEncDico", "none"));
  EXPECT_TRUE(store.prefDeleteChildDico("missing", "encQtEnc"));
  EXPECT_TRUE(store.prefDeleteChildDico("number", "encQtEnc"));
  EXPECT_TRUE(store.prefDeleteChildDico("", ""));
  EXPECT_EQ(domain.values(), seed);
  const test::LogCapture log(true);
  EXPECT_TRUE(store.prefDeleteChildDico("processEncDico", "encQtEnc"));
  EXPECT_EQ(*store.prefRead("processEncDico")->dico(), (Dico{{"out", 2}}));
  EXPECT_TRUE(log.has("key to delete       : key=encQtEnc, value=1"));
}

TEST(PreferenceStore, LogsReadsAndWritesWithTheDebugFlag) {
  MemoryUserDomain domain;
  PreferenceStore store(domain);
  const test::LogCapture log(true);
  store.prefWrite("easy", 1);
  store.prefRead("easy");
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{"prefWrite           - old ? nil",
                                      "prefWrite           - def : 1", "prefRead            : 1"}));
}

TEST(Plist, WritesBinaryFilesUnderNamesWithoutColons) {
  const test::ScopedTemporaryFolder folder;
  const test::ScopedEnvironment home("HOME", folder.path());
  const test::LogCapture log;
  EXPECT_TRUE(writePlist("~/12:30.plist", Dico{{"a", 1}}));
  EXPECT_TRUE(folder.read("1230.plist").starts_with("bplist00"));
  EXPECT_TRUE(log.has("write plist :-) " + folder.file("1230.plist")));
  EXPECT_EQ(readPlist("~/1230.plist"), (Dico{{"a", 1}}));
}

TEST(Plist, AnswersNothingForWhatCannotBeReadOrWritten) {
  const test::ScopedTemporaryFolder folder;
  const test::LogCapture log;
  EXPECT_EQ(readPlist(folder.file("missing")), std::nullopt);
  EXPECT_EQ(readPlist(folder.write("damaged", "bplist00")), std::nullopt);
  ASSERT_TRUE(writePropertyList(folder.file("list"), List{1}));
  EXPECT_EQ(readPlist(folder.file("list")), std::nullopt) << "a list is no record";
  EXPECT_FALSE(writePlist("", Dico()));
  EXPECT_FALSE(writePlist(folder.file("no folder/a.plist"), Dico()));
  EXPECT_TRUE(log.has("write plist :-( " + folder.file("no folder/a.plist")));
  Value deep(1);
  for (int level = 0; level < 200; ++level)
    deep = Value(List{deep});
  EXPECT_FALSE(writePlist(folder.file("deep"), deep));
  EXPECT_EQ(folder.read("deep"), "");
}

}  // namespace
}  // namespace tessarin
