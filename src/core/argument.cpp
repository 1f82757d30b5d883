#include "core/argument.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <utility>

namespace qvx {

namespace {

constexpr std::size_t kShownItems = 8;
constexpr std::size_t kShownCharacters = 60;

std::string showFloat(double value) {
  if (!std::isfinite(value)) {
    return std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf";
  }
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  std::string text(digits.data(), end);
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

std::string showText(const std::string& text) {
  if (text.size() <= kShownCharacters) {
    return "'" + text + "'";
  }
  std::size_t end = kShownCharacters;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
    --end;  // not inside a UTF-8 sequence
  }
  return "'" + text.substr(0, end) + "...'";
}

std::string showData(ByteView bytes) {
  std::string text = "b'";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == kShownItems) {
      return text + "...'";
    }
    std::array<char, 5> escaped{};
    std::snprintf(escaped.data(), escaped.size(), "\\x%02x", bytes[i]);
    text += escaped.data();
  }
  return text + "'";
}

std::string showItems(const Argument::Items& items) {
  std::string text = "[";
  for (std::size_t i = 0; i < items.size(); ++i) {
    text += i == 0 ? "" : ", ";
    if (i == kShownItems) {
      return text + "...]";
    }
    text += items[i].show();
  }
  return text + "]";
}

[[noreturn]] void refuseType(const Argument& value, std::string_view what, const char* expected) {
  refuse(ErrorId::InputTypeNotCorrectError, what,
         value.show() + " is of type " + value.typeName() + ", not " + expected);
}

std::int64_t inRange(const Argument& value, std::string_view what, std::int64_t low, std::int64_t high,
                     ErrorId out_of_range) {
  const std::int64_t number = checkedInt(value, what);
  if (number < low || number > high) {
    refuse(out_of_range, what, value.show() + " is not in " + std::to_string(low) + ".." + std::to_string(high));
  }
  return number;
}

}  // namespace

Argument Argument::numbers(std::vector<Number> numbers, const char* type) {
  Argument argument(std::vector<Argument>{}, type);
  argument.numbers_ = std::move(numbers);
  return argument;
}

Argument Argument::data(ByteView bytes, const char* type) {
  Argument argument(std::string(bytes.begin(), bytes.end()));
  argument.kind_ = Kind::Data;
  argument.type_ = type;
  return argument;
}

Argument Argument::other(std::string type_name) {
  Argument argument;
  argument.kind_ = Kind::Other;
  argument.type_ = std::move(type_name);
  return argument;
}

Argument Argument::intOf(std::int64_t value, std::string type_name) {
  Argument argument(value);
  argument.type_ = std::move(type_name);
  if (argument.type_ == "bool") {
    argument.text_ = value != 0 ? "True" : "False";
  }
  return argument;
}

Argument Argument::hugeInt(bool negative) {
  using Limits = std::numeric_limits<std::int64_t>;
  Argument argument(negative ? Limits::min() : Limits::max());
  argument.text_ = negative ? "an int below -2**63" : "an int above 2**63 - 1";
  return argument;
}

std::string Argument::show() const {
  switch (kind_) {
    case Kind::None:
      return "None";
    case Kind::Int:
      return text_.empty() ? std::to_string(int_) : text_;
    case Kind::Float:
      return showFloat(float_);
    case Kind::Text:
      return showText(text_);
    case Kind::List:
      return showItems(items());
    case Kind::Data:
      return showData(asData());
    case Kind::Other:
      break;
  }
  return "the value";
}

void refuse(ErrorId id, std::string_view what, const std::string& detail) {
  fail(id, std::string(errorKind(id).message) + " (" + std::string(what) + ": " + detail + ")");
}

void refuseNeeding(const Argument& value, std::string_view what, const std::string& need) {
  refuse(ErrorId::InputDataNotInRangeError, what, need + " is needed, not " + value.show());
}

std::int64_t checkedInt(const Argument& value, std::string_view what) {
  if (!value.isInt()) {
    refuseType(value, what, "int");
  }
  return value.asInt();
}

double checkedNumber(const Argument& value, std::string_view what) {
  if (value.isInt()) {
    return static_cast<double>(value.asInt());
  }
  if (value.kind() != Argument::Kind::Float) {
    refuseType(value, what, "int or float");
  }
  if (std::isnan(value.asFloat())) {
    refuse(ErrorId::InputDataNotInRangeError, what, "a number is needed, not nan");
  }
  return value.asFloat();
}

const std::string& checkedText(const Argument& value, std::string_view what) {
  if (value.kind() != Argument::Kind::Text) {
    refuseType(value, what, "str");
  }
  return value.asText();
}

int checkedRange(const Argument& value, std::string_view what, std::int64_t low, std::int64_t high,
                 ErrorId out_of_range) {
  return static_cast<int>(inRange(value, what, low, high, out_of_range));
}

std::uint32_t checkedU32(const Argument& value, std::string_view what) {
  constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(inRange(value, what, 0, kMost, ErrorId::InputDataNotInRangeError));
}

void refuseChoice(ErrorId id, const Argument& value, std::string_view what, const std::vector<int>& choices) {
  std::string list;
  for (const int choice : choices) {
    list += (list.empty() ? "" : ", ") + std::to_string(choice);
  }
  refuse(id, what, value.show() + " is not in [" + list + "]");
}

Argument::Items checkedList(const Argument& value, std::string_view what) {
  if (value.kind() != Argument::Kind::List) {
    refuseType(value, what, "list");
  }
  return value.items();
}

Bytes checkedByteList(const Argument& value, std::string_view what) {
  if (value.kind() == Argument::Kind::Data) {
    return {value.asData().begin(), value.asData().end()};
  }
  Bytes bytes;
  const auto items = checkedList(value, what);
  bytes.reserve(items.size());
  for (const Argument& item : items) {
    const bool fits = item.isInt() && item.asInt() >= 0 && item.asInt() <= 255;
    if (!fits) {
      const std::string name = std::string(what) + "[" + std::to_string(bytes.size()) + "]";
      checkedInt(item, name);
      refuse(ErrorId::InputDataNotInRangeError, name, item.show() + " is not in 0..255");
    }
    bytes.push_back(static_cast<std::uint8_t>(item.asInt()));
  }
  return bytes;
}

double checkedTimeout(const Argument& value) {
  return checkedNumber(value, "timeout");
}

}  // namespace qvx
