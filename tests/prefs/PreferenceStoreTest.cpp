#include <gtest/gtest.h>

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

TEST(Plist, WritesBinaryFilesUnderNamesWithoutColons) {
  const test::ScopedTemporaryFolder folder;
  const test::ScopedEnvironment home("HOME", folder.path());
  const test::LogCapture log;
  EXPECT_TRUE(writePlist("~/12:30.plist", Dico{{"a", 1}}));
  EXPECT_TRUE(folder.read("1230.plist").starts_with("bplist00"));
  EXPECT_TRUE(log.has("write plist :-) " + folder.file("1230.plist")));
  EXPECT_EQ(readPlist("~/1230.plist"), (Dico{{"a", 1}}));
}

}  // namespace
}  // namespace tessarin
