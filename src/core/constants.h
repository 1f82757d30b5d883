// The published constants: command codes, register addresses, transport and engine parameters, package identity.
#pragma once

#include <array>
#include <span>

namespace qvx {

#define QVX_CONSTANT(name, value) inline constexpr int name = value;
#include "core/constants.def"
#undef QVX_CONSTANT

// Seconds.
inline constexpr double ECHO_DELAY = 0.01;
inline constexpr double UART_READ_TIMEOUT = 0.05;

inline constexpr const char* PKG_NAME = "pyqvx";
inline constexpr const char* PKG_FULL_NAME = "QVX Python driver";
inline constexpr const char* kVersion = "3.2.6";

// Packets with these codes arrive unsolicited and belong to the streaming pool.
inline constexpr std::array STREAMING_CMD_LIST{
    START_CAN,          START_UART_READING,      START_AI_STREAMING, START_AI_STREAMING_VARIABLE,
    START_AO_STREAMING, START_MOTION_MONITORING, AHRS_START,         AI_START_STREAMING_24BIT,
};

// Answers to these are collected from all devices into the broadcast pool.
inline constexpr std::array BROADCAST_CMD_LIST{
    GET_DEVICE_INFO,
    CHECK_MAC_AND_SET_IP,
    CHECK_MAC_AND_REBOOT,
    NETCOM_CHECK_MAC_RINGING,
};

struct NamedConstant {
  const char* name;
  int value;
};

// Every integer constant above, for export.
std::span<const NamedConstant> constants();

}  // namespace qvx
