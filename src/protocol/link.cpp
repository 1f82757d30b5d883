#include "protocol/link.h"

#include "core/convert.h"

namespace qvx {

void Reply::need(std::size_t size) const {
  if (bytes_.size() < size) {
    fail(ErrorId::FirmwareOtherError, "The reply to command " + std::to_string(cmd_) + " has " +
                                          std::to_string(bytes_.size()) + " bytes where at least " +
                                          std::to_string(size) + " are needed.");
  }
}

std::vector<std::uint32_t> Reply::u32List(std::size_t from) const {
  const ByteView bytes = rest(from);
  if (bytes.size() % 4 != 0) {
    need(from + (bytes.size() / 4 + 1) * 4);
  }
  std::vector<std::uint32_t> values;
  for (std::size_t at = 0; at < bytes.size(); at += 4) {
    values.push_back(readBig<std::uint32_t>(bytes, at));
  }
  return values;
}

std::string Reply::text(ByteView bytes) const {
  std::string text = convertU8ListToStr(bytes);
  try {
    convertStrToU8List(text);
  } catch (const Failure&) {
    fail(ErrorId::FirmwareOtherError, "The reply to command " + std::to_string(cmd_) + " is not valid UTF-8 text.");
  }
  return text;
}

Reply Link::request(int cmd, const Bytes& payload, double timeout, Repeat repeat) const {
  auto reply = device_.request(cmd, payload, timeout, repeat);
  if (!reply) {
    device_.failUnanswered();
  }
  return {cmd, std::move(*reply)};
}

std::shared_ptr<RawQueue> Link::askEverybody(int cmd, const Bytes& payload) const {
  if (device_.state() != Connection::State::Connected) {
    fail(ErrorId::NetworkConnectionLostError, "Not connected: call connect first.");
  }
  return device_.askEverybody(cmd, payload);
}

}  // namespace qvx
