// How the built library guards itself, read off its file.

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>

namespace {

class ElfFile {
 public:
  explicit ElfFile(const std::string& path) {
    std::stringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    bytes_ = content.str();
  }

  const ElfW(Phdr) * segment(unsigned type) const {
    const auto* header = at<ElfW(Ehdr)>(0);
    for (unsigned i = 0; i < header->e_phnum; ++i) {
      const auto* segment = at<ElfW(Phdr)>(header->e_phoff + i * sizeof(ElfW(Phdr)));
      if (segment->p_type == type) {
        return segment;
      }
    }
    return nullptr;
  }

  /// The values of the dynamic section's entries with that tag.
  std::vector<std::uint64_t> dynamic(std::int64_t tag) const {
    const auto* section = segment(PT_DYNAMIC);
    std::vector<std::uint64_t> values;
    for (std::size_t i = 0; i < section->p_filesz / sizeof(ElfW(Dyn)); ++i) {
      const auto* entry = at<ElfW(Dyn)>(section->p_offset + i * sizeof(ElfW(Dyn)));
      if (entry->d_tag == tag) {
        values.push_back(entry->d_un.d_val);
      }
    }
    return values;
  }

  struct Symbol {
    std::string name;
    bool defined;
    unsigned binding;
    bool isFunction;
    std::uint64_t address;
  };

  std::vector<Symbol> dynamicSymbols() const {
    std::vector<Symbol> all;
    const auto* header = at<ElfW(Ehdr)>(0);
    const auto* sections = at<ElfW(Shdr)>(header->e_shoff);
    for (unsigned i = 0; i < header->e_shnum; ++i) {
      if (sections[i].sh_type != SHT_DYNSYM) {
        continue;
      }
      const char* names = at<char>(sections[sections[i].sh_link].sh_offset);
      for (std::size_t s = 0; s < sections[i].sh_size / sizeof(ElfW(Sym)); ++s) {
        const auto* symbol = at<ElfW(Sym)>(sections[i].sh_offset + s * sizeof(ElfW(Sym)));
        all.push_back({names + symbol->st_name, symbol->st_shndx != SHN_UNDEF,
                       static_cast<unsigned>(ELF64_ST_BIND(symbol->st_info)),
                       ELF64_ST_TYPE(symbol->st_info) == STT_FUNC, symbol->st_value});
      }
    }
    return all;
  }

  bool imports(const std::string& name) const {
    const auto symbols = dynamicSymbols();
    return std::any_of(symbols.begin(), symbols.end(), [&](const Symbol& symbol) {
      return !symbol.defined && symbol.name == name;
    });
  }

  /// Whether the machine code of each exported function begins with `code`.
  void expectFunctionsBegin(const std::vector<std::uint8_t>& code) const {
    for (const Symbol& symbol : dynamicSymbols()) {
      if (symbol.defined && symbol.isFunction) {
        const std::string beginning = bytes_.substr(offsetOf(symbol.address), code.size());
        EXPECT_EQ(beginning, std::string(code.begin(), code.end())) << symbol.name;
      }
    }
  }

 private:
  template <typename T>
  const T* at(std::size_t offset) const {
    return reinterpret_cast<const T*>(bytes_.data() + offset);
  }

  /// Where in the file the byte at a virtual address is.
  std::size_t offsetOf(std::uint64_t address) const {
    const auto* header = at<ElfW(Ehdr)>(0);
    for (unsigned i = 0; i < header->e_phnum; ++i) {
      const auto* segment = at<ElfW(Phdr)>(header->e_phoff + i * sizeof(ElfW(Phdr)));
      if (segment->p_type == PT_LOAD && address >= segment->p_vaddr &&
          address < segment->p_vaddr + segment->p_filesz) {
        return address - segment->p_vaddr + segment->p_offset;
      }
    }
    return 0;
  }

  std::string bytes_;
};

const ElfFile& library() {
  static const ElfFile file(VEKSSD_LIBRARY);
  return file;
}

TEST(Hardening, BindsEverySymbolWhenLoaded) {
  const bool now =
      !library().dynamic(DT_BIND_NOW).empty() ||
      (!library().dynamic(DT_FLAGS).empty() && (library().dynamic(DT_FLAGS)[0] & DF_BIND_NOW) != 0);
  EXPECT_TRUE(now);
}

TEST(Hardening, MakesItsRelocatedDataReadOnly) {
  EXPECT_NE(library().segment(PT_GNU_RELRO), nullptr);
  EXPECT_TRUE(library().dynamic(DT_TEXTREL).empty());
}

TEST(Hardening, NeedsNoExecutableStack) {
  const auto* stack = library().segment(PT_GNU_STACK);
  ASSERT_NE(stack, nullptr);
  EXPECT_EQ(stack->p_flags & PF_X, 0U);
}

TEST(Hardening, GuardsItsStack) { EXPECT_TRUE(library().imports("__stack_chk_fail")); }

TEST(Hardening, SearchesForLibrariesNowhereOfItsOwn) {
  EXPECT_TRUE(library().dynamic(DT_RPATH).empty());
  EXPECT_TRUE(library().dynamic(DT_RUNPATH).empty());
}

TEST(Hardening, HasNoSymbolThatWouldKeepItInTheProcess) {
  for (const ElfFile::Symbol& symbol : library().dynamicSymbols()) {
    EXPECT_NE(symbol.binding, static_cast<unsigned>(STB_GNU_UNIQUE)) << symbol.name;
  }
}

#if defined(VEKSSD_OPTIMISED)
TEST(Hardening, ChecksTheBoundsOfWhatItFormats) {
  EXPECT_TRUE(library().imports("__vsnprintf_chk"));
}
#endif

#if defined(__x86_64__)
TEST(Hardening, MarksWhereItsFunctionsMayBeCalled) {
  library().expectFunctionsBegin({0xF3, 0x0F, 0x1E, 0xFA});  // endbr64
}
#endif

}  // namespace
