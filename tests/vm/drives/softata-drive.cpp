// softata-drive FILE PORT: puts the described drive into a port's folder of softata's debugfs.
// Run again with a changed file, it changes a drive that is in use.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

#include "tests/vm/drives/AtaImage.h"

namespace {

// One write per call, as the rules file wants its text in one piece.
void writeWhole(const std::string& path, const void* data, std::size_t size) {
  const int fd = ::open(path.c_str(), O_WRONLY);
  if (fd < 0) {
    throw std::runtime_error(path + ": " + std::strerror(errno));
  }
  const auto* from = static_cast<const char*>(data);
  do {
    const ssize_t written = ::write(fd, from, size);
    if (written < 0) {
      const int error = errno;
      ::close(fd);
      throw std::runtime_error(path + ": " + std::strerror(error));
    }
    from += written;
    size -= static_cast<std::size_t>(written);
  } while (size > 0);
  ::close(fd);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: softata-drive FILE PORT\n");
    return 2;
  }
  try {
    const vm::AtaImage image = vm::makeAtaImage(vm::DriveFile(argv[1]));
    const std::string port = std::string(argv[2]) + "/";
    // An empty text clears the rules; a lone line feed is the shortest write that the file gets.
    const std::string rules = image.rules.empty() ? "\n" : image.rules;
    writeWhole(port + "identify", image.identify.data(), image.identify.size());
    writeWhole(port + "smart", image.smart.data(), image.smart.size());
    writeWhole(port + "smart-logs", image.smartLogs.data(), image.smartLogs.size());
    writeWhole(port + "gp-logs", image.gpLogs.data(), image.gpLogs.size());
    writeWhole(port + "rules", rules.data(), rules.size());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "softata-drive: %s\n", error.what());
    return 1;
  }
  return 0;
}
