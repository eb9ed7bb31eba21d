// MPEG-1 and MPEG-2 files, broken ones too.
#include "Input.h"
#include "analysis/mpegInfo.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const tessarin::fuzz::InputFile file(tessarin::fuzz::textOf(data, size));
  tessarin::mpeginfoFunction::mpegInfoDico(file.path());
  return 0;
}
