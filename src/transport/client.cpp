#include "transport/client.h"

#include "core/errors.h"

namespace qvx {

Bytes Client::stream() const {
  const Lock lock(mutex_);
  const ByteView bytes = splitter_.stream();
  return Bytes(bytes.begin(), bytes.end());
}

void Client::setStream(ByteView bytes) {
  const Lock lock(mutex_);
  splitter_.setStream(bytes);
}

std::size_t Client::lastIndex() const {
  const Lock lock(mutex_);
  return splitter_.lastIndex();
}

void Client::setLastIndex(std::size_t index) {
  const Lock lock(mutex_);
  splitter_.setLastIndex(index);
}

std::vector<Frame> Client::splitPacket() {
  const Lock lock(mutex_);
  return splitter_.split();
}

void Client::sendPacket(ByteView) {
  fail(ErrorId::APINotSupportError, "This client has no medium to send on.");
}

Bytes Client::recvPacket(std::size_t) {
  fail(ErrorId::APINotSupportError, "This client has no medium to receive from.");
}

std::vector<Frame> Client::recvAndSplitPacket(std::size_t size) {
  const Bytes bytes = recvPacket(size);
  const Lock lock(mutex_);
  splitter_.append(bytes);
  return splitter_.split();
}

void Client::beginStream(std::uint64_t number) {
  const Lock lock(mutex_);
  splitter_.setStream({});
  splitter_.setLastIndex(0);
  connection_ = number;
}

std::vector<Frame> Client::appendAndSplit(ByteView bytes, std::uint64_t number) {
  const Lock lock(mutex_);
  if (number == connection_) {
    splitter_.append(bytes);
  }
  return splitter_.split();
}

}  // namespace qvx
