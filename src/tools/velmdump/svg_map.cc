// The head of the map and its style; overview and bands stand in files of their own.
#include "tools/velmdump/svg_map.h"

#include <algorithm>

#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/map_bands.h"
#include "tools/velmdump/map_overview.h"
#include "tools/velmdump/map_row.h"
#include "tools/velmdump/module_facts.h"
#include "tools/velmdump/svg_pen.h"
#include "tools/velmdump/words.h"

namespace {

constexpr double head_height = 116;

// Every rule stands below the class of the picture: a page around it keeps its own.
const char* const style = R"(<style>
.velm-map text{font:11px system-ui,sans-serif;fill:#1f2328;unicode-bidi:isolate}
.velm-map text.f{font:11px "DejaVu Sans Mono",ui-monospace,Menlo,Consolas,monospace;white-space:pre}
.velm-map text.h{font-size:18px;font-weight:600}
.velm-map text.b{font-weight:700}
.velm-map text.q{fill:#59636e}
.velm-map text.r{font-size:10px;fill:#59636e}
.velm-map text.entry{fill:#b35900;font-weight:700}
.velm-map .back{fill:#ffffff}
.velm-map .code{fill:#4e79a7;stroke:#4e79a7}
.velm-map .data{fill:#59a14f;stroke:#59a14f}
.velm-map .init{fill:#b07aa1;stroke:#b07aa1}
.velm-map .bss{fill:#8a9199;stroke:#8a9199}
.velm-map .reloc{fill:#d1383d}
.velm-map rect{stroke-width:0}
.velm-map rect.outline{fill-opacity:.3;stroke-width:1}
.velm-map rect.empty{fill-opacity:.1;stroke-width:1;stroke-dasharray:4 3}
.velm-map .stem{fill:none;stroke:#1f2328;stroke-width:.8}
.velm-map .stem.entry{stroke:#b35900;stroke-width:2}
.velm-map .tick{fill:none;stroke:#59636e;stroke-width:.8}
.velm-map .import{fill:#0969da}
.velm-map .good{fill:#1a7f37}
.velm-map .warn{fill:#9a6700}
@media (prefers-color-scheme:dark){
.velm-map text{fill:#e6edf3}
.velm-map text.q,.velm-map text.r{fill:#9198a1}
.velm-map text.entry{fill:#ffa657}
.velm-map .back{fill:#0d1117}
.velm-map .code{fill:#6ea0d6;stroke:#6ea0d6}
.velm-map .data{fill:#6cbf60;stroke:#6cbf60}
.velm-map .init{fill:#c79ab9;stroke:#c79ab9}
.velm-map .bss{fill:#8b949e;stroke:#8b949e}
.velm-map .reloc{fill:#ff6b6b}
.velm-map .stem{stroke:#e6edf3}
.velm-map .stem.entry{stroke:#ffa657}
.velm-map .tick{stroke:#9198a1}
.velm-map .import{fill:#58a6ff}
.velm-map .good{fill:#3fb950}
.velm-map .warn{fill:#d29922}
}
</style>
)";

std::string facts(const velm_module& module) {
    const auto count = [&module](auto property) {
        return static_cast<std::uint64_t>(std::count_if(module.symbols.begin(), module.symbols.end(), property));
    };
    return counted_words(module.size(), "byte") + ", " + unit_words(module) + ", " +
           counted_words(module.sections.size(), "section") + ", " +
           counted_words(count([&](const velm_symbol_record& s) { return module.is_export(s); }), "export") + ", " +
           counted_words(count([&](const velm_symbol_record& s) { return module.is_import(s); }), "import") + ", " +
           "entry point " + entry_words(module, page_name);
}

void draw_verdict(svg_pen& pen, const std::vector<finding>& findings) {
    pen.raw("<circle cx=\"21\" cy=\"66\" r=\"5\" class=\"" + std::string(findings.empty() ? "good" : "warn") +
            "\"/>\n");
    std::string words = "Sound: every checksum and every rule of the format holds";
    if (!findings.empty()) {
        const std::string& first = findings.front().text;
        words = "Sound, with " + counted_words(findings.size(), "warning") + ": " +
                (first.size() > 100 ? first.substr(0, 100) + "\u2026" : first);
    }
    pen.text(32, 70, "t", words);
}

void draw_legend(svg_pen& pen) {
    static const struct {
        const char* classes;
        const char* text;
    } items[] = {{"code", "code"},
                 {"data", "data"},
                 {"init", "initialisation table"},
                 {"bss empty", "without contents in the module"},
                 {"reloc", "density of relocations"},
                 {"import", "uses of imports"},
                 {"entry", "entry point"}};
    constexpr double y = 84;
    double x = px::margin;
    for (const auto& item : items) {
        const std::string_view classes = item.classes;
        if (classes == "import")
            pen.path("M" + svg_number(x + 6) + " " + svg_number(y + 2) + "l5 9h-10z", "import");
        else if (classes == "entry")
            pen.path("M" + svg_number(x + 6) + " " + svg_number(y) + "v12", "stem entry");
        else
            pen.rect(x + 0.5, y + 0.5, 11, 11, classes, {}, classes == "bss empty" ? 1 : 0.75);
        pen.text(x + 17, y + 10, "t", item.text);
        x += 36 + static_cast<double>(std::string_view(item.text).size()) * 5.7;
    }
}

}  // namespace

void draw_map(const velm_module& module, const std::vector<finding>& findings, const map_options& options,
              std::FILE* out) {
    const map_overview overview(module);
    const map_bands bands(module);
    const std::string height = svg_number(head_height + overview.height() + bands.height());
    svg_pen pen(out);
    pen.raw("<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"velm-map\" width=\"" + svg_number(px::picture_width) +
            "\" height=\"" + height + "\" viewBox=\"0 0 " + svg_number(px::picture_width) + " " + height + "\">\n");
    pen.raw(style);
    pen.raw("<rect width=\"100%\" height=\"100%\" class=\"back\"/>\n");
    pen.text(px::margin, 30, "h", options.title);
    pen.text(px::margin, 50, "q", facts(module));
    draw_verdict(pen, findings);
    draw_legend(pen);
    overview.draw(pen, head_height, options.prefix);
    bands.draw(pen, head_height + overview.height(), options.prefix);
    pen.raw("</svg>\n");
}
