// MPEG-1 and MPEG-2 files, broken ones too.
#include "InputFile.h"
#include "analysis/mpegInfo.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const tessarin::fuzz::InputFile file(data, size);
  tessarin::mpegInfo info;
  info.readInformations(file.path());
  return 0;
}
