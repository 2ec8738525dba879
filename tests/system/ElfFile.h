#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What the dynamic linker reads of a 64-bit ELF shared library.
class ElfFile {
 public:
  struct Symbol {
    std::string name;
    unsigned char binding;  ///< STB_...
    unsigned char type;     ///< STT_...
    bool defined;
    std::uint64_t address;
    std::uint64_t size;
  };
  struct Segment {
    std::uint32_t type;   ///< PT_...
    std::uint32_t flags;  ///< PF_...
  };

  /// Throws std::runtime_error for a file that is none.
  explicit ElfFile(const std::string& path);

  /// The dynamic symbols, without the versions of their names.
  [[nodiscard]] const std::vector<Symbol>& symbols() const { return symbols_; }
  /// The defined one of that name; throws without.
  [[nodiscard]] const Symbol& symbol(const std::string& name) const;
  [[nodiscard]] const std::vector<Segment>& segments() const { return segments_; }

  /// The values of the dynamic section's entries of that tag, DT_...
  [[nodiscard]] std::vector<std::uint64_t> dynamic(std::int64_t tag) const;
  /// The same as texts of the string table.
  [[nodiscard]] std::vector<std::string> dynamicTexts(std::int64_t tag) const;

  /// `size` bytes as they are at that address after loading.
  [[nodiscard]] std::string bytesAt(std::uint64_t address, std::uint64_t size) const;

 private:
  [[nodiscard]] std::uint64_t offsetOf(std::uint64_t address) const;
  [[nodiscard]] std::string textAt(std::uint64_t offset) const;
  template <typename Structure>
  [[nodiscard]] Structure read(std::uint64_t offset) const;

  struct Loaded {
    std::uint64_t address;
    std::uint64_t offset;
    std::uint64_t size;
  };
  struct Entry {
    std::int64_t tag;
    std::uint64_t value;
  };

  std::string content_;
  std::vector<Loaded> loaded_;
  std::vector<Segment> segments_;
  std::vector<Entry> entries_;
  std::vector<Symbol> symbols_;
  std::uint64_t texts_ = 0;
};
