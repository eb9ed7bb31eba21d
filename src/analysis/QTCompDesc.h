// The description of one media component: something that reads or writes one kind of stream.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tessarin {

// What a registry says of a component: three four-character codes ('imco' is 0x696D636F) and bits.
struct ComponentDescription {
  std::uint32_t type = 0;
  std::uint32_t subType = 0;
  std::uint32_t manufacturer = 0;
  std::uint32_t flags = 0;
  std::uint32_t flagsMask = 0;

  bool operator==(const ComponentDescription&) const = default;
};

// The four letters as a code; blanks fill up a shorter text.
std::uint32_t fourCharacterCode(std::string_view text);

// There is no registry of system components here: the descriptions come from a table of the
// components that matter (installedComponents), each with the ability of ffmpeg that stands in.
class QTCompDesc {
 public:
  // The name of a component that has none.
  static constexpr std::string_view noName = "**NO NAME**";
  // The bit among the flags that tells that a component may be used on any thread.
  static constexpr std::uint32_t threadSafeFlag = 0x10000000;

  // An empty description, as of a component that cannot be asked.
  QTCompDesc() = default;
  // `name` is empty for a component without one.
  static QTCompDesc withComponent(const ComponentDescription& description, std::string_view name);

  const std::string& name() const { return name_; }
  void setName(std::string name) { name_ = std::move(name); }
  // The three codes as four letters each.
  const std::string& type() const { return type_; }
  void setType(std::string type) { type_ = std::move(type); }
  const std::string& subType() const { return subType_; }
  void setSubType(std::string subType) { subType_ = std::move(subType); }
  const std::string& manufacturer() const { return manufacturer_; }
  void setManufacturer(std::string manufacturer) { manufacturer_ = std::move(manufacturer); }
  // "Yes" or "No".
  const std::string& threadsafe() const { return threadsafe_; }
  void setThreadSafe(std::string threadsafe) { threadsafe_ = std::move(threadsafe); }
  std::uint32_t flags() const { return flags_; }
  void setFlags(std::uint32_t flags) { flags_ = flags; }
  const ComponentDescription& componentDescription() const { return compDesc_; }

 private:
  std::string name_;
  std::string type_;
  std::string subType_;
  std::string manufacturer_;
  std::string threadsafe_;
  std::uint32_t flags_ = 0;
  ComponentDescription compDesc_;
};

}  // namespace tessarin
