#include "modules/system/broadcast.h"

#include "core/address.h"
#include "core/constants.h"
#include "core/convert.h"
#include "modules/system/network.h"

#include <algorithm>
#include <array>
#include <climits>
#include <set>

namespace qvx {
namespace {

// The first byte of what is broadcast; answers have 1 there.
constexpr std::uint8_t kRequest = 0;

// An answer to GET_DEVICE_INFO: MAC address, address u32, subnet mask u32, then texts padded with NUL to these sizes.
constexpr std::size_t kAddressesAt = kMacSize;
constexpr std::size_t kTextsAt = kAddressesAt + 8;
struct TextField {
  std::string DeviceRecord::*text;
  std::size_t size;
};
constexpr std::array<TextField, 4> kTexts{{
    {&DeviceRecord::serial, 8},
    {&DeviceRecord::firmware, 16},
    {&DeviceRecord::model, 32},
    {&DeviceRecord::name, 64},
}};

bool isPrintable(std::uint32_t code_point) {
  return code_point >= 0x20 && (code_point < 0x7F || code_point > 0x9F);
}

// Control characters would reach the terminal of whoever prints the record.
std::optional<std::string> decodeText(ByteView field) {
  const std::string text = convertU8ListToStr(field);
  try {
    const auto code_points = convertStrToU8List(text);
    return std::all_of(code_points.begin(), code_points.end(), isPrintable) ? std::optional(text) : std::nullopt;
  } catch (const Failure&) {
    return std::nullopt;
  }
}

Deadline deadlineOf(const Argument& timeout) {
  const double seconds = checkedTimeout(timeout);
  if (seconds < 0) {
    refuse(ErrorId::InputDataNotInRangeError, "timeout", timeout.show() + " s is below 0");
  }
  return deadlineAfter(seconds);
}

// Passes on the answers until `deadline`, or until `enough` returns true. Those that have arrived when it is noticed
// that time is up still count: an event loop may have been busy. Raises when the device is closed.
template <class Enough>
void collect(const Link& link, RawQueue& answers, const Deadline& deadline, Enough enough) {
  for (bool over = false; !over;) {
    over = !answers.waitForSize(1, deadline) || (deadline && Clock::now() >= *deadline);
    for (std::size_t left = answers.size(); left != 0; --left) {
      if (const auto answer = answers.take(); answer && enough(answer->bytes)) {
        return;
      }
    }
    if (link.closed()) {
      link.failUnanswered();
    }
  }
}

}  // namespace

std::optional<DeviceRecord> decodeDeviceInfo(ByteView answer) {
  std::size_t at = kTextsAt;
  for (const TextField& field : kTexts) {
    at += field.size;
  }
  if (answer.size() < at) {
    return std::nullopt;
  }
  const ByteView mac = answer.first(kMacSize);
  if (!isDeviceMAC(mac)) {
    return std::nullopt;
  }
  DeviceRecord record;
  record.mac = showMAC(mac);
  record.ip = showIPv4(readBig<std::uint32_t>(answer, kAddressesAt));
  record.subnet_mask = showIPv4(readBig<std::uint32_t>(answer, kAddressesAt + 4));
  at = kTextsAt;
  for (const TextField& field : kTexts) {
    auto text = decodeText(answer.subspan(at, field.size));
    if (!text) {
      return std::nullopt;
    }
    record.*field.text = std::move(*text);
    at += field.size;
  }
  return record;
}

std::vector<DeviceRecord> BroadcastOperations::Broadcast_findDevices(const Argument& expected, const Argument& timeout,
                                                                     const Progress& progress) {
  const auto wanted = static_cast<std::size_t>(checkedRange(expected, "expected", 0, INT_MAX));
  deadlineOf(timeout);
  const auto answers = link_.askEverybody(GET_DEVICE_INFO, payload(u8(kRequest)));
  std::vector<DeviceRecord> found;
  std::set<std::string> macs;
  collect(link_, *answers, deadlineOf(timeout), [&](const Bytes& answer) {
    auto record = decodeDeviceInfo(answer);
    if (record && macs.insert(record->mac).second) {
      found.push_back(std::move(*record));
      if (progress) {
        Fiber::outside([&] { progress(found.back()); });
      }
    }
    return wanted != 0 && found.size() >= wanted;
  });
  return found;
}

// The answer repeats the request and adds the status, so that a late one to another order is not taken for it.
int BroadcastOperations::order(int cmd, const Bytes& request, const Argument& timeout) {
  deadlineOf(timeout);
  const auto answers = link_.askEverybody(cmd, payload(u8(kRequest), request));
  std::optional<int> status;
  collect(link_, *answers, deadlineOf(timeout), [&](const Bytes& answer) {
    if (answer.size() > request.size() && std::equal(request.begin(), request.end(), answer.begin())) {
      status = answer[request.size()];
    }
    return status.has_value();
  });
  if (!status) {
    link_.failUnanswered();
  }
  return checkFirmwareError(*status);
}

int BroadcastOperations::Broadcast_setIP(const Argument& mac_addr, const Argument& ip_addr, const Argument& subnet_mask,
                                         const Argument& timeout) {
  const Bytes mac = NetworkBased::_checkMACAddr(mac_addr);
  return order(CHECK_MAC_AND_SET_IP, payload(mac, NetworkBased::subnetAddress(ip_addr, subnet_mask)), timeout);
}

int BroadcastOperations::Broadcast_reboot(const Argument& mac_addr, const Argument& timeout) {
  return order(CHECK_MAC_AND_REBOOT, NetworkBased::_checkMACAddr(mac_addr), timeout);
}

int BroadcastOperations::Broadcast_ring(const Argument& mac_addr, const Argument& timeout) {
  return order(NETCOM_CHECK_MAC_RINGING, NetworkBased::_checkMACAddr(mac_addr), timeout);
}

}  // namespace qvx
