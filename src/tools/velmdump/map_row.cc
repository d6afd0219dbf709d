// A few names stand above the band, at their places. Many would make a thicket of stems, or push each other up without
// end: they are listed below it in columns, by address, and the band has a mark for each.
#include "tools/velmdump/map_row.h"

#include <algorithm>
#include <iterator>

#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/name_grid.h"

namespace {

constexpr std::size_t most_above = 40;
constexpr std::size_t most_lines_above = 12;
constexpr double stem_gap = 3;  ///< between a stem and the text that stands to its right
constexpr double clearance = 2;

bool crosses(double stem, const map_name& name) {
    return stem > name.text_x - clearance && stem < name.text_x + name.text_width + clearance;
}

/// Whether `name` cannot stand on `line`: a text would lie over another, or a stem would go through a text.
bool is_taken(std::size_t line, const map_name& name, const map_name& other) {
    if (other.line > line)
        return crosses(other.x, name);
    if (other.line < line)
        return crosses(name.x, other);
    const double gap = 2 * px::cell_width;
    return name.text_x < other.text_x + other.text_width + gap && other.text_x < name.text_x + name.text_width + gap;
}

/// Puts each name on the lowest line that is free there. False when that takes too many lines.
bool place_above(std::vector<map_name>& names) {
    // From the right: the text stands to the right of its stem, so what lies further left goes above it.
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        const auto taken = [&name, &names](std::size_t line) {
            return std::any_of(names.rbegin(), name,
                               [&](const map_name& other) { return is_taken(line, *name, other); });
        };
        while (taken(name->line)) {
            if (++name->line == most_lines_above)
                return false;
        }
    }
    return true;
}

void measure(map_name& name, const section_place& section, double scale) {
    const double bytes = static_cast<double>(name.offset) * section.width / 8;
    name.x = std::min(px::band_left + bytes * scale, px::band_right);
    name.text_width = static_cast<double>(cells(name.text)) * px::cell_width;
    name.text_x = std::min(name.x + stem_gap, px::band_right - name.text_width);
    name.line = 0;
}

std::size_t lines_above_of(const std::vector<map_name>& names) {
    std::size_t lines = 0;
    for (const map_name& name : names)
        lines = std::max(lines, name.line + 1);
    return lines;
}

std::size_t lines_listed_of(const std::vector<map_name>& names) {
    name_grid grid = listing_grid();
    for (const map_name& name : names)
        grid.next(listing_address_cells + cells(name.text));
    return grid.lines();
}

}  // namespace

double map_row::height() const {
    const double list = lines_listed == 0 ? 0 : 4 + static_cast<double>(lines_listed) * px::line_height;
    return band_top() + px::band_height + px::strip_height + px::ruler_height + list + px::row_gap;
}

name_grid listing_grid() {
    constexpr std::size_t columns = 4;
    return {columns, static_cast<std::size_t>((px::band_right - px::band_left) / px::cell_width) / columns};
}

map_row lay_out_row(const section_place& section, std::vector<map_name> names, double scale) {
    map_row row;
    for (map_name& name : names)
        measure(name, section, scale);
    const bool too_wide = std::any_of(names.begin(), names.end(), [](const map_name& name) {
        return name.text_width > (px::band_right - px::band_left) / 2;
    });
    row.above = std::move(names);
    if (too_wide || row.above.size() > most_above || !place_above(row.above)) {
        const auto entry =
            std::stable_partition(row.above.begin(), row.above.end(), [](const map_name& name) { return name.entry; });
        row.listed.assign(std::make_move_iterator(entry), std::make_move_iterator(row.above.end()));
        row.above.erase(entry, row.above.end());
        for (map_name& name : row.above)
            name.line = 0;
    }
    row.lines_above = lines_above_of(row.above);
    row.lines_listed = lines_listed_of(row.listed);
    return row;
}
