#include "tests/fault/Memory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

#include <cxxabi.h>
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sched.h>
#include <unwind.h>

#include "tests/fault/Calls.h"

namespace {

std::atomic<bool> following{false};
std::atomic<bool> seen{false};

// ---- Who asks

/// Frames of the C and C++ libraries, through which the library under test allocates too.
bool isRuntime(const char* name) {
  return std::strstr(name, "libstdc++") != nullptr || std::strstr(name, "libc.so") != nullptr ||
         std::strstr(name, "libgcc_s") != nullptr || std::strstr(name, "ld-linux") != nullptr;
}

/// Where in the library under test something is asked for, the innermost function first: code of
/// the C++ library's templates that was compiled into it comes before the function that used them.
struct Origin {
  std::array<std::uint32_t, 8> offsets{};
  std::size_t count = 0;

  explicit operator bool() const { return count > 0; }
};

struct Search {
  const void* caller;
  bool begun = false;
  Origin origin;
};

_Unwind_Reason_Code step(_Unwind_Context* frame, void* argument) {
  auto& search = *static_cast<Search*>(argument);
  auto* address = reinterpret_cast<void*>(_Unwind_GetIP(frame));
  search.begun = search.begun || address == search.caller;
  if (!search.begun) {
    return _URC_NO_REASON;
  }
  dl_find_object found;
  if (_dl_find_object(address, &found) != 0) {
    return _URC_END_OF_STACK;
  }
  Origin& origin = search.origin;
  if (fault::isLibrary(address)) {
    origin.offsets[origin.count++] = static_cast<std::uint32_t>(
        reinterpret_cast<std::uintptr_t>(address) - found.dlfo_link_map->l_addr);
    return origin.count < origin.offsets.size() ? _URC_NO_REASON : _URC_END_OF_STACK;
  }
  return !origin && isRuntime(found.dlfo_link_map->l_name) ? _URC_NO_REASON : _URC_END_OF_STACK;
}

/// Where in the library under test the memory is asked for; empty when somebody else asks.
Origin askedAt(const void* caller) {
  dl_find_object found;
  if (_dl_find_object(const_cast<void*>(caller), &found) != 0 ||
      !(fault::isLibrary(caller) || isRuntime(found.dlfo_link_map->l_name))) {
    return {};
  }
  Search search{caller, false, {}};
  _Unwind_Backtrace(step, &search);
  return search.origin;
}

// ---- What is held: a table that needs no memory of its own

struct Block {
  void* memory = nullptr;
  Origin origin;
};

constexpr std::size_t kBlocks = 1 << 15;
std::array<Block, kBlocks> blocks;
std::atomic_flag blocksBusy = ATOMIC_FLAG_INIT;

class BlocksLock {
 public:
  BlocksLock() {
    while (blocksBusy.test_and_set(std::memory_order_acquire)) {
      sched_yield();
    }
  }
  ~BlocksLock() { blocksBusy.clear(std::memory_order_release); }
  BlocksLock(const BlocksLock&) = delete;
  BlocksLock& operator=(const BlocksLock&) = delete;
};

void* const kGone = reinterpret_cast<void*>(1);

std::size_t slotOf(const void* memory) {
  return (reinterpret_cast<std::uintptr_t>(memory) >> 4) * 2654435761U % kBlocks;
}

void note(void* memory, const Origin& origin) {
  const BlocksLock lock;
  for (std::size_t i = slotOf(memory);; i = (i + 1) % kBlocks) {
    if (blocks[i].memory == nullptr || blocks[i].memory == kGone) {
      blocks[i] = {memory, origin};
      return;
    }
  }
}

void forget(const void* memory) {
  const BlocksLock lock;
  for (std::size_t i = slotOf(memory); blocks[i].memory != nullptr; i = (i + 1) % kBlocks) {
    if (blocks[i].memory == memory) {
      blocks[i].memory = kGone;
      return;
    }
  }
}

Origin refused;

// ---- Names of functions, from the file's symbol table

struct Function {
  std::uint64_t begin;
  std::uint64_t end;
  std::string name;
};

std::string demangled(const char* name) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> text(
      abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
  return status == 0 ? text.get() : name;
}

std::vector<Function> functionsOf(const std::string& library) {
  std::ifstream file(library, std::ios::binary);
  std::stringstream content;
  content << file.rdbuf();
  const std::string bytes = content.str();
  const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(bytes.data());
  const auto* sections = reinterpret_cast<const ElfW(Shdr)*>(bytes.data() + header->e_shoff);
  std::vector<Function> functions;
  for (unsigned i = 0; i < header->e_shnum; ++i) {
    if (sections[i].sh_type != SHT_SYMTAB) {
      continue;
    }
    const char* names = bytes.data() + sections[sections[i].sh_link].sh_offset;
    const auto* symbols = reinterpret_cast<const ElfW(Sym)*>(bytes.data() + sections[i].sh_offset);
    for (std::size_t s = 0; s < sections[i].sh_size / sizeof(*symbols); ++s) {
      if (ELF64_ST_TYPE(symbols[s].st_info) == STT_FUNC && symbols[s].st_size > 0) {
        functions.push_back({symbols[s].st_value, symbols[s].st_value + symbols[s].st_size,
                             demangled(names + symbols[s].st_name)});
      }
    }
  }
  return functions;
}

/// Whether a function is the C++ library's: "void std::vector<...>::push_back(...)".
bool isOfCppLibrary(const std::string& function) {
  std::string name;
  int depth = 0;
  for (const char character : function) {
    depth += character == '<' ? 1 : 0;
    if (depth == 0) {
      name += character;
    }
    depth -= character == '>' ? 1 : 0;
  }
  const std::string hidden = "(anonymous namespace)";
  for (std::size_t at = name.find(hidden); at != std::string::npos; at = name.find(hidden)) {
    name.erase(at, hidden.size());
  }
  name = name.substr(0, name.find('('));
  const std::size_t blank = name.rfind(' ');
  name = blank == std::string::npos ? name : name.substr(blank + 1);
  return name.rfind("std::", 0) == 0 || name.rfind("__gnu_cxx::", 0) == 0;
}

std::string functionOf(const std::string& library, const Origin& origin) {
  std::string name;
  for (std::size_t i = 0; i < origin.count; ++i) {
    name = fault::functionAt(library, origin.offsets[i]);
    if (!isOfCppLibrary(name)) {
      break;
    }
  }
  return name;
}

}  // namespace

namespace fault {

std::string functionAt(const std::string& library, std::uint64_t offset) {
  static std::map<std::string, std::vector<Function>> known;
  const auto [entry, fresh] = known.try_emplace(library);
  if (fresh) {
    entry->second = functionsOf(library);
  }
  for (const Function& function : entry->second) {
    // A return address may lie just behind a function that ends in a call.
    if (offset > function.begin && offset <= function.end) {
      return function.name;
    }
  }
  std::ostringstream text;
  text << "0x" << std::hex << offset;
  return text.str();
}

void Memory::follow() {
  {
    const BlocksLock lock;
    blocks.fill({});
  }
  following = true;
}

void Memory::stopFollowing() { following = false; }

void* Memory::allocated(const void* caller, void* (*allocate)(void* memory, std::size_t size),
                        void* memory, std::size_t size) {
  seen.store(true, std::memory_order_relaxed);
  if (!following) {
    return allocate(memory, size);
  }
  const Origin origin = askedAt(caller);
  if (!origin) {
    return allocate(memory, size);
  }
  if (Injector::instance().meetMemory()) {
    refused = origin;
    errno = ENOMEM;
    return nullptr;
  }
  void* allocatedMemory = allocate(memory, size);
  note(allocatedMemory, origin);
  return allocatedMemory;
}

bool Memory::seesAllocations() { return seen; }

void Memory::freed(const void* memory) {
  if (following && memory != nullptr) {
    forget(memory);
  }
}

std::string Memory::lastRefused(const std::string& library) { return functionOf(library, refused); }

std::map<std::string, int> Memory::held(const std::string& library) {
  std::vector<Origin> origins;
  origins.reserve(1024);
  {
    const BlocksLock lock;
    for (const Block& block : blocks) {
      if (block.memory != nullptr && block.memory != kGone && origins.size() < 1024) {
        origins.push_back(block.origin);
      }
    }
  }
  std::map<std::string, int> count;
  for (const Origin& origin : origins) {
    ++count[functionOf(library, origin)];
  }
  return count;
}

}  // namespace fault
