#include "modules/bus/uart.h"

#include "core/constants.h"
#include "core/convert.h"
#include "modules/streamed.h"

namespace qvx {
namespace {

constexpr std::int64_t kHighestBaudRate = 400000;
constexpr std::size_t kLongestWrite = 50;  // although a packet has room for UART_PKT_LENGTH_MAX
constexpr std::array<const char*, UARTBased::kLines> kThreadNames{"qvx-uart1", "qvx-uart2"};

// Elements as Python counts them: characters of a text, items of a list.
std::size_t lengthOf(const Argument& data) {
  switch (data.kind()) {
    case Argument::Kind::Text:
      return convertStrToU8List(data.asText()).size();
    case Argument::Kind::List:
      return data.items().size();
    case Argument::Kind::Data:
      return data.asData().size();
    default:
      refuse(ErrorId::InputTypeNotCorrectError, "write_data",
             "a str, a list or bytes is needed, not " + data.typeName());
  }
}

void appendText(Bytes& bytes, const Argument& text) {
  for (const std::uint32_t code : convertStrToU8List(text.asText())) {
    if (code > 255) {
      refuse(ErrorId::InputDataNotInRangeError, "write_data",
             "the characters of " + text.show() + " are not all in 0..255");
    }
    bytes.push_back(static_cast<std::uint8_t>(code));
  }
}

// The data of a write: a text, or a list whose items are characters or numbers.
Bytes bytesToWrite(const Argument& data) {
  UARTBased::_checkUARTDataLength(data);
  Bytes bytes;
  if (data.kind() == Argument::Kind::Text) {
    appendText(bytes, data);
    return bytes;
  }
  if (data.kind() == Argument::Kind::Data) {
    return checkedByteList(data, "write_data");
  }
  for (const Argument& item : data.items()) {
    if (item.kind() != Argument::Kind::Text) {
      bytes.push_back(checkedByteList(Argument(std::vector{item}), "write_data").front());
    } else if (lengthOf(item) == 1) {
      appendText(bytes, item);
    } else {
      refuse(ErrorId::InputTypeNotCorrectError, "write_data",
             "an item of a list is a number or a single character, not " + item.show());
    }
  }
  return bytes;
}

}  // namespace

UARTBased::Line::Line(const char* thread_name, std::shared_ptr<RawQueue> raw)
    : signal(std::make_shared<ByteQueue>(QUEUE_SIZE_MAX)),
      decoder(
          thread_name, {std::move(raw)},
          {.decode = [queue = signal](std::size_t,
                                      const RawItem& block) { return queue->put(block.bytes, 1, block.connection); },
           .begin = [queue = signal](std::uint64_t connection) { queue->begin(connection); },
           .finish = [queue = signal] { queue->finish(); },
           .overflow = ErrorId::UARTQueueOverflowWarning}) {}

UARTBased::UARTBased(Link link, UARTConfiguration configuration)
    : uart_dict(std::move(configuration.ports)), link_(link) {
  for (std::size_t i = 0; i < kLines; ++i) {
    lines_.at(i) =
        std::make_unique<Line>(kThreadNames.at(i), link_.rawQueue(START_UART_READING, static_cast<int>(i) + 1));
    link_.onConnection(lines_.at(i)->decoder);
  }
  link_.onClose([this] { _UART_free(); });
}

UARTBased::~UARTBased() {
  _UART_free();
}

void UARTBased::_UART_free() {
  uart_killed = true;
  for (const auto& line : lines_) {
    line->decoder.free();
    line->signal->close();
  }
}

bool UARTBased::uartOpenFlag() const {
  const Lock lock(open_mutex_);
  return !open_ports_.empty();
}

void UARTBased::opened(int port) {
  const Lock lock(open_mutex_);
  open_ports_.insert(port);
  for (const auto& line : lines_) {
    line->decoder.open();
  }
}

// The decoders serve both ports until the last one is closed.
void UARTBased::closed(int port) {
  const Lock lock(open_mutex_);
  if (open_ports_.erase(port) != 0 && open_ports_.empty()) {
    for (const auto& line : lines_) {
      line->decoder.close();
    }
  }
}

int UARTBased::_checkUARTPort(const Argument& port) const {
  return checkBusPort(uart_dict, port, ErrorId::UARTPortNotAvaliableError);
}

std::uint32_t UARTBased::_checkUARTBaudRate(const Argument& rate) {
  return static_cast<std::uint32_t>(
      checkedRange(rate, "baud_rate", 0, kHighestBaudRate, ErrorId::UARTBaudRateNotSupportError));
}

int UARTBased::_checkUARTDataBit(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 1, ErrorId::UARTDataBitNotSupportError);
}

int UARTBased::_checkUARTParityMode(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 3, ErrorId::UARTParityNotSupportError);
}

int UARTBased::_checkUARTNumStopBitMode(const Argument& mode) {
  return checkedRange(mode, "mode", 0, 3, ErrorId::UARTStopBitNotSupportError);
}

void UARTBased::_checkUARTDataLength(const Argument& data) {
  const std::size_t length = lengthOf(data);
  if (length > kLongestWrite) {
    refuse(ErrorId::UARTExceedMaxLengthError, "write_data",
           std::to_string(length) + " is more than " + std::to_string(kLongestWrite));
  }
}

void UARTBased::_checkUARTPinState(const Argument& port, const Argument& timeout) {
  const int number = _checkUARTPort(port);
  checkBusPins(link_, uart_dict, number, timeout, ErrorId::UARTPortNotAvaliableError);
}

int UARTOperations::UART_open(const Argument& port, const Argument& timeout) {
  const int number = _checkUARTPort(port);
  _checkUARTPinState(port, timeout);
  const int status = statusOfPort(link_, OPEN_UART, number, {}, timeout);
  _UART_startReading(port);
  opened(number);
  return status;
}

int UARTOperations::UART_close(const Argument& port, const Argument& timeout) {
  UART_stopReading(port, timeout);
  const int number = _checkUARTPort(port);
  const int status = statusOfPort(link_, CLOSE_UART, number, {}, timeout);
  closed(number);
  return status;
}

int UARTOperations::UART_setBaudRate(const Argument& port, const Argument& baud_rate, const Argument& timeout) {
  const int number = _checkUARTPort(port);
  return statusOfPort(link_, SET_UART_BAUD_RATE, number, payload(u32(_checkUARTBaudRate(baud_rate))), timeout);
}

int UARTOperations::UART_setDataBit(const Argument& port, const Argument& mode, const Argument& timeout) {
  const int number = _checkUARTPort(port);
  return statusOfPort(link_, SET_UART_DATA_SIZE, number, payload(u8(_checkUARTDataBit(mode))), timeout);
}

int UARTOperations::UART_setParity(const Argument& port, const Argument& mode, const Argument& timeout) {
  const int number = _checkUARTPort(port);
  return statusOfPort(link_, SET_UART_PARITY, number, payload(u8(_checkUARTParityMode(mode))), timeout);
}

int UARTOperations::UART_setNumStopBit(const Argument& port, const Argument& mode, const Argument& timeout) {
  const int number = _checkUARTPort(port);
  return statusOfPort(link_, SET_UART_NUM_STOP_BITS, number, payload(u8(_checkUARTNumStopBitMode(mode))), timeout);
}

int UARTOperations::UART_write(const Argument& port, const Argument& write_data, const Argument& timeout) {
  const int number = _checkUARTPort(port);
  return statusOfPort(link_, WRITE_UART, number, bytesToWrite(write_data), timeout, Repeat::Acts);
}

Bytes UARTOperations::UART_read(const Argument& port, const Argument& bytes_to_read, const Argument& delay) {
  ByteQueue& queue = received(_checkUARTPort(port));
  auto pieces = takeStreamed(link_, queue, bytes_to_read, "bytes_to_read", delay);
  return pieces.empty() ? Bytes() : std::move(pieces.front().values);  // bytes are of one width: one piece holds all
}

int UARTOperations::UART_reset(const Argument& port, const Argument& timeout) {
  return statusOfPort(link_, RESET_UART, _checkUARTPort(port), {}, timeout);
}

int UARTOperations::_UART_startReading(const Argument& port) {
  link_.send(START_UART_READING, payload(u8(_checkUARTPort(port))));
  return 0;
}

int UARTOperations::UART_stopReading(const Argument& port, const Argument& timeout) {
  return statusOfPort(link_, STOP_UART_READING, _checkUARTPort(port), {}, timeout);
}

}  // namespace qvx
