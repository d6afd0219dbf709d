// Elements and attributes of SVG, with every text escaped on its way.
#include "tools/velmdump/svg_pen.h"

#include <cmath>

#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/map_row.h"

std::string svg_number(double value) {
    const auto tenths = static_cast<long long>(std::llround(value * 10));
    char text[32];
    if (tenths % 10 == 0)
        std::snprintf(text, sizeof text, "%lld", tenths / 10);
    else
        std::snprintf(text, sizeof text, "%.1f", static_cast<double>(tenths) / 10);
    return text;
}

namespace {

std::string attribute(const char* name, double value) {
    return std::string(" ") + name + "=\"" + svg_number(value) + "\"";
}

}  // namespace

void svg_pen::close(const char* tag, std::string_view text, std::string_view tip) {
    std::string rest = markup(text);
    if (!tip.empty())
        rest += "<title>" + markup(tip) + "</title>";
    raw(rest.empty() ? "/>\n" : ">" + rest + "</" + tag + ">\n");
}

void svg_pen::rect(double x, double y, double width, double height, std::string_view classes, std::string_view tip,
                   double opacity) {
    raw("<rect" + attribute("x", x) + attribute("y", y) + attribute("width", width) + attribute("height", height) +
        " class=\"" + std::string(classes) + "\"");
    if (opacity < 1)
        std::fprintf(out_, " fill-opacity=\"%.2f\"", opacity);
    close("rect", {}, tip);
}

void svg_pen::fixed_text(double x, double y, std::string_view classes, std::string_view text, std::string_view tip) {
    if (text.empty())
        return;
    raw("<text" + attribute("x", x) + attribute("y", y) +
        attribute("textLength", static_cast<double>(cells(text)) * px::cell_width) +
        " lengthAdjust=\"spacingAndGlyphs\" class=\"f " + std::string(classes) + "\"");
    close("text", text, tip);
}

void svg_pen::text(double x, double y, std::string_view classes, std::string_view text, bool end) {
    raw("<text" + attribute("x", x) + attribute("y", y) + (end ? " text-anchor=\"end\"" : "") + " class=\"" +
        std::string(classes) + "\"");
    close("text", text, {});
}

void svg_pen::path(const std::string& data, std::string_view classes, std::string_view tip) {
    raw("<path d=\"" + data + "\" class=\"" + std::string(classes) + "\"");
    close("path", {}, tip);
}

void svg_pen::begin_link(const std::string& id) {
    raw("<a href=\"#" + id + "\">");
}

void svg_pen::end_link() {
    raw("</a>\n");
}
