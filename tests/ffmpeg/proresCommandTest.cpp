#include <gmock/gmock.h>

#include "classShared/TextAdditions.h"
#include "ffmpeg/proresCommand.h"

namespace tessarin {
namespace {

std::vector<std::string> wordsOf(const std::string& text) {
  std::vector<std::string> list;
  for (const std::string_view word : split(text, " "))
    list.emplace_back(word);
  return list;
}

std::string joined(const std::vector<std::string>& list) {
  return joinTexts(list, " ");
}

TEST(ProresCommand, TakesPicturesAndSoundApart) {
  const auto command = proresCommand(
      wordsOf("-loglevel info -c:a ac3 -fflags +genpts -i a.mts -c:v prores -profile 3 -flags "
              "+ildct+ilme -field_order tb -threads auto -vf setfield=bff,setparams=x=1," +
              proresFilters("", true) +
              " -r 25/1 -async 3000 "
              "-c:a pcm_s16le -ac 2 -movflags faststart -color_primaries bt709 -color_trc gamma28 "
              "-colorspace bt709 -ss 0.5 -sn -y a.mov"));
  ASSERT_TRUE(command);
  const std::string input = "-c:a ac3 -fflags +genpts -i a.mts ";
  const std::string pictures = "-threads auto -r 25/1 -ss 0.5 -sn -dn -an -vsync 1 -vf ";
  const std::string end = " -c:v wrapped_avframe -strict -1 -f yuv4mpegpipe pipe:1 ";
  const std::string same = "-threads auto -ss 0.5 -sn -dn -c copy -f null -";
  EXPECT_EQ(joined(command->pictures),
            "-loglevel info " + input + pictures +
                "setfield=bff,setparams=x=1,scale=interl=-1,format=yuv422p10,fieldorder=tff,"
                "setfield=tff" +
                end + same);
  ASSERT_TRUE(command->keptFields);
  EXPECT_EQ(joined(*command->keptFields),
            "-loglevel info " + input + pictures +
                "setfield=bff,setparams=x=1,scale=interl=-1,format=yuv420p|yuv422p|yuv420p10|"
                "yuv422p10" +
                end + same);
  ASSERT_EQ(command->sounds.size(), 1U);
  EXPECT_EQ(joined(command->sounds[0].arguments),
            "-loglevel warning " + input +
                "-threads auto -async 3000 -c:a pcm_s16le -ac 2 -ss 0.5 -sn -dn -af " +
                std::string(movieSoundFilter) + " -vn -f wav pipe:1 " + same);
  EXPECT_EQ(command->profile, 3);
  EXPECT_TRUE(command->interlaced);
  EXPECT_EQ(command->colours, (PictureColours{"bt709", "bt470bg", "bt709"}));
  EXPECT_EQ(command->source, "a.mts");
  EXPECT_EQ(command->output, "a.mov");
  EXPECT_TRUE(command->replace);
}

TEST(ProresCommand, LeavesFieldsAloneOnlyWhereNothingMakesOthers) {
  const auto chains = [](const std::string& own, bool hasFields) {
    const std::string filters = own + proresFilters(own, hasFields);
    const auto command = proresCommand(wordsOf("-i a -c:v prores -vf " + filters + " b.mov"));
    return filters + (command && command->keptFields ? " or kept" : "");
  };
  EXPECT_EQ(chains("", true),
            "scale=interl=-1,format=yuv422p10,fieldorder=tff,setfield=tff or kept");
  EXPECT_EQ(chains("scale=720:576,", true),
            "scale=720:576,scale=interl=-1,format=yuv422p10,fieldorder=tff,setfield=tff");
  // Weaving and deinterlacing work on progressive pictures: the chain's own scaler, before the
  // weave, goes to 4:2:2 whole.
  EXPECT_EQ(chains("scale=720:576,tinterlace=interleave_top,", true),
            "scale=720:576,tinterlace=interleave_top,format=yuv422p10,fieldorder=tff,setfield=tff");
  EXPECT_EQ(chains("yadif=0:-1:0,", false), "yadif=0:-1:0,format=yuv422p10,setfield=prog");
}

TEST(ProresCommand, LeavesAllElseToFfmpeg) {
  const std::string bare = "-i a -c:v prores ";
  const std::string ordinary = bare + "-vf " + proresFilters("", false) + " ";
  EXPECT_TRUE(proresCommand(wordsOf(ordinary + "b.mov")));
  EXPECT_FALSE(proresCommand(wordsOf(ordinary + "-n b.MOV"))->replace);
  EXPECT_TRUE(proresCommand(wordsOf(ordinary + "b.mov"))->sounds.empty());
  for (const char* end : {"b.mkv", "-f matroska b.mov", "-c:v copy b.mov", "-c:a aac b.mov",
                          "-field_order bt b.mov", "-top 1 b.mov", "-profile 5 b.mov",
                          "-q:v 5 b.mov", "-metadata title=x b.mov", "-pix_fmt yuv444p b.mov",
                          "b.mov -c:v copy c.mov", "b.mov -y", "-bsf:v x b.mov", "-vsync 0 b.mov"})
    EXPECT_FALSE(proresCommand(wordsOf(ordinary + end))) << end;
  EXPECT_FALSE(proresCommand(wordsOf(bare + "b.mov"))) << "needs filters of its own";
  EXPECT_FALSE(proresCommand(wordsOf("-c:v prores b.mov")));
  EXPECT_FALSE(proresCommand(wordsOf("-filter_complex x " + ordinary + "b.mov")));
  EXPECT_FALSE(proresCommand({}));
}

}  // namespace
}  // namespace tessarin
