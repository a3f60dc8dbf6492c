// The plug-in exports the entry points of the host interface and nothing else; what its libraries may not import.
#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "framework/include/obz_entry_points.h"
#include "tests/site.h"

namespace {

enum class EPlace
{
    DEFINED,  // by the library, for others
    IMPORTED
};

// Names in the library's dynamic symbol table.
std::set<std::string> symbols(const std::string& library, EPlace place)
{
    const std::string file = contentOf(library);
    Elf64_Ehdr header;
    std::memcpy(&header, file.data(), sizeof header);
    std::set<std::string> names;
    for (size_t i = 0; i < header.e_shnum; ++i) {
        Elf64_Shdr section;
        std::memcpy(&section, file.data() + header.e_shoff + i * header.e_shentsize, sizeof section);
        if (section.sh_type != SHT_DYNSYM) continue;
        Elf64_Shdr strings;
        std::memcpy(&strings, file.data() + header.e_shoff + section.sh_link * header.e_shentsize, sizeof strings);
        for (size_t offset = 0; offset < section.sh_size; offset += sizeof(Elf64_Sym)) {
            Elf64_Sym symbol;
            std::memcpy(&symbol, file.data() + section.sh_offset + offset, sizeof symbol);
            const bool isImported = symbol.st_shndx == SHN_UNDEF;
            if (isImported == (place == EPlace::IMPORTED) && ELF64_ST_BIND(symbol.st_info) != STB_LOCAL) {
                names.insert(file.data() + strings.sh_offset + symbol.st_name);
            }
        }
    }
    return names;
}

std::set<std::string> entryPoints()
{
    std::set<std::string> names;
#define ADD_NAME(op) names.insert("cdpfi_fi_pgn_" #op);
    OBZX_FI_ENTRY_POINTS(ADD_NAME)
#undef ADD_NAME
    return names;
}

}  // namespace

TEST(ExportedSymbols, AreThe77EntryPointsAndNothingElse)
{
    ASSERT_EQ(entryPoints().size(), 77u);
    EXPECT_EQ(symbols(CDPFI_PROVIDER, EPlace::DEFINED), entryPoints());
}

// The C library ends the process when it finds no memory to note what a thread has to destroy at its end.
TEST(ImportedSymbols, NothingHasToBeDestroyedAtTheEndOfAThread)
{
    for (const char* library : {CDPFI_PROVIDER, CDPFI_RUNTIME, CDPFI_PARAMETER_PARSER}) {
        const std::set<std::string> imported = symbols(library, EPlace::IMPORTED);
        EXPECT_TRUE(imported.contains("malloc") || imported.contains("_Znwm")) << library;
        EXPECT_FALSE(imported.contains("__cxa_thread_atexit")) << library;
        EXPECT_FALSE(imported.contains("__cxa_thread_atexit_impl")) << library;
    }
}

TEST(ExportedSymbols, LibraryIsGoneAfterTheLastClose)
{
    void* library = dlopen(CDPFI_PROVIDER, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    dlclose(library);
    EXPECT_EQ(dlopen(CDPFI_PROVIDER, RTLD_NOW | RTLD_NOLOAD), nullptr);
}
