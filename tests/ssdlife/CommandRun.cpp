#include "tests/ssdlife/CommandRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace {

constexpr uid_t kNobody = 65534;

// Reads what is there; closes the pipe at its end.
void drain(int& pipe, std::string& into) {
  std::array<char, 4096> buffer{};
  const ssize_t length = read(pipe, buffer.data(), buffer.size());
  if (length > 0) {
    into.append(buffer.data(), static_cast<std::size_t>(length));
  } else if (length == 0 || errno != EINTR) {
    close(std::exchange(pipe, -1));
  }
}

}  // namespace

CommandRun::CommandRun(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {
  arguments_.insert(arguments_.begin(), SSDLIFE);
  // Whoever runs the tests, and wherever: the drives of the fake library are nobody's secret.
  environment_["VEKSSD_MACHINE"] = "fake";
  environment_["LD_PRELOAD"] = FAKE_SIMULATOR;
}

CommandRun::~CommandRun() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  for (const int pipe : {outputPipe_, errorPipe_}) {
    if (pipe >= 0) {
      close(pipe);
    }
  }
}

CommandRun& CommandRun::with(const std::string& variable, const std::string& value) {
  environment_[variable] = value;
  return *this;
}

CommandRun& CommandRun::withoutRoot() {
  withoutRoot_ = true;
  environment_["LD_PRELOAD"] = "";
  return *this;
}

CommandRun& CommandRun::outputTo(const std::string& file) {
  outputFile_ = file;
  return *this;
}

CommandRun& CommandRun::outputClosed() {
  closed_.push_back(STDOUT_FILENO);
  return *this;
}

CommandRun& CommandRun::errorClosed() {
  closed_.push_back(STDERR_FILENO);
  return *this;
}

CommandRun& CommandRun::start() {
  std::array<int, 2> output{};
  std::array<int, 2> error{};
  if (pipe2(output.data(), O_CLOEXEC) != 0 || pipe2(error.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe for the command");
  }
  process_ = fork();
  if (process_ == 0) {
    become(output[1], error[1]);
  }
  close(output[1]);
  close(error[1]);
  outputPipe_ = output[0];
  errorPipe_ = error[0];
  return *this;
}

void CommandRun::become(int output, int error) {
  // Opened before the privileges go: "nobody" may not look into the build folder.
  const int program = open(SSDLIFE, O_RDONLY);
  dup2(outputFile_.empty() ? output : open(outputFile_.c_str(), O_WRONLY), STDOUT_FILENO);
  dup2(error, STDERR_FILENO);
  for (const int stream : closed_) {
    close(stream);
  }
  for (const auto& [variable, value] : environment_) {
    setenv(variable.c_str(), value.c_str(), 1);
  }
  if (withoutRoot_ && geteuid() == 0 && setuid(kNobody) != 0) {
    _exit(126);
  }
  std::vector<char*> arguments;
  for (std::string& argument : arguments_) {
    arguments.push_back(argument.data());
  }
  arguments.push_back(nullptr);
  fexecve(program, arguments.data(), environ);
  _exit(127);
}

bool CommandRun::readMore() {
  std::array<pollfd, 2> pipes = {pollfd{outputPipe_, POLLIN, 0}, pollfd{errorPipe_, POLLIN, 0}};
  if (outputPipe_ < 0 && errorPipe_ < 0) {
    return false;
  }
  poll(pipes.data(), pipes.size(), -1);
  if (pipes[0].revents != 0) {
    drain(outputPipe_, output_);
  }
  if (pipes[1].revents != 0) {
    drain(errorPipe_, error_);
  }
  return true;
}

void CommandRun::waitForError(const std::string& text) {
  while (error_.find(text) == std::string::npos) {
    if (!readMore()) {
      throw std::runtime_error("the command ended without saying \"" + text + "\": " + error_);
    }
  }
}

void CommandRun::signal(int number) const { kill(process_, number); }

int CommandRun::exitStatus() {
  while (readMore()) {
  }
  int status = 0;
  waitpid(std::exchange(process_, -1), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}
