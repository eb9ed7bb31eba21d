// Property lists: preferences, batches and the settings of exports.
#include <cstdint>
#include <string_view>

#include "platform/propertyList.h"
#include "tools/movtool/ExportSettings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto list = tessarin::parsePropertyList(bytes);
  if (!list)
    return 0;
  // What can be read can be written and read again.
  if (const auto written = tessarin::serializedPropertyList(list.value())) {
    if (!tessarin::parsePropertyList(written.value()))
      __builtin_trap();
  }
  if (const auto settings = tessarin::movtool::exportSettings(list.value());
      !settings && settings.reason().empty())
    __builtin_trap();
  return 0;
}
