// I2C masters.
//
// A transfer is one command: start, address, bytes, stop. A slave that does not acknowledge makes it fail with
// FirmwareI2CError.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds for each command
// they send, and may be called by any thread. Arguments are checked before anything is sent: a port that the product
// does not have raises I2CPortNotAvaliableError, a wrong type InputTypeNotCorrectError. Each also raises
// ReceivePacketTimeoutError, the connection's class, and the class of a firmware status other than 0; the device
// refuses transfers that are too long for it, and a packet has room for 65534 bytes. "Status" results are 0. Requests
// carry the port u8 first; replies the port u8, then the status u8.
#pragma once

#include "modules/bus/ports.h"
#include "modules/faces.h"

#include <atomic>

namespace qvx {

// What a product gives its I2C module.
struct I2CConfiguration {
  BusPorts ports;
};

class I2CBased {
 public:
  I2CBased(Link link, const I2CConfiguration& configuration);
  virtual ~I2CBased() = default;

  const BusPorts I2C_dict;
  BusPorts I2C_getPinMap() const { return I2C_dict; }

  // Return the checked value.
  int _checkI2CPort(const Argument& port) const;
  static int _checkI2CClockRate(const Argument& mode);
  static int _checkI2CAddressSize(const Argument& mode);
  // Each pin of the port must be in one of the modes that `allow_state` names, else I2CPortNotAvaliableError.
  void _checkI2CPinState(const Argument& port, const Argument& allow_state, const Argument& timeout);

 protected:
  // A slave's address as it travels: u8 with 7 bits, u16 with 10. One that does not fit the port's address size raises
  // InputDataNotInRangeError.
  Bytes addressField(int port, const Argument& address, std::string_view what) const;
  void setTenBitAddresses(int port, bool on) { ten_bit_.at(port) = on; }

  Link link_;

 private:
  std::map<int, std::atomic<bool>> ten_bit_;  // by port; the ports stay those of the product
};

class I2COperations : public I2CBased {
 public:
  using I2CBased::I2CBased;

  // The pins must be idle or digital lines, else I2CPortNotAvaliableError.
  int I2C_open(const Argument& port, const Argument& timeout);
  int I2C_close(const Argument& port, const Argument& timeout);
  // 0: 100 kHz, 1: 400 kHz, 2: 1 MHz, 3: 3.4 MHz; else I2CClockNotSupportError.
  int I2C_setClockRate(const Argument& port, const Argument& mode, const Argument& timeout);
  // 0: 7 bits, 1: 10 bits, from now on; else I2CAddressSizeNotVaildError. A restart of the device ends it there, unseen
  // from here.
  int I2C_setAddressSize(const Argument& port, const Argument& mode, const Argument& timeout);
  // `write_address`: 0..127, or 0..1023 with 10 bits; `write_data`: a list of bytes 0..255; else
  // InputDataNotInRangeError. Without data it asks whether the slave is there.
  int I2C_write(const Argument& port, const Argument& write_address, const Argument& write_data,
                const Argument& timeout);
  // What the slave sends in `bytes_to_read` (0..255, else InputDataNotInRangeError) bytes.
  Bytes I2C_read(const Argument& port, const Argument& read_address, const Argument& bytes_to_read,
                 const Argument& timeout);
  // Every setting as after the start of the device; addresses have 7 bits again.
  int I2C_reset(const Argument& port, const Argument& timeout);
};

using I2CModule = BlockingFace<I2COperations>;
using I2CModule_async = CoroutineFace<I2COperations>;

}  // namespace qvx
