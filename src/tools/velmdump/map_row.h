// The row of a section in the map: where its band, its names and its marks lie.
#ifndef MODFORGE_TOOLS_VELMDUMP_MAP_ROW_H
#define MODFORGE_TOOLS_VELMDUMP_MAP_ROW_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/velmdump/velm_module.h"

/// Measures of the picture, in its units.
namespace px {
inline constexpr double picture_width = 1000;
inline constexpr double margin = 16;
inline constexpr double band_left = 216;
inline constexpr double band_right = picture_width - margin;
inline constexpr double band_height = 24;
inline constexpr double strip_height = 6;  ///< density of relocations, below the band
inline constexpr double ruler_height = 23;
inline constexpr double line_height = 14;
inline constexpr double row_gap = 18;
inline constexpr double cell_width = 6.62;  ///< advance of the fixed-width font, to which every name is fitted

}  // namespace px

/// A place in a section that has a name.
struct map_name {
    std::uint64_t offset;  ///< from the start of the section, address units
    std::string text;      ///< as drawn_name gives it
    bool entry;            ///< the entry point
    double x = 0;          ///< of its place on the band
    double text_x = 0;     ///< of its text, when that stands above the band
    double text_width = 0;
    std::size_t line = 0;  ///< counted from the band up
};

struct map_row {
    std::vector<map_name> above;   ///< on lines above the band, each joined with its place by a stem
    std::vector<map_name> listed;  ///< below the band, with addresses: where stems would be too many
    std::size_t lines_above = 0;
    std::size_t lines_listed = 0;

    [[nodiscard]] double band_top() const { return static_cast<double>(lines_above) * px::line_height; }
    [[nodiscard]] double height() const;
};

/// Lays out the row of a section whose names, in order of address, are `names`. `scale`: picture units per byte.
map_row lay_out_row(const section_place& section, std::vector<map_name> names, double scale);

/// The grid in which lay_out_row lists names; each entry is an address of eight digits, a blank, and the name.
class name_grid listing_grid();
inline constexpr std::size_t listing_address_cells = 9;

#endif
