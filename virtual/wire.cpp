#include "virtual/wire.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace qvx::bench {
namespace {

constexpr int kHighest = 255;

struct Form {
  std::string_view output;
  std::string_view input;
  Terminal::Kind kind;
  bool single_pins;
  bool whole_ports;
};

constexpr std::array kForms{Form{"do", "di", Terminal::Kind::Digital, true, true},
                            Form{"ao", "ai", Terminal::Kind::Analog, true, false},
                            Form{"uart", "uart", Terminal::Kind::Serial, false, true}};

[[noreturn]] void refuse(const std::string& text) {
  throw std::invalid_argument("wire '" + text +
                              "': neither do0.1=di0.2 or ao0.1=ai0.2, from an output to an input, nor do0=di1 for all "
                              "pins of a port, nor uart1=uart2");
}

std::optional<int> numberUpTo(std::string_view text, int highest) {
  int value = -1;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = problem == std::errc() && end == text.data() + text.size();
  return whole && value >= 0 && value <= highest ? std::optional(value) : std::nullopt;
}

// What follows "do", "di", "ao", "ai" or "uart".
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
  const std::size_t equals = std::min(all.find('='), all.size());
  const std::string_view output = all.substr(0, equals);
  const std::string_view input = all.substr(std::min(equals + 1, all.size()));
  const auto form = std::find_if(kForms.begin(), kForms.end(), [&](const Form& candidate) {
    return output.starts_with(candidate.output) && input.starts_with(candidate.input);
  });
  if (form == kForms.end()) {
    refuse(text);
  }
  const Wire wire{form->kind, parseTerminal(output.substr(form->output.size()), text),
                  parseTerminal(input.substr(form->input.size()), text)};
  const auto fits = [&](const Terminal& terminal) {
    return terminal.pin == kEveryPin ? form->whole_ports : form->single_pins;
  };
  if (!fits(wire.from) || !fits(wire.to) || (wire.from.pin == kEveryPin) != (wire.to.pin == kEveryPin)) {
    refuse(text);
  }
  return wire;
}

}  // namespace qvx::bench
