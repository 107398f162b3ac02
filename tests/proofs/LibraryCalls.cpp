#include "tests/proofs/LibraryCalls.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

namespace proofs {

namespace {

/** The library's table of addresses is read-only once it is loaded. */
void** writable(uintptr_t address) {
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    mprotect(reinterpret_cast<void*>(address & ~(page - 1)), page, PROT_READ | PROT_WRITE);
    return reinterpret_cast<void**>(address);
}

}  // namespace

void redirectCalls(void* library, const std::vector<Redirected>& calls) {
    link_map* map = nullptr;
    dlinfo(library, RTLD_DI_LINKMAP, &map);
    const ElfW(Sym)* symbols = nullptr;
    const char* names = nullptr;
    const ElfW(Rela) * tables[2] = {};
    size_t sizes[2] = {};
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        const auto address = reinterpret_cast<const void*>(entry->d_un.d_ptr);
        switch (entry->d_tag) {
            case DT_SYMTAB:
                symbols = static_cast<const ElfW(Sym)*>(address);
                break;
            case DT_STRTAB:
                names = static_cast<const char*>(address);
                break;
            case DT_RELA:
                tables[0] = static_cast<const ElfW(Rela)*>(address);
                break;
            case DT_RELASZ:
                sizes[0] = entry->d_un.d_val;
                break;
            case DT_JMPREL:
                tables[1] = static_cast<const ElfW(Rela)*>(address);
                break;
            case DT_PLTRELSZ:
                sizes[1] = entry->d_un.d_val;
                break;
            default:
                break;
        }
    }
    for (size_t table = 0; table < 2; ++table) {
        for (size_t i = 0; i < sizes[table] / sizeof(ElfW(Rela)); ++i) {
            const ElfW(Rela)& entry = tables[table][i];
            const char* name = names + symbols[ELF64_R_SYM(entry.r_info)].st_name;
            for (const Redirected& call : calls) {
                if (strcmp(name, call.name) != 0) continue;
                void** slot = writable(map->l_addr + entry.r_offset);
                if (*slot == call.replacement) continue;
                *call.next = *slot;
                *slot = call.replacement;
            }
        }
    }
}

}  // namespace proofs
