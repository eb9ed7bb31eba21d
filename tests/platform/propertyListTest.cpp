#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>

#include "platform/propertyList.h"
#include "support/ScopedTemporaryFolder.h"

namespace tessarin {
namespace {

using testing::HasSubstr;

Dico everyKind() {
  return {
      {"yes", true},
      {"no", false},
      {"zero", 0},
      {"small", -1},
      {"least", std::numeric_limits<std::int64_t>::min()},
      {"most", std::numeric_limits<std::int64_t>::max()},
      {"real", 59.94},
      {"whole real", 25.0},
      {"text", "Été à Köln — 日本.MTS"},
      {"empty", ""},
      {"bytes", Bytes{0x00, 0xFF, 0x0A}},
      {"no bytes", Bytes{}},
      {"date", Date{1293199533.25}},
      {"early date", Date{1.5}},
      {"list", List{1, "two", List{}, Dico{}}},
      {"record", Dico{{"é", Dico{{"deep", 1}}}}},
  };
}

TEST(PropertyList, ReadsXml) {
  const auto read = parsePropertyList(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict><!-- <array><array> --><key>a&amp;b</key><string>&lt;é&gt;</string>
<key>n</key><integer>-5</integer><key>r</key><real>1.5</real><key>t</key><true/>
<key>d</key><date>2001-01-01T00:00:10Z</date><key>b</key><data>AP8=</data>
<key>l</key><array><integer>1</integer></array></dict></plist>)");
  ASSERT_TRUE(read) << read.reason();
  EXPECT_EQ(read.value().description(),
            "{a&b = <é>, b = <00ff>, d = @978307210, l = (1), n = -5, r = 1.5, t = 1}");
}

TEST(PropertyList, WritesTextsThatTheFormatCannotHold) {
  const auto bytes =
      serializedPropertyList(Dico{{"bad\xFF", "a\xE9z"}, {"zero", std::string("a\0b", 3)}});
  ASSERT_TRUE(bytes);
  const auto read = parsePropertyList(bytes.value());
  ASSERT_TRUE(read);
  EXPECT_EQ(read.value().dico()->text("bad\uFFFD"), "a\uFFFDz");
  EXPECT_EQ(read.value().dico()->text("zero"), "a");
}

TEST(PropertyList, HoldsDatesToTheRangeOfTheFormat) {
  for (const double seconds : {-1e18, 1e18, std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()})
    EXPECT_TRUE(serializedPropertyList(List{Date{seconds}})) << seconds;
}

Value nested(int depth) {
  Value value(1);
  for (int level = 0; level < depth; ++level)
    value = level % 2 == 0 ? Value(List{value}) : Value(Dico{{"k", value}});
  return value;
}

TEST(PropertyList, RefusesDeepNestingBothWays) {
  const auto bytes = serializedPropertyList(nested(propertyListMaxDepth - 1));
  ASSERT_TRUE(bytes);
  EXPECT_TRUE(parsePropertyList(bytes.value()));
  EXPECT_FALSE(serializedPropertyList(nested(propertyListMaxDepth)));

  std::string xml = "<plist version=\"1.0\">";
  for (int level = 0; level < 200'000; ++level)
    xml += "<array><!--</array>-->";
  EXPECT_THAT(parsePropertyList(xml).reason(), HasSubstr("deep"));
}

// A binary list whose objects 0 to `levels`-1 are lists of `width` references to the next object.
std::string sharedReferences(int levels, int width) {
  std::string bytes = "bplist00";
  std::string offsets;
  const auto addOffset = [&] {
    offsets += static_cast<char>(bytes.size() >> 8);
    offsets += static_cast<char>(bytes.size() & 0xFF);
  };
  for (int level = 0; level < levels; ++level) {
    addOffset();
    bytes += static_cast<char>(0xA0 + width);
    bytes += std::string(static_cast<std::size_t>(width), static_cast<char>(level + 1));
  }
  addOffset();
  bytes += "\x09";  // true
  const std::size_t table = bytes.size();
  bytes += offsets + std::string(6, '\0') + "\x02\x01";
  bytes += std::string(7, '\0') + static_cast<char>(levels + 1) + std::string(8, '\0');
  bytes += std::string(6, '\0') + static_cast<char>(table >> 8) + static_cast<char>(table & 0xFF);
  return bytes;
}

TEST(PropertyList, FollowsSharedReferencesOnlyWithinLimits) {
  const auto fine = parsePropertyList(sharedReferences(3, 2));
  ASSERT_TRUE(fine) << fine.reason();
  EXPECT_EQ(fine.value().description(), "(((1, 1), (1, 1)), ((1, 1), (1, 1)))");
  EXPECT_THAT(parsePropertyList(sharedReferences(60, 2)).reason(), HasSubstr("unfolded"));
  EXPECT_THAT(parsePropertyList(sharedReferences(40, 14)).reason(), HasSubstr("unfolded"));
}

TEST(PropertyList, CountsTheLevelsBelowAnObjectWhereverItIsMet) {
  // A chain of lists; the first one refers to the middle of the chain, too, and before.
  const auto chain = [](int levels) {
    std::string bytes = sharedReferences(levels, 2);
    for (int level = 0; level < levels; ++level)
      bytes[8 + 3 * static_cast<std::size_t>(level) + 2] = static_cast<char>(levels);
    bytes[9] = static_cast<char>(levels / 2);
    bytes[10] = '\x01';
    return bytes;
  };
  EXPECT_TRUE(parsePropertyList(chain(propertyListMaxDepth - 1)));
  EXPECT_THAT(parsePropertyList(chain(propertyListMaxDepth)).reason(), HasSubstr("deep"));
  EXPECT_THAT(parsePropertyList(chain(propertyListMaxDepth + 20)).reason(), HasSubstr("deep"));
}

TEST(PropertyList, RefusesAListThatHoldsItself) {
  std::string bytes = sharedReferences(1, 1);
  bytes[9] = '\0';
  EXPECT_FALSE(parsePropertyList(bytes));
}

TEST(PropertyList, RefusesWhatIsNone) {
  for (const std::string& bytes :
       {std::string(), std::string("hello"), std::string("bplist00"), std::string("<plist>"),
        std::string("bplist00") + std::string(32, '\xFF'),
        std::string(propertyListMaxBytes + 1, ' ')})
    EXPECT_FALSE(parsePropertyList(bytes)) << bytes.substr(0, 20);
  const test::ScopedTemporaryFolder folder;
  EXPECT_FALSE(readPropertyList(folder.file("missing")));
  EXPECT_FALSE(readPropertyList(folder.path()));
}

// Damaged lists may be refused or read as something else; they must not bring the program down.
TEST(PropertyList, SurvivesDamageAnywhere) {
  const std::string whole = serializedPropertyList(everyKind()).value();
  EXPECT_EQ(parsePropertyList(whole).value(), Value(everyKind())) << "as it was";
  for (std::size_t length = 0; length < whole.size(); ++length)
    EXPECT_FALSE(parsePropertyList(whole.substr(0, length))) << length;
  std::mt19937 random(1);
  for (int round = 0; round < 20'000; ++round) {
    std::string damaged = whole;
    for (int change = 0; change < 3; ++change)
      damaged[random() % damaged.size()] = static_cast<char>(random());
    const auto read = parsePropertyList(damaged);
    if (read)
      (void)serializedPropertyList(read.value());
  }
}

}  // namespace
}  // namespace tessarin
