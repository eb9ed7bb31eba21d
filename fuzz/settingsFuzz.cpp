// Property lists: preferences, presets, batches and the settings of exports.
#include "Input.h"
#include "core/BatchFile.h"
#include "core/Preset.h"
#include "core/storedRow.h"
#include "platform/propertyList.h"
#include "tools/movtool/ExportSettings.h"

using namespace tessarin;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  {
    const fuzz::InputFile file(bytes);
    const BatchFile batch = readBatchFile(file.path());
    fuzz::require(batch.state == BatchPart::State::good || !batch.reason.empty());
    for (const StoredRow& row : batch.batch.rows)
      fuzz::require(rowOfStored(storedForm(row.row)) == row.row);
    if (const auto preset = presetCalled(file.path())) {
      Preset completed;
      complete(completed, preset.value());
      fuzz::require(completed == preset.value());
    }
  }
  const auto list = parsePropertyList(bytes);
  if (!list)
    return 0;
  // What can be read can be written and read again.
  if (const auto written = serializedPropertyList(list.value()))
    fuzz::require(parsePropertyList(written.value()).ok());
  if (const auto settings = movtool::exportSettings(list.value()))
    movtool::codecOf(settings.value());
  else
    fuzz::require(!settings.reason().empty());
  if (const Dico* record = list->dico()) {
    rowOfContent(*record, 1);
    if (const auto preset = presetOf(*record))
      fuzz::require(presetOf(presetRecord(preset.value())).value() == preset.value());
    else
      fuzz::require(!preset.reason().empty());
  }
  return 0;
}
