#pragma once

#include <string>

namespace cmpihost {

// A library loaded into this process. Not for use by several threads at once.
class SharedLibrary {
 public:
  // How its symbols are bound: kGlobal makes its exported names visible to libraries loaded later,
  // as some object managers do.
  enum class Binding { kLocal, kGlobal };

  // `path`: a path, or a plain name that the dynamic loader searches for. Throws HostError with
  // the reason when the library is not there or can't be loaded.
  explicit SharedLibrary(std::string path, Binding binding = Binding::kLocal);
  ~SharedLibrary();
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  const std::string& path() const { return path_; }

  // The address of an exported name. Throws HostError, naming it, when there is none.
  void* symbol(const std::string& name) const;

  // Gives the library up. True when it has really left the process; false when something (a unique
  // symbol, another user) keeps it in, or when it was given up before.
  bool close();

  // Leaves the library in the process for good: code of it still runs.
  void keep() { handle_ = nullptr; }

 private:
  std::string path_;
  void* handle_ = nullptr;
};

}  // namespace cmpihost
