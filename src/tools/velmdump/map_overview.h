// What stands above the bands of the map: all sections in one line, an index when they are many, and the imports.
#ifndef MODFORGE_TOOLS_VELMDUMP_MAP_OVERVIEW_H
#define MODFORGE_TOOLS_VELMDUMP_MAP_OVERVIEW_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/velmdump/svg_pen.h"
#include "tools/velmdump/velm_module.h"

class map_overview {
public:
    explicit map_overview(const velm_module& module);

    [[nodiscard]] double height() const;
    /// Draws from `y` on. Every section leads to the element with the id `prefix` and its number.
    void draw(svg_pen& pen, double y, const std::string& prefix) const;

private:
    struct imported {
        std::uint32_t symbol;
        std::uint64_t uses;  ///< relocations that refer to it
    };

    [[nodiscard]] std::size_t index_lines() const;
    [[nodiscard]] std::size_t import_lines() const;
    [[nodiscard]] std::string import_text(const imported& import) const;
    void draw_line(svg_pen& pen, double y, const std::string& prefix) const;
    void draw_index(svg_pen& pen, double y, const std::string& prefix) const;
    void draw_imports(svg_pen& pen, double y) const;

    const velm_module& module_;
    std::vector<imported> imports_;
};

#endif
