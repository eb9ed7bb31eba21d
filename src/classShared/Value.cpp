#include "classShared/Value.h"

#include <fmt/format.h>

#include <cmath>

namespace tessarin {

namespace {

// Doubles outside of this range do not fit into a 64-bit integer (2^63).
constexpr double integerLimit = 9223372036854775808.0;

// From here on (2^23) numbers of single precision have no fractions.
constexpr double largestFraction = 8388608.0;

template <class T>
const T* pointee(const std::shared_ptr<const T>* pointer) {
  return pointer ? pointer->get() : nullptr;
}

}  // namespace

Value::Value(List value) : content_(std::make_shared<const List>(std::move(value))) {}
Value::Value(Dico value) : content_(std::make_shared<const Dico>(std::move(value))) {}

std::optional<std::int64_t> Value::integer() const {
  if (const auto* whole = std::get_if<std::int64_t>(&content_))
    return *whole;
  if (const auto* flag = std::get_if<bool>(&content_))
    return *flag ? 1 : 0;
  if (const auto* real = std::get_if<double>(&content_))
    if (*real > -integerLimit && *real < integerLimit)  // also false for a NaN
      return static_cast<std::int64_t>(*real);
  return std::nullopt;
}

std::optional<double> Value::number() const {
  if (const auto* real = std::get_if<double>(&content_))
    return *real;
  if (const auto whole = integer())
    return static_cast<double>(*whole);
  return std::nullopt;
}

std::optional<std::string> Value::text() const {
  if (const auto* content = textContent())
    return *content;
  return std::nullopt;
}

std::optional<Date> Value::date() const {
  if (const auto* moment = std::get_if<Date>(&content_))
    return *moment;
  return std::nullopt;
}

const List* Value::list() const {
  return pointee(std::get_if<std::shared_ptr<const List>>(&content_));
}

const Dico* Value::dico() const {
  return pointee(std::get_if<std::shared_ptr<const Dico>>(&content_));
}

bool Value::operator==(const Value& other) const {
  if (content_.index() != other.content_.index())
    return false;
  if (const List* mine = list())
    return *mine == *other.list();
  if (const Dico* mine = dico())
    return *mine == *other.dico();
  return content_ == other.content_;
}

std::string Value::description() const {
  struct Describe {
    std::string operator()(bool value) const { return value ? "1" : "0"; }
    std::string operator()(std::int64_t value) const { return fmt::format("{}", value); }
    std::string operator()(double value) const {
      // Most are of single precision: 59.94, not the 59.939998626708984 that it is as a double.
      if (std::abs(value) < largestFraction && value != std::trunc(value))
        if (const auto single = static_cast<float>(value); single == value)
          return fmt::format("{}", single);
      return fmt::format("{}", value);
    }
    std::string operator()(const std::string& value) const { return value; }
    std::string operator()(const Bytes& value) const {
      return fmt::format("<{:02x}>", fmt::join(value, ""));
    }
    std::string operator()(Date value) const { return fmt::format("@{}", value.seconds); }
    std::string operator()(const std::shared_ptr<const List>& value) const {
      std::string text = "(";
      for (const Value& item : *value)
        text += (text.size() > 1 ? ", " : "") + item.description();
      return text + ")";
    }
    std::string operator()(const std::shared_ptr<const Dico>& value) const {
      return value->description();
    }
  };
  return std::visit(Describe{}, content_);
}

const Value* Dico::find(std::string_view key) const {
  const auto entry = entries_.find(key);
  return entry == entries_.end() ? nullptr : &entry->second;
}

std::optional<std::int64_t> Dico::integer(std::string_view key) const {
  const Value* value = find(key);
  return value ? value->integer() : std::nullopt;
}

std::optional<double> Dico::number(std::string_view key) const {
  const Value* value = find(key);
  return value ? value->number() : std::nullopt;
}

std::optional<std::string> Dico::text(std::string_view key) const {
  const Value* value = find(key);
  return value ? value->text() : std::nullopt;
}

const List* Dico::list(std::string_view key) const {
  const Value* value = find(key);
  return value ? value->list() : nullptr;
}

const Dico* Dico::dico(std::string_view key) const {
  const Value* value = find(key);
  return value ? value->dico() : nullptr;
}

void Dico::set(std::string_view key, Value value) {
  const auto entry = entries_.find(key);
  if (entry != entries_.end())
    entry->second = std::move(value);
  else
    entries_.emplace(std::string(key), std::move(value));
}

bool Dico::remove(std::string_view key) {
  const auto entry = entries_.find(key);
  if (entry == entries_.end())
    return false;
  entries_.erase(entry);
  return true;
}

void Dico::merge(const Dico& other) {
  for (const auto& [key, value] : other.entries_)
    set(key, value);
}

std::string Dico::description() const {
  std::string text = "{";
  for (const auto& [key, value] : entries_)
    text += (text.size() > 1 ? ", " : "") + key + " = " + value.description();
  return text + "}";
}

}  // namespace tessarin
