// A device that takes no time: answers every request with its own code and the same payload, so that a round trip is
// what the two ends and the kernel need. Listens on a port of 127.0.0.1, which it prints; ends when its standard input
// does, and so with the process that started it.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t kHead = 3;  // STX, length u16 BE
constexpr std::size_t kTail = 2;  // CR LF

void require(bool fine, const char* what) {
  if (!fine) {
    std::perror(what);
    std::exit(EXIT_FAILURE);
  }
}

std::string reply(const std::string& payload) {
  const std::size_t length = 1 + payload.size();  // a code below 256 is one byte
  const std::string head{0x02, static_cast<char>(length >> 8), static_cast<char>(length), 0};
  return head + payload + "\r\n";
}

// One connection. All replies to what one read has brought leave in one write.
void serve(int fd, std::string answer) {
  std::vector<std::uint8_t> in(1 << 16);
  std::string out;
  std::size_t size = 0;
  for (;;) {
    const ssize_t count = recv(fd, in.data() + size, in.size() - size, 0);
    if (count <= 0) {
      break;
    }
    size += static_cast<std::size_t>(count);
    std::size_t from = 0;
    out.clear();
    while (size - from > kHead) {
      const std::size_t whole = kHead + (std::size_t{in[from + 1]} << 8 | in[from + 2]) + kTail;
      if (size - from < whole) {
        break;
      }
      answer[kHead] = static_cast<char>(in[from + kHead]);
      out += answer;
      from += whole;
    }
    size -= from;
    std::memmove(in.data(), in.data() + from, size);
    if (!out.empty() && send(fd, out.data(), out.size(), MSG_NOSIGNAL) < 0) {
      break;
    }
  }
  close(fd);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string answer = reply(argc > 1 ? argv[1] : "");
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* const anywhere = reinterpret_cast<sockaddr*>(&address);
  require(listener >= 0 && bind(listener, anywhere, length) == 0 && listen(listener, 16) == 0 &&
              getsockname(listener, anywhere, &length) == 0,
          "listen");
  std::printf("%d\n", ntohs(address.sin_port));
  std::fflush(stdout);
  std::thread([listener, &answer] {
    for (;;) {
      const int fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      require(fd >= 0, "accept");
      const int on = 1;
      setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      std::thread(serve, fd, answer).detach();
    }
  }).detach();
  for (char ignored = 0; read(STDIN_FILENO, &ignored, 1) > 0;) {
  }
  std::_Exit(EXIT_SUCCESS);
}
