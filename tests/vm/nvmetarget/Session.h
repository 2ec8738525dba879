// One NVMe/TCP connection, which is one queue: units in, commands to the controller, units out.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/vm/nvmetarget/Controller.h"

namespace vm {

class Session {
 public:
  // Takes the connected socket over. Controllers are the files of the folder, found by the part
  // of the subsystem's name behind its last colon.
  Session(int socket, std::string folder);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Serves until the host hangs up or breaks the protocol. Blocks; runs on a thread of its own.
  void serve();

 private:
  [[nodiscard]] bool receive(void* to, std::size_t size);
  [[nodiscard]] bool send(const std::vector<std::uint8_t>& unit);
  [[nodiscard]] bool serveUnit();
  [[nodiscard]] bool welcome();
  [[nodiscard]] bool execute(const NvmeCommand& command, const std::vector<std::uint8_t>& data);
  [[nodiscard]] NvmeAnswer connect(const NvmeCommand& command,
                                   const std::vector<std::uint8_t>& data);

  int socket_;
  std::string folder_;
  std::unique_ptr<Controller> controller_;  // null until the host has named it
};

}  // namespace vm
