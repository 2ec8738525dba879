#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The probe runs the commands on its command line, each "NAME:ARGUMENT:...", and prints one line
// for each. It only makes ordinary system calls; what they meet is somebody else's business.
namespace probe {

using Arguments = std::vector<std::string>;

// "ok" or "failed EIO", after a call that returned result.
std::string outcome(long result);
std::string errnoText(int error);

// The bytes as hexadecimal digits, trailing zeros left out.
std::string hex(const unsigned char* data, std::size_t length);

// The commands, each with what it prints.
std::string identity(const Arguments& arguments);
std::string driveCommand(const Arguments& arguments);
std::string readLogExt(const Arguments& arguments);
std::string nvmeId(const Arguments& arguments);
std::string nvmeAdmin(const Arguments& arguments);

std::string readFile(const Arguments& arguments);
std::string readLines(const Arguments& arguments);
std::string appendToFile(const Arguments& arguments);
std::string listDirectory(const Arguments& arguments);
std::string expandPattern(const Arguments& arguments);
std::string askAccess(const Arguments& arguments);
std::string askStatus(const Arguments& arguments);
std::string openAndControl(const Arguments& arguments);
std::string leak(const Arguments& arguments);
std::string reuseDescriptor(const Arguments& arguments);

}  // namespace probe
