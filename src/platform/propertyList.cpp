#include "platform/propertyList.h"

#include <fmt/format.h>
#include <plist/plist.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

#include "classShared/Utf8.h"
#include "platform/propertyListLimits.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Seconds from 1970-01-01 to 2001-01-01, from which the format counts its dates.
constexpr double epochOfDates = 978307200.0;
constexpr double microsecond = 1e-6;

struct FreeNode {
  void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

struct FreeMemory {
  void operator()(char* memory) const { std::free(memory); }
};
using Memory = std::unique_ptr<char, FreeMemory>;

Node nodeOf(const Value& value, int depth);

Node nodeOfDate(Date date) {
  constexpr double least = std::numeric_limits<std::int32_t>::min();
  constexpr double most = std::numeric_limits<std::int32_t>::max();
  const double seconds = std::isnan(date.seconds) ? 0 : date.seconds - epochOfDates;
  const double whole = std::clamp(std::floor(seconds), least, most);
  const double part = std::clamp(seconds - whole, 0.0, 1.0 - microsecond);
  return Node(plist_new_date(static_cast<std::int32_t>(whole),
                             static_cast<std::int32_t>(std::lround(part / microsecond))));
}

Node nodeOfBytes(const Bytes& bytes) {
  const std::string characters(bytes.begin(), bytes.end());
  return Node(plist_new_data(characters.data(), characters.size()));
}

// Empty when the value is too deep.
Node nodeOfDico(const Dico& dico, int depth) {
  Node node(plist_new_dict());
  for (const auto& [key, value] : dico) {
    Node child = nodeOf(value, depth);
    if (!child)
      return {};
    plist_dict_set_item(node.get(), repairedUtf8(key).c_str(), child.release());
  }
  return node;
}

Node nodeOfList(const List& list, int depth) {
  Node node(plist_new_array());
  for (const Value& value : list) {
    Node child = nodeOf(value, depth);
    if (!child)
      return {};
    plist_array_append_item(node.get(), child.release());
  }
  return node;
}

Node nodeOf(const Value& value, int depth) {
  if (depth >= propertyListMaxDepth)
    return {};
  if (const Dico* dico = value.dico())
    return nodeOfDico(*dico, depth + 1);
  if (const List* list = value.list())
    return nodeOfList(*list, depth + 1);
  if (const std::string* text = value.textContent())
    return Node(plist_new_string(repairedUtf8(*text).c_str()));
  if (const Bytes* bytes = value.bytes())
    return nodeOfBytes(*bytes);
  if (const auto date = value.date())
    return nodeOfDate(*date);
  if (value.isBoolean())
    return Node(plist_new_bool(value.integer() == 1 ? 1 : 0));
  if (value.isInteger())
    return Node(plist_new_uint(static_cast<std::uint64_t>(*value.integer())));
  return Node(plist_new_real(value.number().value_or(0)));
}

Outcome<Value> valueOf(plist_t node);

Outcome<Value> valueOfList(plist_t node) {
  List list;
  plist_array_iter position = nullptr;
  plist_array_new_iter(node, &position);
  const std::unique_ptr<void, decltype(&std::free)> guard(position, &std::free);
  for (std::uint32_t count = plist_array_get_size(node); count > 0; --count) {
    plist_t item = nullptr;
    plist_array_next_item(node, position, &item);
    auto value = valueOf(item);
    if (!value)
      return value;
    list.push_back(std::move(*value));
  }
  return Value(std::move(list));
}

Outcome<Value> valueOfDico(plist_t node) {
  Dico dico;
  plist_dict_iter position = nullptr;
  plist_dict_new_iter(node, &position);
  const std::unique_ptr<void, decltype(&std::free)> guard(position, &std::free);
  for (std::uint32_t count = plist_dict_get_size(node); count > 0; --count) {
    char* characters = nullptr;
    plist_t item = nullptr;
    plist_dict_next_item(node, position, &characters, &item);
    const Memory key(characters);
    auto value = valueOf(item);
    if (!value)
      return value;
    dico.set(repairedUtf8(key ? key.get() : ""), std::move(*value));
  }
  return Value(std::move(dico));
}

Value valueOfDate(plist_t node) {
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;
  plist_get_date_val(node, &seconds, &microseconds);
  // The library cuts towards zero and answers the rest without its sign.
  const double part = microseconds * microsecond;
  return Date{epochOfDates + seconds + (seconds < 0 ? -part : part)};
}

Outcome<Value> valueOf(plist_t node) {
  std::uint64_t whole = 0;
  switch (node ? plist_get_node_type(node) : PLIST_NONE) {
    case PLIST_BOOLEAN: {
      std::uint8_t flag = 0;
      plist_get_bool_val(node, &flag);
      return Value(flag != 0);
    }
    case PLIST_UINT:
      plist_get_uint_val(node, &whole);
      return Value(static_cast<std::int64_t>(whole));
    case PLIST_UID:
      plist_get_uid_val(node, &whole);
      return Value(static_cast<std::int64_t>(whole));
    case PLIST_REAL: {
      double real = 0;
      plist_get_real_val(node, &real);
      return Value(real);
    }
    case PLIST_STRING: {
      std::uint64_t length = 0;
      const char* characters = plist_get_string_ptr(node, &length);
      return Value(characters ? repairedUtf8({characters, length}) : std::string());
    }
    case PLIST_DATA: {
      std::uint64_t length = 0;
      const char* characters = plist_get_data_ptr(node, &length);
      return Value(characters ? Bytes(characters, characters + length) : Bytes());
    }
    case PLIST_DATE:
      return valueOfDate(node);
    case PLIST_ARRAY:
      return valueOfList(node);
    case PLIST_DICT:
      return valueOfDico(node);
    case PLIST_KEY:
    case PLIST_NONE:
      break;
  }
  return Failure{"is a property list with a value of an unknown kind"};
}

}  // namespace

Outcome<Value> parsePropertyList(std::string_view bytes) {
  if (const std::string reason = propertyListRefusal(bytes); !reason.empty())
    return Failure{reason};
  plist_t parsed = nullptr;
  plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &parsed);
  const Node root(parsed);
  if (!root)
    return Failure{"is no property list, or a damaged one"};
  return valueOf(root.get());
}

Outcome<std::string> serializedPropertyList(const Value& value) {
  const Node root = nodeOf(value, 0);
  if (!root)
    return Failure{fmt::format("is nested more than {} deep", propertyListMaxDepth)};
  char* bytes = nullptr;
  std::uint32_t length = 0;
  plist_to_bin(root.get(), &bytes, &length);
  const std::unique_ptr<char, decltype(&plist_to_bin_free)> guard(bytes, &plist_to_bin_free);
  if (!bytes || length == 0)
    return Failure{"cannot be turned into a property list"};
  return std::string(bytes, length);
}

Outcome<Value> readPropertyList(const std::string& path) {
  // One byte more than is taken tells that there is more.
  TESSARIN_TAKE(const std::string bytes, readWholeFile(path, propertyListMaxBytes + 1));
  return parsePropertyList(bytes);
}

Outcome<void> writePropertyList(const std::string& path, const Value& value) {
  TESSARIN_TAKE(const std::string bytes, serializedPropertyList(value));
  return writeFileAtomically(path, bytes);
}

}  // namespace tessarin
