#include "virtual/wire.h"

#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace qvx::bench {
namespace {

constexpr int kHighest = 255;

[[noreturn]] void refuse(const std::string& text) {
  throw std::invalid_argument("wire '" + text +
                              "': neither do0.1=di0.2 or ao0.1=ai0.2, from an output to an input, nor do0=di1 for all "
                              "pins of a port");
}

std::optional<int> numberUpTo(std::string_view text, int highest) {
  int value = -1;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = problem == std::errc() && end == text.data() + text.size();
  return whole && value >= 0 && value <= highest ? std::optional(value) : std::nullopt;
}

// What follows "do", "di", "ao" or "ai".
Terminal parseTerminal(std::string_view side, const std::string& text) {
  const std::size_t dot = side.find('.');
  const auto port = numberUpTo(side.substr(0, dot), kHighest);
  const auto pin =
      dot == std::string_view::npos ? std::optional(Wire::kEveryPin) : numberUpTo(side.substr(dot + 1), kHighest);
  if (!port || !pin) {
    refuse(text);
  }
  return {*port, *pin};
}

}  // namespace

Wire Wire::parse(const std::string& text) {
  const std::string_view all = text;
  const std::size_t equals = all.find('=');
  if (equals == std::string_view::npos || equals < 2) {
    refuse(text);
  }
  const std::string_view output = all.substr(0, 2);
  const std::string_view input = all.substr(equals + 1, 2);
  const bool digital = output == "do" && input == "di";
  if (!digital && !(output == "ao" && input == "ai")) {
    refuse(text);
  }
  const Wire wire{digital ? Terminal::Kind::Digital : Terminal::Kind::Analog,
                  parseTerminal(all.substr(2, equals - 2), text), parseTerminal(all.substr(equals + 3), text)};
  const bool whole = wire.from.pin == kEveryPin;
  if (whole != (wire.to.pin == kEveryPin) || (whole && !digital)) {
    refuse(text);
  }
  return wire;
}

}  // namespace qvx::bench
