// Source of the slice coder, included by the files that build it for one kind of processor each;
// tools/blocks/lanes.h says what kernels are.
#pragma once

#include "tools/prores/codeKernel.h"
#include "tools/prores/gatherKernel.h"
#include "tools/prores/sliceCoder.h"
#include "tools/prores/transformKernel.h"

namespace tessarin::prores {
namespace {

void transformSlice(const SliceSource& source, SliceMemory& memory) {
  for (int plane = 0; plane < planeCount; ++plane) {
    const int width = source.macroblocks * macroblockWidth(source.sampling, plane);
    const auto gather = source.bits == 8 ? gatherPlane<1> : gatherPlane<2>;
    gather(source, plane, width, memory.samples);
    transformPlane(memory.samples, width, blockOrder(source.sampling, plane), source.macroblocks,
                   memory.coefficients[plane]);
  }
}

std::size_t codeSlice(const SliceSource& source, const QuantiserTable& table, SliceMemory& memory,
                      std::uint8_t* bytes) {
  constexpr std::size_t headerSize = 6;
  const auto& scan = source.interlaced ? interlacedScan : progressiveScan;
  std::size_t size = headerSize;
  std::size_t sizes[planeCount];
  for (int plane = 0; plane < planeCount; ++plane) {
    const BlockValues<float>& coefficients = memory.coefficients[plane];
    const int count = blockOrder(source.sampling, plane).count * source.macroblocks;
    const int total = quantise(coefficients, table, scan, count, memory.levels);
    BitWriter writer(bytes + size);
    codeDc(coefficients[0], table.factor[0], count, writer);
    codeAc(memory.levels, total, count, writer);
    sizes[plane] = writer.finish(1);
    size += sizes[plane];
  }
  bytes[0] = headerSize << 3;
  bytes[1] = static_cast<std::uint8_t>(table.index);
  // The last plane has the rest.
  for (int plane = 0; plane < 2; ++plane) {
    bytes[2 + 2 * plane] = static_cast<std::uint8_t>(sizes[plane] >> 8);
    bytes[3 + 2 * plane] = static_cast<std::uint8_t>(sizes[plane]);
  }
  return size;
}

constexpr SliceCoder ownCoder = {transformSlice, codeSlice};

}  // namespace
}  // namespace tessarin::prores
