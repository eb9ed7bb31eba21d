#include "analysis/codecInventory.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>

#include "analysis/installedComponents.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"

namespace tessarin {

namespace {

std::string firstFour(const std::string& text) {
  return text.substr(0, 4);
}

// One code of the inventory and the flag that its answer fills, in the order of asking.
struct InventoryRow {
  const char* code;
  bool CodecInventory::*flag;
};
constexpr std::array inventoryRows = {
    InventoryRow{"WMV ", &CodecInventory::wmv},   InventoryRow{"VP60", &CodecInventory::vp6},
    InventoryRow{"ICOD", &CodecInventory::aic},   InventoryRow{"APCH", &CodecInventory::prores},
    InventoryRow{"M2V ", &CodecInventory::mpeg2}, InventoryRow{"MTS ", &CodecInventory::mts}};

std::vector<ProresEncoder>& encoderList() {
  static std::vector<ProresEncoder> list;
  return list;
}

// With their codes, for the log: "Apple ProRes 422 High Quality (imco:apch:appl)".
std::string described(const std::vector<ProresEncoder>& encoders) {
  std::vector<std::string> labels;
  labels.reserve(encoders.size());
  for (const ProresEncoder& each : encoders)
    labels.push_back(fmt::format("{} (imco:{}:appl)", each.name, each.flavour->code));
  return joinTexts(labels, ", ");
}

const char* mouth(bool found) {
  return found ? ")" : "(";
}

bool answers(const QTCompDesc& component, const std::string& wantedCode) {
  debugFormat("qtcomponent         : {}", component.name());
  debugFormat("     …name          : {}", component.name());
  debugFormat("     …subType       : {}", component.subType());
  if (!contains(upperCase(firstFour(component.subType())), wantedCode))
    return false;
  debugFormat("     …subType (4CC) : {}", firstFour(component.subType()));
  debugFormat("SubType             : {}", component.subType());
  debugFormat("Name                : {}", component.name());
  debugFormat("Manufacturer        : {}", firstFour(component.manufacturer()));
  return true;
}

// "imco:apch:appl"
std::string componentKey(const QTCompDesc& component) {
  return fmt::format("{}:{}:{}", firstFour(component.type()), firstFour(component.subType()),
                     firstFour(component.manufacturer()));
}

std::string encoderName(const QTCompDesc& component, const ProresFlavour& flavour) {
  const bool named = !component.name().empty() && component.name() != QTCompDesc::noName;
  return named ? component.name() : fmt::format("Apple ProRes {}", flavour.encoderName);
}

}  // namespace

std::vector<int> CheckAllCodecs(const std::vector<std::string>& wantedCodes,
                                const std::vector<QTCompDesc>& components) {
  logLine("CheckAllCodecs       - begin");
  std::vector<int> result;
  for (const std::string& wanted : wantedCodes) {
    debugFormat("codec available     ? '{}' …", wanted);
    const bool found =
        std::any_of(components.begin(), components.end(),
                    [&](const QTCompDesc& component) { return answers(component, wanted); });
    result.push_back(found ? 1 : 0);
    logFormat("{}                :-{}", wanted, mouth(found));
  }
  debugFormat("ma : {}", fmt::join(result, ", "));
  return result;
}

std::vector<int> CheckAllCodecs(const std::vector<std::string>& wantedCodes) {
  return CheckAllCodecs(wantedCodes, componentList());
}

std::optional<std::vector<ProresEncoder>> proresEncoderQuery(
    const std::vector<QTCompDesc>& components) {
  if (components.empty())
    return std::nullopt;
  std::vector<ProresEncoder> result;
  for (const ProresFlavour& flavour : proresFlavours) {
    const std::string key = fmt::format("imco:{}:appl", flavour.code);
    const auto component = std::find_if(
        components.begin(), components.end(),
        [&key](const QTCompDesc& candidate) { return contains(componentKey(candidate), key); });
    if (component == components.end())
      continue;
    const auto index = component - components.begin();
    debugFormat("component #{}{}     : {}", index < 100 ? "00" : "", index, component->name());
    debugFormat("    proRes searched ? {}", key);
    debugFormat("    type            : {}", component->type());
    debugFormat("    subType         : {}", component->subType());
    debugFormat("    manufacturer    : {}", component->manufacturer());
    debugFormat("    name            : {}", component->name());
    result.push_back({encoderName(*component, flavour), &flavour});
  }
  debugFormat("ma : {}", described(result));
  return result;
}

CodecInventory& codecInventory() {
  static CodecInventory inventory;
  return inventory;
}

void takeCodecInventory() {
  std::vector<std::string> codes;
  codes.reserve(inventoryRows.size());
  for (const InventoryRow& row : inventoryRows)
    codes.emplace_back(row.code);
  const std::vector<int> found = CheckAllCodecs(codes);
  debugFormat("tempArray           : {}", fmt::join(found, ", "));

  CodecInventory& inventory = codecInventory();
  for (std::size_t index = 0; index < inventoryRows.size(); ++index)
    inventory.*inventoryRows.at(index).flag = found.at(index) != 0;
  logFormat("qt aic              :-{}", mouth(inventory.aic));
  logFormat("qt mts              :-{}", mouth(inventory.mts));
  logFormat("qt prores dec       :-{}", mouth(inventory.prores));

  inventory.proresEncoder = false;
  encoderList().clear();
  if (auto encoders = proresEncoderQuery(componentList())) {
    debugFormat("prores              : {}", described(*encoders));
    inventory.proresEncoder = true;
    encoderList() = std::move(*encoders);
  }
  logFormat("prores enc          :-{}", mouth(inventory.proresEncoder));
}

const std::vector<ProresEncoder>& proresEncoders() {
  return encoderList();
}

}  // namespace tessarin
