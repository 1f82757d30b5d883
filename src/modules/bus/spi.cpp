#include "modules/bus/spi.h"

#include "core/constants.h"

#include <bit>

namespace qvx {
namespace {

// Clock polarity or phase: a half of the mode.
int checkedHalf(const Argument& value, std::string_view what) {
  return checkedRange(value, what, 0, 1, ErrorId::SPIModeNotVaildError);
}

}  // namespace

int SPIBased::_checkSPIPort(const Argument& port) const {
  return checkBusPort(SPI_dict, port, ErrorId::SPIPortNotAvaliableError);
}

int SPIBased::_checkSPIDataSize(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 1, ErrorId::SPIDataSizeNotVaildError);
}

int SPIBased::_checkSPIFirstBit(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 1, ErrorId::SPIFirstBitNotVaildError);
}

int SPIBased::_checkSPIMode(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 3, ErrorId::SPIModeNotVaildError);
}

int SPIBased::_checkSPIPrescaler(const Argument& prescaler) {
  const int divider = checkedRange(prescaler, "prescaler", 2, 256, ErrorId::SPIPrescalerNotVaildError);
  if (!std::has_single_bit(static_cast<unsigned>(divider))) {
    refuse(ErrorId::SPIPrescalerNotVaildError, "prescaler", prescaler.show() + " is not a power of two");
  }
  return divider;
}

void SPIBased::_checkSPIPinState(const Argument& port, const Argument& allow_state, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  checkBusPins(link_, SPI_dict, number, allow_state, timeout, ErrorId::SPIPortNotAvaliableError);
}

int SPIOperations::SPI_open(const Argument& port, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  checkBusPins(link_, SPI_dict, number, timeout, ErrorId::SPIPortNotAvaliableError);
  return statusOfPort(link_, OPEN_SPI, number, {}, timeout);
}

int SPIOperations::SPI_close(const Argument& port, const Argument& timeout) {
  return statusOfPort(link_, CLOSE_SPI, _checkSPIPort(port), {}, timeout);
}

int SPIOperations::SPI_setDataSize(const Argument& port, const Argument& mode, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  return statusOfPort(link_, SET_SPI_DATA_SIZE, number, payload(u8(_checkSPIDataSize(mode))), timeout);
}

int SPIOperations::SPI_setFirstBit(const Argument& port, const Argument& mode, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  return statusOfPort(link_, SET_SPI_FIRST_BIT, number, payload(u8(_checkSPIFirstBit(mode))), timeout);
}

int SPIOperations::SPI_setPrescaler(const Argument& port, const Argument& prescaler, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  return statusOfPort(link_, SET_SPI_PRESCALER, number, payload(u16(_checkSPIPrescaler(prescaler))), timeout);
}

int SPIOperations::SPI_setMode(const Argument& port, const Argument& mode, const Argument& timeout) {
  _checkSPIPort(port);
  const int chosen = _checkSPIMode(mode);
  _SPI_setCPOL(port, chosen >> 1, timeout);
  return _SPI_setCPHA(port, chosen & 1, timeout);
}

int SPIOperations::_SPI_setCPOL(const Argument& port, const Argument& polarity, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  return statusOfPort(link_, SET_SPI_CPOL, number, payload(u8(checkedHalf(polarity, "polarity"))), timeout);
}

int SPIOperations::_SPI_setCPHA(const Argument& port, const Argument& phase, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  return statusOfPort(link_, SET_SPI_CPHA, number, payload(u8(checkedHalf(phase, "phase"))), timeout);
}

int SPIOperations::SPI_write(const Argument& port, const Argument& write_data, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  return statusOfPort(link_, WRITE_SPI, number, checkedByteList(write_data, "write_data"), timeout, Repeat::Acts);
}

Bytes SPIOperations::SPI_read(const Argument& port, const Argument& bytes_to_read, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  const int count = checkedRange(bytes_to_read, "bytes_to_read", 0, 255);
  return dataOfPort(link_, READ_SPI, number, payload(u8(count)), timeout, Repeat::Acts);
}

Bytes SPIOperations::SPI_readAndWrite(const Argument& port, const Argument& write_data, const Argument& timeout) {
  const int number = _checkSPIPort(port);
  return dataOfPort(link_, READ_AND_WRITE_SPI, number, checkedByteList(write_data, "write_data"), timeout,
                    Repeat::Acts);
}

int SPIOperations::SPI_reset(const Argument& port, const Argument& timeout) {
  return statusOfPort(link_, RESET_SPI, _checkSPIPort(port), {}, timeout);
}

}  // namespace qvx
