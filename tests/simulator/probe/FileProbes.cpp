#include <dirent.h>
#include <fcntl.h>
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "tests/simulator/probe/Probe.h"

namespace probe {

std::string readFile(const Arguments& arguments) {
  FILE* stream = fopen(arguments.at(0).c_str(), "r");
  if (stream == nullptr) {
    return "fopen " + outcome(-1);
  }
  std::string content;
  char buffer[64];
  errno = 0;
  while (fgets(buffer, sizeof buffer, stream) != nullptr) {
    content += buffer;
  }
  const std::string end = errno == 0 ? "" : " then " + outcome(-1);
  fclose(stream);
  return "[" + content + "]" + end;
}

std::string readLines(const Arguments& arguments) {
  FILE* stream = fopen(arguments.at(0).c_str(), "r");
  if (stream == nullptr) {
    return "fopen " + outcome(-1);
  }
  std::string content;
  char* line = nullptr;
  std::size_t room = 0;
  errno = 0;
  while (getline(&line, &room, stream) >= 0) {
    content += "[" + std::string(line) + "]";
  }
  const std::string end = errno == 0 ? "" : " then " + outcome(-1);
  std::free(line);
  fclose(stream);
  return content + end;
}

// append:PATH:TEXT, as a log writes: open, ask the size, write, flush, close.
std::string appendToFile(const Arguments& arguments) {
  FILE* stream = fopen(arguments.at(0).c_str(), "a+");
  if (stream == nullptr) {
    return "fopen " + outcome(-1);
  }
  struct stat status {};
  std::string line;
  if (fstat(fileno(stream), &status) != 0) {
    line = "fstat " + outcome(-1);
  } else {
    line = "size " + std::to_string(status.st_size);
  }
  const std::string& text = arguments.at(1);
  line += ", fwrite " + std::to_string(fwrite(text.data(), 1, text.size(), stream));
  line += ", fflush " + outcome(fflush(stream));
  line += ", fclose " + outcome(fclose(stream));
  return line;
}

std::string listDirectory(const Arguments& arguments) {
  DIR* stream = opendir(arguments.at(0).c_str());
  if (stream == nullptr) {
    return "opendir " + outcome(-1);
  }
  std::string names;
  errno = 0;
  while (const dirent* entry = readdir(stream)) {
    names += entry->d_name;
    names += entry->d_type == DT_LNK ? "@ " : " ";
  }
  const std::string end = errno == 0 ? "" : "then " + outcome(-1) + " ";
  return names + end + "closedir " + outcome(closedir(stream));
}

std::string expandPattern(const Arguments& arguments) {
  glob_t found{};
  const int code = glob(arguments.at(0).c_str(), GLOB_ERR, nullptr, &found);
  std::string line = std::to_string(code);
  for (std::size_t i = 0; code == 0 && i < found.gl_pathc; ++i) {
    line += " ";
    line += found.gl_pathv[i];
  }
  line += (found.gl_flags & GLOB_ALTDIRFUNC) != 0 ? " foreign" : "";
  globfree(&found);
  return line;
}

std::string askAccess(const Arguments& arguments) {
  return outcome(access(arguments.at(0).c_str(), R_OK));
}

std::string askStatus(const Arguments& arguments) {
  struct stat status {};
  const int result = stat(arguments.at(0).c_str(), &status);
  if (result != 0) {
    return outcome(result);
  }
  const char* kind = S_ISBLK(status.st_mode)   ? "block device"
                     : S_ISCHR(status.st_mode) ? "character device"
                     : S_ISDIR(status.st_mode) ? "directory"
                                               : "file";
  return std::string(kind) + " " + std::to_string(status.st_size);
}

std::string openAndControl(const Arguments& arguments) {
  const int fd = open(arguments.at(0).c_str(), O_RDONLY | O_NONBLOCK);
  if (fd < 0) {
    return "open " + outcome(fd);
  }
  std::string line = "fcntl " + outcome(fcntl(fd, F_SETFD, FD_CLOEXEC));
  line += ", flags " + std::to_string(fcntl(fd, F_GETFD));
  line += ", close " + outcome(close(fd));
  return line;
}

// Opens without closing, and says how many descriptors the process has then.
std::string leak(const Arguments& arguments) {
  const int fd = open(arguments.at(0).c_str(), O_RDONLY);
  if (fd < 0) {
    return "open " + outcome(fd);
  }
  int count = 0;
  for (int i = 0; i < 64; ++i) {
    count += fcntl(i, F_GETFD) >= 0 ? 1 : 0;
  }
  return std::to_string(count) + " descriptors";
}

}  // namespace probe
