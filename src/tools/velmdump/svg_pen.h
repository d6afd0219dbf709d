// Draws the shapes of a map as SVG. Colours are classes; the style in svg_map.cc says what they look like, in light and
// dark.
#ifndef MODFORGE_TOOLS_VELMDUMP_SVG_PEN_H
#define MODFORGE_TOOLS_VELMDUMP_SVG_PEN_H

#include <cstdio>
#include <string>
#include <string_view>

class svg_pen {
public:
    explicit svg_pen(std::FILE* out) : out_(out) {}

    /// A rectangle of a class; `tip`, when not empty, is told under the pointer.
    void rect(double x, double y, double width, double height, std::string_view classes, std::string_view tip = {},
              double opacity = 1);
    /// A text in the fixed-width font, fitted to the cells that it takes, whatever font there is. `y`: its base line.
    void fixed_text(double x, double y, std::string_view classes, std::string_view text, std::string_view tip = {});
    /// A text in a font for reading, as wide as it comes. `end`: it ends at `x`.
    void text(double x, double y, std::string_view classes, std::string_view text, bool end = false);
    /// A line or an outline, by its path data.
    void path(const std::string& data, std::string_view classes, std::string_view tip = {});
    /// What follows, up to end_link, leads to the element with that id.
    void begin_link(const std::string& id);
    void end_link();
    void raw(const std::string& text) { std::fputs(text.c_str(), out_); }

private:
    void close(const char* tag, std::string_view text, std::string_view tip);

    std::FILE* out_;
};

/// "1.5": at most one decimal, none when it is zero.
std::string svg_number(double value);

#endif
