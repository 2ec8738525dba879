#include "host/SharedLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include <utility>

#include "host/HostError.h"

namespace cmpihost {
namespace {

std::string loaderError() {
  const char* const text = dlerror();
  return text != nullptr ? text : "the dynamic loader gives no reason";
}

}  // namespace

SharedLibrary::SharedLibrary(std::string path, Binding binding) : path_(std::move(path)) {
  const bool isPath = path_.find('/') != std::string::npos;
  if (isPath && access(path_.c_str(), F_OK) != 0) {
    throw HostError("library not found: " + path_);
  }
  handle_ =
      dlopen(path_.c_str(), RTLD_NOW | (binding == Binding::kGlobal ? RTLD_GLOBAL : RTLD_LOCAL));
  if (handle_ == nullptr) {
    throw HostError("library can't be loaded: " + loaderError());
  }
}

SharedLibrary::~SharedLibrary() { close(); }

void* SharedLibrary::symbol(const std::string& name) const {
  if (handle_ == nullptr) {
    throw HostError("library " + path_ + " was given up already");
  }
  void* const address = dlsym(handle_, name.c_str());
  if (address == nullptr) {
    throw HostError("library " + path_ + " has no symbol " + name);
  }
  return address;
}

bool SharedLibrary::close() {
  if (handle_ == nullptr) {
    return false;
  }
  dlclose(std::exchange(handle_, nullptr));
  void* const stillThere = dlopen(path_.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (stillThere != nullptr) {
    dlclose(stillThere);
  }
  return stillThere == nullptr;
}

}  // namespace cmpihost
