// What the XML of P2 cards says, also of hostile ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/ScopedTemporaryFolder.h"
#include "support/p2Card.h"
#include "tools/cardBytes.h"
#include "tools/gettimestamps/p2Card.h"
#include "tools/gettimestamps/source.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

// What each MXF file begins with.
const std::string mxfHead = test::fromHex("060E2B34 02050101 0D010201 01020000");

class P2Card : public testing::Test {
 protected:
  P2Card() : pictures(write("VIDEO/0001AB.MXF", "pictures")) {}
  std::string write(const std::string& name, const std::string& content) const {
    return folder.write("CONTENTS/" + name, content);
  }
  test::ScopedTemporaryFolder folder;
  std::string pictures;
};

TEST_F(P2Card, TellsWhenAndWithWhatAClipWasRecorded) {
  write("clip/0001ab.xml", test::p2Xml({}));
  const KnownFacts facts = factsOfSource(pictures);
  EXPECT_EQ(facts.time->origin, "beside");
  EXPECT_EQ(facts.time->time->text() + facts.time->time->zoneText(), "2006-05-27 16.06.13+0900");
  EXPECT_EQ(facts.timeCode, "10:20:30:05");
  EXPECT_EQ(facts.make + " " + facts.model, "Panasonic AG-HVX200");
  EXPECT_EQ(facts.place, "+34.7500+135.5000/");
  EXPECT_EQ(facts.title, "Überfahrt & Hafen");
  // Whether numbers are dropped is not said.
  test::P2Xml american;
  american.frameRate = "59.94i";
  write("clip/0001ab.xml", test::p2Xml(american));
  EXPECT_EQ(factsOfSource(pictures).timeCode, "");
}

TEST_F(P2Card, NamesNoFileButThoseOfTheClip) {
  const std::string own = write("AUDIO/0001AB00.MXF", mxfHead);
  write("AUDIO/0002CD00.MXF", mxfHead);
  folder.write("0001AB00.MXF", mxfHead);
  for (const char* name : {"0002CD", "../0001AB", "/etc/passwd", "../../0001AB", ""}) {
    test::P2Xml xml;
    xml.name = name;
    write("CLIP/0001AB.XML", test::p2Xml(xml));
    const P2Sounds sounds = p2SoundsOf(pictures);
    EXPECT_THAT(sounds.files, ElementsAre(own)) << name;
    EXPECT_TRUE(sounds.isByName);
  }
}

TEST_F(P2Card, SurvivesHostileXml) {
  const std::string own = write("AUDIO/0001AB00.MXF", mxfHead);
  test::P2Xml many;
  many.sounds = 65535;
  write("CLIP/0001AB.XML", test::p2Xml(many));
  EXPECT_TRUE(p2SoundsOf(pictures).isByName) << "larger than any camera writes";
  EXPECT_THAT(p2SoundsOf(pictures).files, ElementsAre(own));
  many.sounds = 20000;
  write("CLIP/0001AB.XML", test::p2Xml(many));
  EXPECT_THAT(p2SoundsOf(pictures).files, ElementsAre(own));
  EXPECT_EQ(p2SoundsOf(pictures).missing, 99u);

  std::string bomb = "<!DOCTYPE P2Main [<!ENTITY a \"aaaaaaaaaa\">";
  for (char entity = 'b'; entity < 'n'; ++entity) {
    const std::string before(1, static_cast<char>(entity - 1));
    bomb += "<!ENTITY " + std::string(1, entity) + " \"";
    for (int times = 0; times < 10; ++times)
      bomb += "&" + before + ";";
    bomb += "\">";
  }
  bomb += "<!ENTITY file SYSTEM \"file:///etc/passwd\">]>";
  std::string xml = test::p2Xml({});
  xml.replace(xml.find("Panasonic"), 9, "&m;&file;");
  xml.insert(xml.find("<P2Main"), bomb);
  write("CLIP/0001AB.XML", xml);
  EXPECT_EQ(factsOfSource(pictures).make, "&m;&file;");

  std::string deep;
  for (int level = 0; level < 300000; ++level)
    deep += "<P2Main>";
  write("CLIP/0001AB.XML", deep);
  EXPECT_FALSE(p2ClipOf(pictures).has_value());
  for (std::size_t length = 0; length < xml.size(); length += 11) {
    write("CLIP/0001AB.XML", xml.substr(0, length));
    p2SoundsOf(pictures);
  }
}

}  // namespace
}  // namespace tessarin
