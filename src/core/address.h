// IPv4 and MAC addresses as the text that people write.
#pragma once

#include "core/argument.h"
#include "core/bytes.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qvx {

inline constexpr std::size_t kMacSize = 6;

// Four numbers 0..255 between dots, nothing else: no spaces, no leading zeros, no short forms. Raises
// InputTypeNotCorrectError when it is no text, InputDataNotInRangeError when it has another form. `what` names the
// argument in the message.
std::uint32_t checkedIPv4(const Argument& value, std::string_view what);
// Six pairs of hexadecimal digits between colons, in either case. Raises as checkedIPv4.
Bytes checkedMAC(const Argument& value, std::string_view what);

// An address that one host can have: 1.0.0.0 to 223.255.255.255.
bool isHostAddress(std::uint32_t address);
// 255.0.0.0 to 255.255.255.252, ones before zeros: a longer one leaves no room for two hosts.
bool isSubnetMask(std::uint32_t mask);
// Neither the first nor the last address of its subnet, which belong to no host.
bool isHostOfSubnet(std::uint32_t address, std::uint32_t mask);
// The address of one device: neither all zero nor of a group.
bool isDeviceMAC(ByteView mac);

// "192.168.1.20"
std::string showIPv4(std::uint32_t address);
// "02:51:56:00:00:01"
std::string showMAC(ByteView mac);

}  // namespace qvx
