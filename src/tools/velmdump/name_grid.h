// Lays names out in columns, in reading order.
#ifndef MODFORGE_TOOLS_VELMDUMP_NAME_GRID_H
#define MODFORGE_TOOLS_VELMDUMP_NAME_GRID_H

#include <algorithm>
#include <cstddef>

/// A grid of equal columns, all measures in cells of a font of fixed width. A name that is wider than a column takes
/// several; one that is wider than a line has as many lines as it needs for itself.
class name_grid {
public:
    struct place {
        std::size_t line;
        std::size_t cell;  ///< from the left
    };

    name_grid(std::size_t columns, std::size_t column_cells) : columns_(columns), column_cells_(column_cells) {}

    [[nodiscard]] std::size_t line_cells() const { return columns_ * column_cells_; }

    /// The place of the next name, `cells` wide without the gap behind it.
    place next(std::size_t cells) {
        constexpr std::size_t gap = 2;
        const std::size_t columns = (cells + gap + column_cells_ - 1) / column_cells_;
        if (column_ != 0 && column_ + columns > columns_)
            end_line();
        const place result{line_, column_ * column_cells_};
        line_ += (std::max<std::size_t>(cells, 1) - 1) / line_cells();
        column_ = std::min(column_ + columns, columns_);
        return result;
    }
    [[nodiscard]] std::size_t lines() const { return line_ + (column_ != 0 ? 1 : 0); }

private:
    void end_line() {
        ++line_;
        column_ = 0;
    }

    std::size_t columns_;
    std::size_t column_cells_;
    std::size_t line_ = 0;
    std::size_t column_ = 0;
};

#endif
