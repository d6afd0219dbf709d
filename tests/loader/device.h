// What the tests of the loader share: a module by the converter, and a target with memory to load it into.
#ifndef MODFORGE_LOADER_DEVICE_H
#define MODFORGE_LOADER_DEVICE_H

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/coff_builder.h"
#include "support/module_sums.h"
#include "support/run_program.h"
#include "velm_loader.h"

namespace loader {

using namespace support;

/// The module that modforge makes with these arguments.
inline bytes converted(std::vector<std::string> arguments) {
    const temporary_directory room;
    arguments.insert(arguments.begin(), {MODFORGE_PROGRAM, "-o=" + room.file("m")});
    const run_result run = run_program(arguments);
    EXPECT_EQ(run.status, 0) << run.err;
    return read_file(room.file("m"));
}

inline bytes converted(const coff_image& image) {
    const temporary_directory room;
    return converted({room.write("app.out", image.data())});
}

inline std::string text(const char* name) {
    return name != nullptr ? name : "";
}

/// The example that docs/module-format.md works out, little-endian.
inline bytes worked_example() {
    const std::string examples = MODFORGE_SOURCE_DIR "/examples/";
    const bytes module = converted({"-e=" + examples + "blink.entries", examples + "blink.out"});
    return order_of(module) == byte_order::little ? module : byte_swapped(module);
}

/// A relocation as it was offered, with copies of what dies behind the call.
struct offered {
    velm_relocation reloc;
    std::string section, symbol;
};

/// A target with a memory of its own for each section. `move` says how far a section goes, its load address
/// three times as far; `import` what an import is; the step whose name is `refuse` gives up.
class device {
public:
    std::function<std::uint32_t(const velm_section&)> move = [](const velm_section&) { return 0U; };
    std::function<std::uint32_t(const velm_symbol&)> import = [](const velm_symbol& s) { return s.linked; };
    std::string refuse = {};
    bool by_packet = false;
    std::uint32_t target_id = 0, room_for_sections = 0xFFFF;

    bytes module;  ///< exactly as long as it is, so that a read behind it shows
    velm_module opened{};
    velm_entry entry{};
    std::map<std::string, bytes> memory;
    std::vector<offered> relocs;
    std::map<std::string, std::uint32_t> exports;
    int commits = 0;

    explicit device(bytes module_bytes) : module(std::move(module_bytes)) { module.shrink_to_fit(); }

    velm_status load() {
        const velm_status status = velm_open(&opened, module.data(), static_cast<std::uint32_t>(module.size()));
        if (status != VELM_OK)
            return status;
        std::vector<velm_placement> placements(opened.section_count);
        const velm_target target = {this, target_id, by_packet, resolve, place, write, relocate, commit, offer};
        return velm_load(&opened, &target, placements.data(), std::min(opened.section_count, room_for_sections),
                         &entry);
    }

private:
    static device& self(void* pointer) { return *static_cast<device*>(pointer); }
    [[nodiscard]] int answer(const char* step) const { return refuse == step ? -1 : 0; }

    static int resolve(void* pointer, const velm_symbol* s, std::uint32_t* value) {
        *value = self(pointer).import(*s);
        return self(pointer).answer("resolve");
    }
    static int place(void* pointer, const velm_section* s, velm_placement* where) {
        where->run += self(pointer).move(*s);
        where->load += 3 * self(pointer).move(*s);
        self(pointer).memory[s->name].resize(s->bytes);
        return self(pointer).refuse == "place" ? -1 : self(pointer).refuse == "contents" ? 0 : 1;
    }
    static int write(void* pointer, const velm_section* s, const velm_placement*, std::uint32_t offset,
                     const unsigned char* data, std::uint32_t size) {
        bytes& memory = self(pointer).memory[s->name];
        EXPECT_LE(std::uint64_t{offset} + size, memory.size());
        std::copy(data, data + size, memory.begin() + offset);
        return self(pointer).answer("write");
    }
    /// The plain types are differences in contents of either order.
    static int relocate(void* pointer, const velm_relocation* r) {
        device& d = self(pointer);
        d.relocs.push_back({*r, r->section->name, r->operand == VELM_SYMBOL ? text(r->symbol.name) : ""});
        const std::map<std::uint32_t, std::size_t> plain = {{15, 1}, {16, 2}, {17, 4}};
        if (plain.contains(r->type) && r->operand == VELM_SYMBOL && plain.at(r->type) <= r->room) {
            const byte_order order = d.opened.big_endian_contents ? byte_order::big : byte_order::little;
            const std::uint32_t old = get(d.memory[r->section->name], r->place_bytes, plain.at(r->type), order);
            put_at(d.memory[r->section->name], r->place_bytes, plain.at(r->type),
                   old + r->symbol.value - r->symbol.linked, order);
        }
        return d.answer("relocate");
    }
    static int commit(void* pointer, const velm_section*, const velm_placement*) {
        ++self(pointer).commits;
        return self(pointer).answer("commit");
    }
    static int offer(void* pointer, const velm_symbol* s) {
        self(pointer).exports[s->name] = s->value;
        return self(pointer).answer("offer");
    }
};

/// The name of a section or symbol of it, below.
std::string name_of(const auto& named) {
    return std::string(named.name);
}

}  // namespace loader

#endif
