// The serial ports of a device.
//
// Once reading is started the device pushes what its port receives; the receive thread files it in the handle's
// streaming pool, a decoder thread for each port moves it into that port's queue of bytes, from which UART_read takes
// it.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds, and may be called
// by any thread. Each raises UARTPortNotAvaliableError for a port the product does not have,
// ReceivePacketTimeoutError, the connection's class, and the class of a firmware status other than 0. "Status" results
// are 0. Requests carry the port u8 first; replies the port u8, then the status u8.
#pragma once

#include "modules/bus/ports.h"
#include "modules/faces.h"
#include "protocol/signal_queue.h"
#include "protocol/stream_decoder.h"

#include <array>
#include <atomic>
#include <memory>
#include <set>

namespace qvx {

// What a product gives its UART module: ports 1 and 2.
struct UARTConfiguration {
  BusPorts ports;
};

using ByteQueue = SignalQueue<std::uint8_t>;

class UARTBased {
 public:
  static constexpr std::size_t kLines = 2;

  UARTBased(Link link, UARTConfiguration configuration);
  virtual ~UARTBased();

  const BusPorts uart_dict;
  std::atomic<bool> uart_killed{false};
  // Whether any port is open.
  bool uartOpenFlag() const;

  int _checkUARTPort(const Argument& port) const;
  static std::uint32_t _checkUARTBaudRate(const Argument& rate);
  static int _checkUARTDataBit(const Argument& mode);
  static int _checkUARTParityMode(const Argument& mode);
  static int _checkUARTNumStopBitMode(const Argument& mode);
  // At most 50 elements, else UARTExceedMaxLengthError.
  static void _checkUARTDataLength(const Argument& data);
  // The port's pins must be idle or digital lines, else UARTPortNotAvaliableError.
  void _checkUARTPinState(const Argument& port, const Argument& timeout);
  // Ends the decoder threads; called when the device is closed.
  void _UART_free();

  // `line`: 0 for port 1, 1 for port 2.
  const std::shared_ptr<RawQueue>& rawQueue(std::size_t line) const { return lines_.at(line)->decoder.raw().front(); }
  const std::shared_ptr<ByteQueue>& signalQueue(std::size_t line) const { return lines_.at(line)->signal; }
  StreamDecoder& decoder(std::size_t line) { return lines_.at(line)->decoder; }

 protected:
  // What a port has received.
  struct Line {
    Line(const char* thread_name, std::shared_ptr<RawQueue> raw);
    std::shared_ptr<ByteQueue> signal;
    StreamDecoder decoder;
  };

  ByteQueue& received(int port) const { return *signalQueue(port == 1 ? 0 : 1); }
  void opened(int port);
  void closed(int port);

  Link link_;

 private:
  std::array<std::unique_ptr<Line>, kLines> lines_;
  mutable Mutex open_mutex_;  // held while the gates move that belong to it
  std::set<int> open_ports_ QVX_GUARDED_BY(open_mutex_);
};

class UARTOperations : public UARTBased {
 public:
  using UARTBased::UARTBased;

  // Also starts reading.
  int UART_open(const Argument& port, const Argument& timeout);
  // Stops reading first. What has been received stays readable.
  int UART_close(const Argument& port, const Argument& timeout);
  int UART_setBaudRate(const Argument& port, const Argument& baud_rate, const Argument& timeout);
  int UART_setDataBit(const Argument& port, const Argument& mode, const Argument& timeout);
  int UART_setParity(const Argument& port, const Argument& mode, const Argument& timeout);
  int UART_setNumStopBit(const Argument& port, const Argument& mode, const Argument& timeout);
  // A text, a list of characters, or bytes; each character and each number 0..255.
  int UART_write(const Argument& port, const Argument& write_data, const Argument& timeout);
  // At most `bytes_to_read` bytes (-1: all that are there), waiting for them at most `delay` seconds.
  Bytes UART_read(const Argument& port, const Argument& bytes_to_read, const Argument& delay);
  int UART_reset(const Argument& port, const Argument& timeout);
  // Not waiting for an acknowledgement: a device may send one or not. Not while the port is read: behind data an
  // acknowledgement cannot be told from a received byte.
  int _UART_startReading(const Argument& port);
  int UART_stopReading(const Argument& port, const Argument& timeout);
};

using UARTModule = BlockingFace<UARTOperations>;
using UARTModule_async = CoroutineFace<UARTOperations>;

}  // namespace qvx
