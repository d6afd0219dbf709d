// A count that needs every relocation of a module.
#include "tools/velmdump/reloc_places.h"

#include "format/reloc_types.h"

std::vector<std::uint64_t> uses_of_symbols(const velm_module& module) {
    std::vector<std::uint64_t> uses(module.symbols.size());
    for (const section_place& section : module.sections) {
        for_each_reloc(module, section, [&uses](const reloc_place& reloc) {
            const reloc_record& rec = reloc.record;
            if (is_sym_reloc(rec.r_type, rec.r_symndx) && rec.r_symndx < uses.size())
                ++uses[rec.r_symndx];
        });
    }
    return uses;
}
