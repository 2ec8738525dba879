#include "tests/system/ElfFile.h"

#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

template <typename Structure>
Structure ElfFile::read(std::uint64_t offset) const {
  Structure structure;
  if (offset > content_.size() || content_.size() - offset < sizeof structure) {
    throw std::runtime_error("the file ends too early");
  }
  std::memcpy(&structure, content_.data() + offset, sizeof structure);
  return structure;
}

ElfFile::ElfFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  content_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  const auto header = read<Elf64_Ehdr>(0);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64 ||
      header.e_type != ET_DYN) {
    throw std::runtime_error(path + " is no shared library");
  }
  std::uint64_t dynamicOffset = 0;
  std::uint64_t dynamicSize = 0;
  for (unsigned i = 0; i < header.e_phnum; ++i) {
    const auto segment = read<Elf64_Phdr>(header.e_phoff + i * sizeof(Elf64_Phdr));
    segments_.push_back({segment.p_type, segment.p_flags});
    if (segment.p_type == PT_LOAD) {
      loaded_.push_back({segment.p_vaddr, segment.p_offset, segment.p_filesz});
    } else if (segment.p_type == PT_DYNAMIC) {
      dynamicOffset = segment.p_offset;
      dynamicSize = segment.p_filesz;
    }
  }
  for (std::uint64_t at = 0; at < dynamicSize; at += sizeof(Elf64_Dyn)) {
    const auto entry = read<Elf64_Dyn>(dynamicOffset + at);
    if (entry.d_tag == DT_NULL) {
      break;
    }
    entries_.push_back({entry.d_tag, entry.d_un.d_val});
  }
  texts_ = offsetOf(dynamic(DT_STRTAB).at(0));
  // The section of the dynamic symbols tells their number.
  for (unsigned i = 0; i < header.e_shnum; ++i) {
    const auto section = read<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr));
    if (section.sh_type != SHT_DYNSYM) {
      continue;
    }
    for (std::uint64_t at = sizeof(Elf64_Sym); at < section.sh_size; at += sizeof(Elf64_Sym)) {
      const auto symbol = read<Elf64_Sym>(section.sh_offset + at);
      symbols_.push_back({textAt(texts_ + symbol.st_name),
                          static_cast<unsigned char>(ELF64_ST_BIND(symbol.st_info)),
                          static_cast<unsigned char>(ELF64_ST_TYPE(symbol.st_info)),
                          symbol.st_shndx != SHN_UNDEF, symbol.st_value, symbol.st_size});
    }
  }
}

const ElfFile::Symbol& ElfFile::symbol(const std::string& name) const {
  for (const Symbol& one : symbols_) {
    if (one.defined && one.name == name) {
      return one;
    }
  }
  throw std::runtime_error("no symbol " + name);
}

std::vector<std::uint64_t> ElfFile::dynamic(std::int64_t tag) const {
  std::vector<std::uint64_t> values;
  for (const Entry& entry : entries_) {
    if (entry.tag == tag) {
      values.push_back(entry.value);
    }
  }
  return values;
}

std::vector<std::string> ElfFile::dynamicTexts(std::int64_t tag) const {
  std::vector<std::string> texts;
  for (const std::uint64_t value : dynamic(tag)) {
    texts.push_back(textAt(texts_ + value));
  }
  return texts;
}

std::string ElfFile::bytesAt(std::uint64_t address, std::uint64_t size) const {
  return content_.substr(offsetOf(address), size);
}

std::uint64_t ElfFile::offsetOf(std::uint64_t address) const {
  for (const Loaded& part : loaded_) {
    if (address >= part.address && address - part.address < part.size) {
      return part.offset + (address - part.address);
    }
  }
  throw std::runtime_error("an address outside the file");
}

std::string ElfFile::textAt(std::uint64_t offset) const { return content_.c_str() + offset; }
