// All sections in one line to one scale, none of them too narrow to be seen; index and imports in columns.
#include "tools/velmdump/map_overview.h"

#include <algorithm>

#include "format/reloc_types.h"
#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/map_bands.h"
#include "tools/velmdump/module_facts.h"
#include "tools/velmdump/module_sizes.h"
#include "tools/velmdump/name_grid.h"
#include "tools/velmdump/reloc_places.h"
#include "tools/velmdump/words.h"

namespace {

constexpr double bar_height = 20;
constexpr double block_gap = 14;
constexpr std::size_t few_sections = 16;  ///< that many need no index
constexpr std::size_t index_columns = 5;
constexpr double index_column = (px::picture_width - 2 * px::margin) / index_columns;

name_grid import_grid() {
    constexpr std::size_t columns = 5;
    return {columns, static_cast<std::size_t>((px::picture_width - 2 * px::margin) / px::cell_width) / columns};
}

/// "812", "14 K", "3 M": for columns where there is no room for more.
std::string short_size(std::uint64_t bytes) {
    static constexpr const char* units[] = {"", " K", " M", " G", " T"};
    std::size_t unit = 0;
    for (; bytes >= 10000; bytes = (bytes + 512) / 1024)
        ++unit;
    return std::to_string(bytes) + units[unit];
}

}  // namespace

map_overview::map_overview(const velm_module& module) : module_(module) {
    const std::vector<std::uint64_t> uses = uses_of_symbols(module);
    for (std::uint32_t i = 0; i < module.symbols.size(); ++i) {
        if (module.is_import(module.symbols[i]))
            imports_.push_back({i, uses[i]});
    }
}

std::size_t map_overview::index_lines() const {
    const std::size_t sections = module_.sections.size();
    return sections <= few_sections ? 0 : (sections + index_columns - 1) / index_columns;
}

std::string map_overview::import_text(const imported& import) const {
    return page_name(module_.name(module_.symbols[import.symbol]));
}

std::size_t map_overview::import_lines() const {
    name_grid grid = import_grid();
    for (const imported& import : imports_)
        grid.next(cells(import_text(import)));
    return grid.lines();
}

double map_overview::height() const {
    double height = 0;
    if (module_.sections.size() > 1)
        height += px::line_height + bar_height + block_gap;
    if (index_lines() != 0)
        height += static_cast<double>(index_lines()) * px::line_height + block_gap;
    if (!imports_.empty())
        height += static_cast<double>(import_lines() + 1) * px::line_height + block_gap;
    return height;
}

void map_overview::draw(svg_pen& pen, double y, const std::string& prefix) const {
    if (module_.sections.size() > 1) {
        draw_line(pen, y, prefix);
        y += px::line_height + bar_height + block_gap;
    }
    if (index_lines() != 0) {
        draw_index(pen, y, prefix);
        y += static_cast<double>(index_lines()) * px::line_height + block_gap;
    }
    if (!imports_.empty())
        draw_imports(pen, y);
}

void map_overview::draw_line(svg_pen& pen, double y, const std::string& prefix) const {
    std::uint64_t all = 0;
    for (const section_place& section : module_.sections)
        all += memory_bytes(section);
    pen.text(px::margin, y + 10, "q", "Memory of all sections: " + counted_words(all, "byte"));
    const double room = px::picture_width - 2 * px::margin;
    const auto sections = static_cast<double>(module_.sections.size());
    // So that no section is lost to the eye; where all are equal, nothing changes.
    const double least = std::min(3.0, room / sections / 2);
    const double scale = (room - least * sections) / static_cast<double>(std::max<std::uint64_t>(all, 1));
    double x = px::margin;
    for (std::size_t i = 0; i < module_.sections.size(); ++i) {
        const section_place& section = module_.sections[i];
        const double segment = least + static_cast<double>(memory_bytes(section)) * scale;
        const std::string name = page_name(module_.name(section));
        pen.begin_link(prefix + "-" + std::to_string(i + 1));
        pen.rect(x, y + px::line_height, segment, bar_height,
                 std::string(colour_class(section)) + (section.packets_in_file == 0 ? " empty" : " outline"),
                 name + ", " + counted_words(memory_bytes(section), "byte"));
        if (static_cast<double>(cells(name)) * px::cell_width + 8 < segment)
            pen.fixed_text(x + 5, y + px::line_height + 14, "t", name);
        pen.end_link();
        x += segment;
    }
}

void map_overview::draw_index(svg_pen& pen, double y, const std::string& prefix) const {
    const std::size_t lines = index_lines();
    for (std::size_t i = 0; i < module_.sections.size(); ++i) {
        const section_place& section = module_.sections[i];
        const std::size_t column = i / lines;
        const double x = px::margin + static_cast<double>(column) * index_column;
        const double base = y + static_cast<double>(i % lines) * px::line_height + 10;
        const std::string name = page_name(module_.name(section));
        const std::string size = short_size(memory_bytes(section));
        const auto room = static_cast<std::size_t>((index_column - 24) / px::cell_width) - size.size() - 1;
        const bool cut = cells(name) > room;
        pen.begin_link(prefix + "-" + std::to_string(i + 1));
        pen.rect(x, base - 8, 8, 8,
                 std::string(colour_class(section)) + (section.packets_in_file == 0 ? " empty" : ""));
        pen.fixed_text(x + 12, base, "t", cut ? name.substr(0, bytes_in_cells(name, room - 1)) + "\u2026" : name,
                       cut ? name : "");
        pen.end_link();
        pen.text(x + index_column - 12, base, "r", size, true);
    }
}

void map_overview::draw_imports(svg_pen& pen, double y) const {
    pen.text(px::margin, y + 10, "q", "Imports: " + grouped(imports_.size()));
    pen.raw("<g class=\"names\">\n");
    name_grid grid = import_grid();
    for (const imported& import : imports_) {
        const std::string name = import_text(import);
        const auto place = grid.next(cells(name));
        double x = px::margin + static_cast<double>(place.cell) * px::cell_width;
        double base = y + static_cast<double>(place.line + 1) * px::line_height + 10;
        for (std::string_view rest = name; !rest.empty();) {
            const std::size_t taken = bytes_in_cells(rest, grid.line_cells());
            pen.fixed_text(x, base, "t", rest.substr(0, taken), counted_words(import.uses, "relocation"));
            rest.remove_prefix(taken);
            x = px::margin;
            base += px::line_height;
        }
    }
    pen.raw("</g>\n");
}
