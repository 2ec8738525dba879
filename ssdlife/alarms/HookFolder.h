#pragma once

#include <string>
#include <vector>

namespace ssdlife {

// The names of what is in the folder, sorted: what an alarm is given to. Left out are folders,
// hidden files, and what editors and package managers leave (~, .bak, .dpkg-*, .rpm*). Empty
// without the folder.
std::vector<std::string> hooksIn(const std::string& folder);

// Why this file must not be run, in words; empty if it may be. It has to be an executable file, it
// and its folder of root or of this user, and writable by nobody else, as cron wants it.
std::string refusalOf(const std::string& folder, const std::string& hook);

}  // namespace ssdlife
