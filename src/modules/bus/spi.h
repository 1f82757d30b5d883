// SPI masters.
//
// A transfer is one command: the port selects its slave, moves the bytes, and deselects it. With a data size of 16 bits
// the bytes travel in pairs, the more significant one first.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds for each command
// they send, and may be called by any thread. Arguments are checked before anything is sent: a port that the product
// does not have raises SPIPortNotAvaliableError, a wrong type InputTypeNotCorrectError. Each also raises
// ReceivePacketTimeoutError, the connection's class, and the class of a firmware status other than 0; the device
// refuses transfers that are too long for it, and a packet has room for 65534 bytes. "Status" results are 0. Requests
// carry the port u8 first; replies the port u8, then the status u8.
#pragma once

#include "modules/bus/ports.h"
#include "modules/faces.h"

namespace qvx {

// What a product gives its SPI module.
struct SPIConfiguration {
  BusPorts ports;
};

class SPIBased {
 public:
  SPIBased(Link link, const SPIConfiguration& configuration) : SPI_dict(configuration.ports), link_(link) {}
  virtual ~SPIBased() = default;

  const BusPorts SPI_dict;
  BusPorts SPI_getPinMap() const { return SPI_dict; }

  // Return the checked value.
  int _checkSPIPort(const Argument& port) const;
  static int _checkSPIDataSize(const Argument& mode);
  static int _checkSPIFirstBit(const Argument& mode);
  static int _checkSPIMode(const Argument& mode);
  static int _checkSPIPrescaler(const Argument& prescaler);
  // Each pin of the port must be in one of the modes that `allow_state` names, else SPIPortNotAvaliableError.
  void _checkSPIPinState(const Argument& port, const Argument& allow_state, const Argument& timeout);

 protected:
  Link link_;
};

class SPIOperations : public SPIBased {
 public:
  using SPIBased::SPIBased;

  // The pins must be idle or digital lines, else SPIPortNotAvaliableError.
  int SPI_open(const Argument& port, const Argument& timeout);
  int SPI_close(const Argument& port, const Argument& timeout);
  // 0: 8 bits, 1: 16 bits; else SPIDataSizeNotVaildError.
  int SPI_setDataSize(const Argument& port, const Argument& mode, const Argument& timeout);
  // 0: most significant bit first, 1: least; else SPIFirstBitNotVaildError.
  int SPI_setFirstBit(const Argument& port, const Argument& mode, const Argument& timeout);
  // By which power of two, 2 to 256, the port's clock is divided; else SPIPrescalerNotVaildError.
  int SPI_setPrescaler(const Argument& port, const Argument& prescaler, const Argument& timeout);
  // 0..3: polarity and phase as the bits of a number; else SPIModeNotVaildError. Two commands; the first that fails
  // ends it.
  int SPI_setMode(const Argument& port, const Argument& mode, const Argument& timeout);
  int _SPI_setCPOL(const Argument& port, const Argument& polarity, const Argument& timeout);
  int _SPI_setCPHA(const Argument& port, const Argument& phase, const Argument& timeout);
  // `write_data`: a list of bytes 0..255, else InputDataNotInRangeError.
  int SPI_write(const Argument& port, const Argument& write_data, const Argument& timeout);
  // What the slave sends in `bytes_to_read` (0..255, else InputDataNotInRangeError) bytes.
  Bytes SPI_read(const Argument& port, const Argument& bytes_to_read, const Argument& timeout);
  // What the slave sends while the bytes are written.
  Bytes SPI_readAndWrite(const Argument& port, const Argument& write_data, const Argument& timeout);
  // Every setting as after the start of the device.
  int SPI_reset(const Argument& port, const Argument& timeout);
};

using SPIModule = BlockingFace<SPIOperations>;
using SPIModule_async = CoroutineFace<SPIOperations>;

}  // namespace qvx
