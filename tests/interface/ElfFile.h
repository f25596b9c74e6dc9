/// What a dynamic library exports and needs, read from its file.
#pragma once

#include <elf.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

/// A 64-bit ELF file of this machine's byte order. Throws `std::runtime_error` when the file cannot be read as one.
class ElfFile {
 public:
  explicit ElfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    m_bytes.assign(std::istreambuf_iterator<char>(file), {});
    const auto header = Read<Elf64_Ehdr>(0);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64) {
      throw std::runtime_error(path + " is no 64-bit ELF file");
    }
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
      m_sections.push_back(Read<Elf64_Shdr>(header.e_shoff + i * header.e_shentsize));
    }
  }

  /// Names of the dynamic symbols that other modules can bind to, sorted.
  std::vector<std::string> ExportedSymbols() const {
    std::vector<std::string> names;
    ForEachEntry<Elf64_Sym>(SHT_DYNSYM, [&](const Elf64_Sym& symbol, const Elf64_Shdr& strings) {
      const bool bBindable = ELF64_ST_BIND(symbol.st_info) != STB_LOCAL && symbol.st_shndx != SHN_UNDEF;
      const bool bVisible = ELF64_ST_VISIBILITY(symbol.st_other) != STV_HIDDEN;
      if (bBindable && bVisible) names.push_back(Text(strings, symbol.st_name));
    });
    std::sort(names.begin(), names.end());
    return names;
  }

  /// Values of the dynamic section's text entries of a tag (`DT_NEEDED`, `DT_SONAME`).
  std::vector<std::string> DynamicTexts(Elf64_Sxword tag) const {
    std::vector<std::string> texts;
    ForEachEntry<Elf64_Dyn>(SHT_DYNAMIC, [&](const Elf64_Dyn& entry, const Elf64_Shdr& strings) {
      if (entry.d_tag == tag) texts.push_back(Text(strings, entry.d_un.d_val));
    });
    return texts;
  }

 private:
  template <class Entry>
  Entry Read(std::size_t offset) const {
    if (offset > m_bytes.size() || m_bytes.size() - offset < sizeof(Entry)) {
      throw std::runtime_error("the ELF file is missing or too short");
    }
    Entry entry;
    std::memcpy(&entry, m_bytes.data() + offset, sizeof(Entry));
    return entry;
  }

  template <class Entry, class Visit>
  void ForEachEntry(Elf64_Word type, Visit visit) const {
    for (const Elf64_Shdr& section : m_sections) {
      if (section.sh_type != type) continue;
      for (std::size_t offset = 0; offset < section.sh_size; offset += sizeof(Entry)) {
        visit(Read<Entry>(section.sh_offset + offset), m_sections.at(section.sh_link));
      }
    }
  }

  std::string Text(const Elf64_Shdr& strings, std::size_t offset) const {
    return std::string(&m_bytes.at(strings.sh_offset + offset));
  }

  std::vector<char> m_bytes;
  std::vector<Elf64_Shdr> m_sections;
};
