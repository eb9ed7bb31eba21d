// Which codecs the tools can handle, taken once at start.
//
// The questions and answers are those of a registry of media components with four-character codes;
// here the registry is filled from what ffmpeg and movtool can do.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

// One component: something that reads or writes one kind of stream.
class QTCompDesc {
 public:
  // The name of a component that has none.
  static constexpr std::string_view noName = "**NO NAME**";

  QTCompDesc() = default;
  // `type`, `subType` and `manufacturer` are four-character codes.
  QTCompDesc(std::string name, std::string type, std::string subType, std::string manufacturer);

  const std::string& name() const { return name_; }
  void setName(std::string name) { name_ = std::move(name); }
  const std::string& type() const { return type_; }
  void setType(std::string type) { type_ = std::move(type); }
  const std::string& subType() const { return subType_; }
  void setSubType(std::string subType) { subType_ = std::move(subType); }
  const std::string& manufacturer() const { return manufacturer_; }
  void setManufacturer(std::string manufacturer) { manufacturer_ = std::move(manufacturer); }
  const std::string& threadsafe() const { return threadsafe_; }
  void setThreadSafe(std::string threadsafe) { threadsafe_ = std::move(threadsafe); }
  std::uint32_t flags() const { return flags_; }
  void setFlags(std::uint32_t flags) { flags_ = flags; }

 private:
  std::string name_;
  std::string type_;
  std::string subType_;
  std::string manufacturer_;
  std::string threadsafe_;  // "Yes" or "No"
  std::uint32_t flags_ = 0;
};

// The components behind `codecsListing`, the text of "ffmpeg -codecs"; `hasMovtool` adds the Apple
// Intermediate Codec encoder.
std::vector<QTCompDesc> componentsOf(std::string_view codecsListing, bool hasMovtool);

// The components of this installation. Runs ffmpeg at the first call, blocking; later calls answer
// from memory.
const std::vector<QTCompDesc>& componentList();

// One answer, 1 or 0, for each wanted code, in the same order: whether the upper-case subtype of
// some component contains it. The type does not matter, so a decoder answers like an encoder.
std::vector<int> CheckAllCodecs(const std::vector<std::string>& wantedCodes,
                                const std::vector<QTCompDesc>& components);
std::vector<int> CheckAllCodecs(const std::vector<std::string>& wantedCodes);

// Labels of the ProRes encoders in the order 4444, HQ, standard, proxy, LT, such as
// "Apple ProRes 422 High Quality (imco:apch:appl)". Nothing when there are no components at all.
std::optional<std::vector<std::string>> proresEncoderQuery(
    const std::vector<QTCompDesc>& components);

// What is there; false until the inventory was taken.
struct CodecInventory {
  bool wmv = false;            // Windows Media decoder
  bool vp6 = false;            // On2 VP6 decoder
  bool aic = false;            // Apple Intermediate Codec can be written
  bool prores = false;         // ProRes can be written
  bool mpeg2 = false;          // MPEG-2 video decoder
  bool mts = false;            // AVCHD transport streams can be read
  bool proresEncoder = false;  // the list of ProRes encoders is there
};

// The process-wide inventory.
CodecInventory& codecInventory();
// Fills codecInventory() and proresEncoderLabels(). Called once, at start.
void takeCodecInventory();
// The labels that the last inventory found, in the order of proresEncoderQuery.
std::vector<std::string> proresEncoderLabels();

}  // namespace tessarin
