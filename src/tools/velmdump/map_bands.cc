// All bands are to one scale. A band has its packets as steps, below it a strip that is the denser the more relocations
// a packet has for its size, marks where imports are used, and a ruler with addresses.
#include "tools/velmdump/map_bands.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "format/reloc_types.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/module_facts.h"
#include "tools/velmdump/module_sizes.h"
#include "tools/velmdump/name_grid.h"
#include "tools/velmdump/reloc_places.h"
#include "tools/velmdump/show.h"
#include "tools/velmdump/words.h"

namespace {

/// Relocations per byte.
double density_of(std::uint64_t nreloc, std::uint64_t bytes) {
    return static_cast<double>(nreloc) / static_cast<double>(std::max<std::uint64_t>(1, bytes));
}

std::string line_to(double x1, double y1, double x2, double y2) {
    return "M" + svg_number(x1) + " " + svg_number(y1) + "L" + svg_number(x2) + " " + svg_number(y2);
}

/// How many bytes of each name are drawn. Any number of symbols can share a long name; the picture stays in proportion to
/// its module.
std::size_t drawn_length(const velm_module& module, const std::vector<std::uint32_t>& symbols) {
    constexpr std::size_t longest = 512;
    constexpr std::size_t shortened = 64;
    constexpr std::size_t plenty = std::size_t{8} << 20;
    std::size_t bytes = 0;
    for (const std::uint32_t symbol : symbols)
        bytes += std::min(module.name(module.symbols[symbol]).size(), longest);
    return bytes < plenty ? longest : shortened;
}

/// A name of the list, its address before it; over as many lines as it needs.
void draw_listed(svg_pen& pen, std::string_view name, std::uint32_t address, double x, double y) {
    const std::size_t line_cells = listing_grid().line_cells();
    pen.fixed_text(x, y, "q", hex_word(address).substr(2));
    x += listing_address_cells * px::cell_width;
    for (std::size_t room = line_cells - listing_address_cells; !name.empty(); room = line_cells) {
        const std::size_t taken = bytes_in_cells(name, room);
        pen.fixed_text(x, y, "t", name.substr(0, taken));
        name.remove_prefix(taken);
        x = px::band_left;
        y += px::line_height;
    }
}

}  // namespace

const char* colour_class(const section_place& section) {
    switch (section.header.flags & velm_scn_type_mask) {
    case velm_scn_code:
        return "code";
    case velm_scn_data:
        return "data";
    case velm_scn_init_table:
        return "init";
    default:
        return "bss";
    }
}

map_bands::map_bands(const velm_module& module) : module_(module) {
    std::uint64_t largest = 1;
    for (const section_place& section : module.sections) {
        largest = std::max(largest, memory_bytes(section));
        for (const packet_place& packet : module.packets(section))
            densest_ = std::max(densest_, density_of(packet.header.nreloc, packet.header.data_size));
    }
    scale_ = (px::band_right - px::band_left) / static_cast<double>(largest);
    for (std::uint32_t i = 0; i < module.symbols.size(); ++i) {
        if (module.is_export(module.symbols[i]) && module.symbols[i].section > 0)
            exports_.push_back(i);
    }
    longest_name_ = drawn_length(module, exports_);
    std::stable_sort(exports_.begin(), exports_.end(), [&module](std::uint32_t a, std::uint32_t b) {
        const auto key = [&module](std::uint32_t i) {
            return std::tuple(module.symbols[i].section, module.symbols[i].value);
        };
        return key(a) < key(b);
    });
}

double map_bands::x_of(std::uint64_t bytes) const {
    return px::band_left + static_cast<double>(bytes) * scale_;
}

map_row map_bands::row_of(std::size_t index) const {
    const section_place& section = module_.sections[index];
    std::vector<map_name> names;
    const int number = static_cast<int>(index) + 1;
    if (module_.header.entry_scn == number)
        names.push_back({module_.header.entry_point, "entry point", true});
    auto at = std::lower_bound(exports_.begin(), exports_.end(), number,
                               [this](std::uint32_t i, int wanted) { return module_.symbols[i].section < wanted; });
    for (; at != exports_.end() && module_.symbols[*at].section == number; ++at) {
        const velm_symbol_record& symbol = module_.symbols[*at];
        names.push_back({symbol.value - section.header.paddr, drawn_name(module_.name(symbol), longest_name_), false});
    }
    std::stable_sort(names.begin(), names.end(),
                     [](const map_name& a, const map_name& b) { return a.offset < b.offset; });
    return lay_out_row(section, std::move(names), scale_);
}

double map_bands::height() const {
    double height = 0;
    for (std::size_t i = 0; i < module_.sections.size(); ++i)
        height += row_of(i).height();
    return height;
}

void map_bands::draw(svg_pen& pen, double y, const std::string& prefix) const {
    for (std::size_t i = 0; i < module_.sections.size(); ++i) {
        const map_row row = row_of(i);
        pen.raw("<g id=\"" + prefix + "-" + std::to_string(i + 1) + "\">\n");
        draw_row(pen, i, row, y + row.band_top());
        pen.raw("</g>\n");
        y += row.height();
    }
}

void map_bands::draw_row(svg_pen& pen, std::size_t index, const map_row& row, double band) const {
    const section_place& section = module_.sections[index];
    draw_label(pen, section, band);
    const std::string tip = page_name(module_.name(section)) + ": " + flag_words(section.header.flags);
    pen.rect(px::band_left, band, std::max(2.0, x_of(memory_bytes(section)) - px::band_left), px::band_height,
             std::string(colour_class(section)) + (section.packets_in_file == 0 ? " empty" : " outline"), tip);
    draw_packets(pen, section, band);
    draw_import_marks(pen, section, band);
    draw_ruler(pen, section, band);
    draw_names(pen, section, row, band);
}

void map_bands::draw_label(svg_pen& pen, const section_place& section, double band) const {
    const std::string name = page_name(module_.name(section));
    const auto room = static_cast<std::size_t>((px::band_left - px::margin) / px::cell_width) - 2;
    const bool cut = cells(name) > room;
    pen.fixed_text(px::margin, band + 10, "t b", cut ? name.substr(0, bytes_in_cells(name, room - 1)) + "\u2026" : name,
                   cut ? name : "");
    pen.text(px::margin, band + 24, "q",
             counted_words(memory_bytes(section), "byte") +
                 (section.nreloc == 0 ? "" : ", " + counted_words(section.nreloc, "relocation")));
    if (section.header.vaddr != section.header.paddr)
        pen.text(px::margin, band + 38, "q", "loads at " + hex_word(section.header.vaddr));
}

void map_bands::draw_packets(svg_pen& pen, const section_place& section, double band) const {
    std::uint64_t start = 0;
    std::uint64_t nreloc = 0;
    std::uint64_t end = 0;
    std::uint32_t number = 0;
    unsigned step = 0;
    for (const packet_place& packet : module_.packets(section)) {
        end += packet.header.data_size;
        nreloc += packet.header.nreloc;
        // What is too narrow to be seen is one step with its neighbours.
        const double width = x_of(end) - x_of(start);
        if (++number < section.packets_in_file && width < 1)
            continue;
        const std::string tip =
            "bytes " + hex_number(start) + " to " + hex_number(end) + ", " + counted_words(nreloc, "relocation");
        pen.rect(x_of(start), band, std::max(width, 0.5), px::band_height, colour_class(section), tip,
                 step++ % 2 == 0 ? 0.65 : 0.85);
        if (nreloc != 0)
            pen.rect(x_of(start), band + px::band_height + 1, std::max(width, 0.5), px::strip_height - 1, "reloc", tip,
                     0.15 + 0.85 * std::sqrt(std::min(1.0, density_of(nreloc, end - start) / densest_)));
        start = end;
        nreloc = 0;
    }
}

void map_bands::draw_import_marks(svg_pen& pen, const section_place& section, double band) const {
    const double y = band + px::band_height + px::strip_height + 1;
    std::string marks;
    double last = -1;
    for_each_reloc(module_, section, [&](const reloc_place& reloc) {
        const reloc_record& rec = reloc.record;
        if (!is_sym_reloc(rec.r_type, rec.r_symndx) || rec.r_symndx >= module_.symbols.size() ||
            !module_.is_import(module_.symbols[rec.r_symndx]))
            return;
        const double x = std::min(x_of(static_cast<std::uint64_t>(std::max<std::int64_t>(reloc.offset, 0)) *
                                       (static_cast<unsigned>(section.width) / 8)),
                                  px::band_right);
        if (std::abs(x - last) < 2)
            return;
        last = x;
        marks += "M" + svg_number(x) + " " + svg_number(y) + "l2.5 4.5h-5z";
    });
    if (!marks.empty())
        pen.path(marks, "import", "uses of imports");
}

void map_bands::draw_ruler(svg_pen& pen, const section_place& section, double band) const {
    constexpr double label_width = 10 * px::cell_width;  // "0x00010000" with a little air, in the ruler's smaller font
    const double y = band + px::band_height + px::strip_height + px::ruler_height - 5;
    const std::uint64_t first = section.header.paddr;
    const std::uint64_t last = first + section.header.size;
    const double unit = scale_ * section.width / 8;
    const double end = px::band_left + static_cast<double>(section.header.size) * unit;
    pen.text(px::band_left, y, "r", hex_word(section.header.paddr));
    std::uint64_t step = 16;
    while (static_cast<double>(step) * unit < label_width + 10)
        step *= 2;
    std::string ticks;
    for (std::uint64_t address = (first / step + 1) * step; address < last; address += step) {
        const double x = px::band_left + static_cast<double>(address - first) * unit;
        ticks += line_to(x, band + px::band_height, x, band + px::band_height + px::strip_height + 3);
        if (x - label_width / 2 > px::band_left + label_width && x + label_width / 2 < end - label_width)
            pen.raw("<text x=\"" + svg_number(x) + "\" y=\"" + svg_number(y) +
                    "\" text-anchor=\"middle\" class=\"r\">" + hex_word(static_cast<std::uint32_t>(address)) +
                    "</text>\n");
    }
    if (!ticks.empty())
        pen.path(ticks, "tick");
    if (end > px::band_left + 2 * label_width)
        pen.text(end, y, "r", hex_word(static_cast<std::uint32_t>(last)), true);
}

void map_bands::draw_names(svg_pen& pen, const section_place& section, const map_row& row, double band) const {
    const auto tip_of = [&section](const map_name& name) {
        return name.text + " at " + hex_word(static_cast<std::uint32_t>(section.header.paddr + name.offset));
    };
    for (const map_name& name : row.above) {
        const double base = band - 5 - static_cast<double>(name.line) * px::line_height;
        pen.path(line_to(name.x, name.x < name.text_x ? base - 8 : base + 2, name.x, band + 3),
                 name.entry ? "stem entry" : "stem");
        pen.fixed_text(name.text_x, base, name.entry ? "entry" : "t", name.text, tip_of(name));
    }
    name_grid grid = listing_grid();
    const double top = band + px::band_height + px::strip_height + px::ruler_height + 12;
    std::string marks;
    double last = -1;
    for (const map_name& name : row.listed) {
        if (name.x - last >= 0.5)
            marks += line_to(name.x, band, name.x, band + 5);
        last = name.x;
        const auto place = grid.next(listing_address_cells + cells(name.text));
        draw_listed(pen, name.text, static_cast<std::uint32_t>(section.header.paddr + name.offset),
                    px::band_left + static_cast<double>(place.cell) * px::cell_width,
                    top + static_cast<double>(place.line) * px::line_height);
    }
    if (!marks.empty())
        pen.path(marks, "stem");
}
