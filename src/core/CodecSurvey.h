// What has to be known of ffmpeg before the first source: its codecs and its version.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "process/ToolRun.h"

namespace tessarin {

class CodecSurvey {
 public:
  // The reason why nothing is known, in the user's language; nothing when all went well.
  using Known = std::function<void(const std::optional<std::string>& problem)>;

  explicit CodecSurvey(RunLoop& loop) : run_(loop) {}

  // Takes the codec inventory, and tells the tools ffmpeg's version through the environment, so
  // that the adapter need not ask before every conversion. Then calls `known`: before this returns
  // where an earlier start has kept the answer or ffmpeg cannot be started, else from the loop,
  // within the time of a quick question.
  void begin(const Known& known);

 private:
  ToolRun run_;
};

}  // namespace tessarin
