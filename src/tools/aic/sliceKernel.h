// Source of the slice coder, included by the files that build it for one kind of processor each,
// behind the lanes of that processor. Everything here has internal linkage, and no function of the
// standard library is called, so that no code for the newer processor can leak into the rest of
// the program.
#pragma once

#include "tools/aic/bandKernel.h"
#include "tools/aic/blockKernel.h"
#include "tools/aic/sliceCoder.h"

namespace tessarin::aic {
namespace {

// The bands of a slice, in the order in which they are written.
struct Band {
  int groups;  // of a macroblock
  int first;   // group of a macroblock, counted over all bands
};
constexpr int bandCount = 4;
constexpr Band bands[bandCount] = {{4, 0}, {2, 4}, {12, 6}, {6, 18}};

constexpr int bandOfGroup(int group) {
  int band = 0;
  while (band + 1 < bandCount && group >= bands[band + 1].first)
    ++band;
  return band;
}

// Where the quarters of each block stand among a macroblock's groups: left top, right top, left
// bottom, right bottom. Blocks are the four of luma, then blue and red chroma.
using GroupPlaces = std::uint8_t[blocksPerMacroblock][4];
constexpr GroupPlaces progressivePlaces = {{0, 7, 6, 8},    {1, 10, 11, 9},  {2, 13, 12, 14},
                                           {3, 16, 17, 15}, {4, 19, 18, 20}, {5, 22, 23, 21}};
constexpr GroupPlaces interlacedPlaces = {{0, 7, 2, 8},    {1, 10, 3, 11},  {6, 13, 12, 14},
                                          {9, 16, 15, 17}, {4, 19, 18, 20}, {5, 22, 23, 21}};

// The groups of one band follow each other, macroblock by macroblock.
struct GroupPlan {
  int start[blocksPerMacroblock][4];  // in the first macroblock of the slice
  int step[blocksPerMacroblock][4];   // to the next
  int band[blocksPerMacroblock][4];
};

GroupPlan planGroups(const SliceSource& source) {
  const GroupPlaces& places = source.interlaced ? interlacedPlaces : progressivePlaces;
  GroupPlan plan;
  for (int block = 0; block < blocksPerMacroblock; ++block) {
    for (int quarter = 0; quarter < 4; ++quarter) {
      const int group = places[block][quarter];
      const int band = bandOfGroup(group);
      plan.band[block][quarter] = band;
      plan.start[block][quarter] =
          bands[band].first * source.macroblocks + group - bands[band].first;
      plan.step[block][quarter] = bands[band].groups;
    }
  }
  return plan;
}

TESSARIN_INLINE GroupTarget groupTarget(SliceMemory& memory, std::ptrdiff_t group) {
  return {memory.values + 16 * group, memory.marks + group};
}

void transformMacroblocks(const SliceSource& source, const QuantiserTable& table,
                          SliceMemory& memory, Pair (&largest)[bandCount]) {
  const GroupPlan plan = planGroups(source);
  const std::ptrdiff_t lumaStride = source.lumaStride;
  const std::ptrdiff_t blockStride = source.interlaced ? 2 * lumaStride : lumaStride;
  const std::ptrdiff_t lowerBlocks = source.interlaced ? lumaStride : 8 * lumaStride;
  for (int macroblock = 0; macroblock < source.macroblocks; ++macroblock) {
    const std::ptrdiff_t x = 8 * std::ptrdiff_t{macroblock};
    const std::uint8_t* luma = source.samples[0] + 2 * x;
    // Left and right luma, then the two chroma planes.
    for (int block = 0; block < blocksPerMacroblock; block += 2) {
      Pair columns[8];
      if (block < 4) {
        const std::uint8_t* left = block == 0 ? luma : luma + lowerBlocks;
        transformBlocks(left, left + 8, blockStride, table, columns);
      } else {
        transformBlocks(source.samples[1] + x, source.samples[2] + x, source.chromaStride, table,
                        columns);
      }
      for (int quarter = 0; quarter < 4; ++quarter) {
        const Pair* half = columns + (quarter & 1 ? 4 : 0);
        const bool lower = (quarter & 2) != 0;
        const Pair left = lower ? highHalves(half[0], half[1]) : lowHalves(half[0], half[1]);
        const Pair right = lower ? highHalves(half[2], half[3]) : lowHalves(half[2], half[3]);
        const int moved = macroblock * plan.step[block][quarter];
        writeGroups(left, right, groupTarget(memory, plan.start[block][quarter] + moved),
                    groupTarget(memory, plan.start[block + 1][quarter] + moved),
                    largest[plan.band[block][quarter]]);
      }
    }
  }
}

std::size_t codeSlice(const SliceSource& source, const QuantiserTable& table, SliceMemory& memory,
                      std::uint8_t* bytes) {
  Pair largest[bandCount] = {};
  transformMacroblocks(source, table, memory, largest);
  BitWriter writer(bytes);
  for (int band = 0; band < bandCount; ++band) {
    const std::ptrdiff_t firstGroup = std::ptrdiff_t{bands[band].first} * source.macroblocks;
    const BandValues values = {memory.values + 16 * firstGroup, memory.marks + firstGroup,
                               source.macroblocks, bands[band].groups, largestLane(largest[band])};
    writeBand(values, memory, writer);
  }
  return writer.finish(4);
}

}  // namespace
}  // namespace tessarin::aic
