// The bands of the map: a row for each section.
#ifndef MODFORGE_TOOLS_VELMDUMP_MAP_BANDS_H
#define MODFORGE_TOOLS_VELMDUMP_MAP_BANDS_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/velmdump/map_row.h"
#include "tools/velmdump/svg_pen.h"
#include "tools/velmdump/velm_module.h"

class map_bands {
public:
    explicit map_bands(const velm_module& module);

    /// Picture units for all rows together.
    [[nodiscard]] double height() const;
    /// Draws the rows from `y` on, each with the id `prefix` and the number of its section.
    void draw(svg_pen& pen, double y, const std::string& prefix) const;

private:
    [[nodiscard]] map_row row_of(std::size_t index) const;
    void draw_row(svg_pen& pen, std::size_t index, const map_row& row, double band) const;
    void draw_label(svg_pen& pen, const section_place& section, double band) const;
    void draw_packets(svg_pen& pen, const section_place& section, double band) const;
    void draw_import_marks(svg_pen& pen, const section_place& section, double band) const;
    void draw_ruler(svg_pen& pen, const section_place& section, double band) const;
    void draw_names(svg_pen& pen, const section_place& section, const map_row& row, double band) const;
    [[nodiscard]] double x_of(std::uint64_t bytes) const;

    const velm_module& module_;
    std::vector<std::uint32_t> exports_;  ///< symbol indices, by section and value
    std::size_t longest_name_;            ///< bytes of a name that are drawn
    double scale_ = 1;                    ///< picture units per byte
    double densest_ = 0;                  ///< relocations per byte of the densest packet
};

/// The class of a section's colour: "code", "data", "init" or "bss".
const char* colour_class(const section_place& section);

#endif
