// The reference loader: any bytes are refused or arrive within the bounds of their sections, in both ways to relocate.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "mutator.h"
#include "support/module_sums.h"
#include "survive.h"
#include "velm_loader.h"

namespace {

/// A target that moves everything and holds the loader to its word.
struct watcher {
    std::uint32_t section = 0;  ///< number of the one that is written
    std::uint32_t written = 0;  ///< bytes of it
    unsigned seen = 0;          ///< taken from every argument, so that a bad pointer shows
};

watcher& self(void* pointer) {
    return *static_cast<watcher*>(pointer);
}

void require(bool holds) {
    if (!holds)
        std::abort();
}

void read_name(watcher& w, const char* name) {
    for (; name != nullptr && *name != '\0'; ++name)
        w.seen += static_cast<unsigned char>(*name);
}

int resolve(void* pointer, const velm_symbol* import, std::uint32_t* value) {
    require(import->name != nullptr);
    read_name(self(pointer), import->name);
    *value = 0xF0000000U + import->number;
    return 0;
}

int place(void* pointer, const velm_section* section, velm_placement* where) {
    read_name(self(pointer), section->name);
    where->run += section->number << 8;
    return section->number % 8 != 7;
}

int write(void* pointer, const velm_section* section, const velm_placement* where, std::uint32_t offset,
          const unsigned char* data, std::uint32_t size) {
    watcher& w = self(pointer);
    if (section->number != w.section)
        w = {section->number, 0, w.seen};
    require(where->wanted != 0 && offset == w.written && size != 0 && size <= section->bytes - offset);
    w.written += size;
    w.seen += data[0] + data[size - 1];
    return 0;
}

int relocate(void* pointer, const velm_relocation* r) {
    watcher& w = self(pointer);
    require(r->section->number == w.section && r->place_bytes == r->place_units * (r->section->unit_bits / 8));
    require(r->room <= w.written && r->place_bytes <= w.written - r->room);
    if (r->operand == VELM_SYMBOL)
        read_name(w, r->symbol.name);
    if (r->operand == VELM_FIELD)
        require(r->field.container / 8 <= r->room);
    return 0;
}

int offer(void* pointer, const velm_symbol* exported) {
    require(exported->name != nullptr && exported->section != 0);
    read_name(self(pointer), exported->name);
    return 0;
}

void use(const support::bytes& input) {
    velm_module module;
    const velm_status status = velm_open(&module, input.data(), static_cast<std::uint32_t>(input.size()));
    require(velm_status_name(status) != nullptr && module.fault <= input.size());
    if (status != VELM_OK)
        return;
    std::vector<velm_placement> placements(module.section_count);
    for (const int by_packet : {0, 1}) {
        watcher w;
        const velm_target target = {&w, 0, by_packet, resolve, place, write, relocate, nullptr, offer};
        velm_entry entry;
        velm_load(&module, &target, placements.data(), module.section_count, &entry);
        require(module.fault <= input.size());
    }
}

}  // namespace

const input_form fuzz_input = {.records = support::records_of_module, .repair = support::repair_sums};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    use(support::bytes(data, data + size));
    return 0;
}
