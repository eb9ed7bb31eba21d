#include "encoding/exportStep.h"

#include <cmath>

#include "classShared/log.h"
#include "encoding/arithmetic.h"
#include "encoding/naming.h"
#include "platform/Bundle.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// The format that encDstPoidsEstimatif takes for an export: room for the largest codec.
constexpr int exportFormat = 3;

std::string presetOf(const std::string& presetName, double displayRatio) {
  if (!presetName.empty())
    return presetName;
  return std::abs(displayRatio - 1.33) <= 0.1 ? "1280x720pLetterbox" : "1280x720p";
}

}  // namespace

Arguments exportCommand(const std::string& masterPath, const std::string& dstPath,
                        const std::string& presetName, double displayRatio) {
  const Bundle& bundle = Bundle::main();
  const std::string settings =
      joinPath(joinPath(bundle.resourcePath(), "presetQt"), presetOf(presetName, displayRatio));
  return {bundle.toolPath("movtool"), "-s", settings, "-i", masterPath, "-y", "-o", dstPath};
}

std::optional<ExportStep> encQt(const std::string& dstPath, double duration,
                                const std::string& presetName, double displayRatio) {
  logLine("encQt()             - begin");
  ExportStep step;
  step.masterPath = masterPathStr(dstPath);
  if (!moveFile(dstPath, step.masterPath, "y"))
    return std::nullopt;

  const int available = freeDiskSpaceMo(step.masterPath);
  const double necessary = encDstPoidsEstimatif(duration, poidsFile(dstPath, "M"), exportFormat);
  logFormat("necessary|available ? {:.0f} | {}", necessary, available);
  if (available >= 0 && available < necessary)
    return std::nullopt;

  step.arguments = exportCommand(step.masterPath, dstPath, presetName, displayRatio);
  logLine("encQt()             - end");
  return step;
}

}  // namespace tessarin
