#include <elf.h>
#include <link.h>

#include <fstream>
#include <iterator>

#include "tests/mapi/mapi_fixture.h"

namespace mapi_test {

// The module handle is the loader's link map; the names stand in the file's dynamic symbol table.
std::vector<std::string> ExportedSymbols(HMODULE module) {
  std::ifstream file(reinterpret_cast<const link_map*>(module)->l_name, std::ios::binary);
  const std::string image((std::istreambuf_iterator<char>(file)), {});
  const char* base = image.data();
  const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(base);
  const auto* sections = reinterpret_cast<const ElfW(Shdr)*>(base + header->e_shoff);
  std::vector<std::string> result;
  for (int i = 0; i < header->e_shnum; ++i) {
    if (sections[i].sh_type != SHT_DYNSYM) continue;
    const auto* symbols = reinterpret_cast<const ElfW(Sym)*>(base + sections[i].sh_offset);
    const char* names = base + sections[sections[i].sh_link].sh_offset;
    for (size_t s = 0; s < sections[i].sh_size / sizeof *symbols; ++s) {
      const bool exported =
          symbols[s].st_shndx != SHN_UNDEF && ELF64_ST_BIND(symbols[s].st_info) != STB_LOCAL;
      if (exported) result.push_back(names + symbols[s].st_name);
    }
  }
  return result;
}

}  // namespace mapi_test
