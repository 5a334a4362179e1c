#pragma once

#include <cstdint>

// Brings the loopback interface of the private namespace up.
void BringUpLoopback();

// An established TCP connection over the loopback interface. Both ends are reset with this object,
// so no port stays in use.
class LoopbackConnection {
 public:
  LoopbackConnection();
  ~LoopbackConnection();
  LoopbackConnection(const LoopbackConnection&) = delete;
  LoopbackConnection& operator=(const LoopbackConnection&) = delete;

  // The options that were agreed on (TCPI_OPT_...), as the end that called and the one that was
  // called see them.
  int client_options() const { return Options(client_); }
  int server_options() const { return Options(server_); }

  // The port that the kernel gave to the end that called.
  std::uint16_t client_port() const;

 private:
  static int Options(int socket);

  int client_;
  int server_;
};

// Answers an option of a new TCP socket.
int NewSocketOption(int level, int option);
