#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analysis/codecInventory.h"
#include "analysis/installedComponents.h"
#include "support/AnalysisTools.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"

namespace tessarin {
namespace {

using test::LogCapture;
using ::testing::ElementsAre;

QTCompDesc component(const std::string& type, const std::string& subType,
                     const std::string& manufacturer, const std::string& name = "") {
  ComponentDescription description;
  description.type = fourCharacterCode(type);
  description.subType = fourCharacterCode(subType);
  description.manufacturer = fourCharacterCode(manufacturer);
  return QTCompDesc::withComponent(description, name);
}

std::string listed(const std::vector<QTCompDesc>& components) {
  const auto encoders = proresEncoderQuery(components);
  if (!encoders)
    return "no components";
  std::string text;
  for (const ProresEncoder& each : *encoders)
    text += each.name + " " + std::string(each.flavour->code) + "\n";
  return text;
}

TEST(CodecInventory, AnswersByUpperCaseSubtypeOfAnyType) {
  const LogCapture log(false);
  const std::vector<QTCompDesc> components = {component("imdc", "apch", "appl"),
                                              component("imco", "icod", "appl"),
                                              component("imdc", "WMV2", "msft"), QTCompDesc()};
  EXPECT_THAT(CheckAllCodecs({"WMV ", "ICOD", "APCH", "icod", "VP60"}, components),
              ElementsAre(0, 1, 1, 0, 0));
  EXPECT_THAT(log.lines(), ElementsAre("CheckAllCodecs       - begin", "WMV                 :-(",
                                       "ICOD                :-)", "APCH                :-)",
                                       "icod                :-(", "VP60                :-("));
  EXPECT_THAT(CheckAllCodecs({"ICOD"}, {}), ElementsAre(0));
}

TEST(CodecInventory, ListsProresEncodersInItsOwnOrder) {
  const std::vector<QTCompDesc> components = {component("imco", "apcs", "appl"),
                                              component("imco", "apco", "appl"),
                                              component("imdc", "ap4h", "appl", "a decoder"),
                                              component("imco", "apcn", "appl"),
                                              component("imco", "apch", "else", "another maker"),
                                              component("imco", "apch", "appl"),
                                              component("imco", "ap4h", "appl", "ProRes (4444)")};
  EXPECT_EQ(listed(components),
            "ProRes (4444) ap4h\nApple ProRes 422 High Quality apch\n"
            "Apple ProRes 422 Standard Quality apcn\nApple ProRes 422 Proxy apco\n"
            "Apple ProRes 422 LT apcs\n");
  EXPECT_EQ(listed({component("imdc", "apch", "appl")}), "");
  EXPECT_EQ(listed({}), "no components");
}

TEST(CodecInventory, KnowsWhatTheToolsCanDo) {
  const LogCapture quiet(false);
  const std::vector<std::string> codes = {"WMV ", "VP60", "ICOD", "APCH", "M2V ", "MTS "};
  const std::string all =
      "Codecs:\n D..... = Decoding supported\n -------\n"
      " D.VIL. aic                  Apple Intermediate Codec\n"
      " DEV.LS h264                 H.264 (decoders: h264 ) (encoders: libx264 )\n"
      " DEV.L. mpeg2video           MPEG-2 video (decoders: mpeg2video mpegvideo )\n"
      " DEVIL. prores               Apple ProRes (encoders: prores prores_aw prores_ks )\n"
      " D.V.L. vp6f                 On2 VP6 (Flash version)\n"
      " D.V.L. wmv3                 Windows Media Video 9\n";
  EXPECT_THAT(CheckAllCodecs(codes, componentsOf(all, true)), ElementsAre(1, 1, 1, 1, 1, 1));
  EXPECT_EQ(
      proresEncoderQuery(componentsOf(all, false)).value_or(std::vector<ProresEncoder>()).size(),
      5U);
  // What can only be read is no target.
  const std::string readers = " D.VIL. aic   x\n D.VIL. prores   x\n ..V.L. wmv3    x\n";
  EXPECT_THAT(CheckAllCodecs(codes, componentsOf(readers, false)), ElementsAre(0, 0, 0, 0, 0, 0));
  EXPECT_TRUE(componentsOf("", false).empty());
}

TEST(CodecInventory, IsTakenFromTheToolsOnce) {
  const LogCapture log(false);
  const test::AnalysisTools tools;
  // The answer of the real ffmpeg, kept from an earlier start, would do instead of this one's.
  const test::ScopedEnvironment cache("XDG_CACHE_HOME", tools.folder().file("cache"));
  tools.script(
      "ffmpeg",
      "echo \"$*\" >>'" + tools.folder().file("calls") +
          "'; echo 'ffmpeg version 9.1'; echo Codecs:; echo ' DEVIL. prores   Apple ProRes'");
  tools.script("movtool", "exit 1");
  takeCodecInventory();
  EXPECT_TRUE(codecInventory().aic);
  EXPECT_TRUE(codecInventory().prores);
  EXPECT_TRUE(codecInventory().proresEncoder);
  EXPECT_FALSE(codecInventory().mts);
  EXPECT_EQ(proresEncoders().size(), 5U);
  EXPECT_TRUE(log.has("qt aic              :-)"));
  EXPECT_TRUE(log.has("qt mts              :-("));
  EXPECT_TRUE(log.has("prores enc          :-)"));

  takeCodecInventory();
  EXPECT_EQ(tools.folder().read("calls"), "-codecs\n");
}

}  // namespace
}  // namespace tessarin
