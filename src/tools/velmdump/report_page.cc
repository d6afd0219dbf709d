// The frame of the page: the modules side by side, then each with its facts, shares, map and tables.
#include "tools/velmdump/report_page.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "tools/common/text_forms.h"
#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/module_facts.h"
#include "tools/velmdump/module_sizes.h"
#include "tools/velmdump/names.h"
#include "tools/velmdump/report_tables.h"
#include "tools/velmdump/svg_map.h"
#include "tools/velmdump/words.h"

namespace {

struct verdict {
    const char* colour;
    std::string words;
};

verdict verdict_of(const module_file& file) {
    const auto errors = static_cast<std::uint64_t>(
        std::count_if(file.findings.begin(), file.findings.end(), [](const finding& f) { return f.error; }));
    const std::uint64_t warnings = file.findings.size() - errors;
    const std::string more = warnings == 0 ? "" : counted_words(warnings, "warning");
    if (errors != 0)
        return {"bad", "unsound: " + counted_words(errors, "error") + (more.empty() ? "" : ", " + more)};
    return more.empty() ? verdict{"good", "sound"} : verdict{"warn", "sound, " + more};
}

class page {
public:
    page(const std::vector<module_file>& files, std::FILE* out) : files_(files), out_(out) {
        for (const module_file& file : files)
            for (const std::string_view name : exported_names(file.module))
                offered_.insert(name);
    }

    void print() {
        put("<!DOCTYPE html>\n<html lang=\"en\" xmlns=\"http://www.w3.org/1999/xhtml\">\n<head>\n"
            "<meta charset=\"utf-8\"/>\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
            "style-src 'unsafe-inline'; script-src 'unsafe-inline'\"/>\n");
        const std::string title =
            files_.size() == 1 ? drawn_file_name(files_[0].path) : counted_words(files_.size(), "module");
        put("<title>" + markup(title) + "</title>\n<style>" + report_style + "</style>\n</head>\n<body>\n");
        put("<h1>" + std::string(files_.size() == 1 ? "VELM module" : "VELM modules") + "</h1>\n");
        put("<noscript><p>The tables need JavaScript; facts, sizes and maps do not.</p></noscript>\n");
        overview();
        for (std::size_t i = 0; i < files_.size(); ++i)
            module(files_[i], "m" + std::to_string(i + 1));
        put("<script>//<![CDATA[\n" + std::string(report_script) + "\n//]]></script>\n</body>\n</html>\n");
    }

private:
    void put(const std::string& text) { std::fputs(text.c_str(), out_); }

    void cell(const std::string& text) { put("<td>" + text + "</td>"); }
    void number(std::uint64_t value) { put("<td class=\"number\">" + grouped(value) + "</td>"); }

    static std::string verdict_markup(const module_file& file) {
        const verdict v = verdict_of(file);
        return "<span class=\"verdict " + std::string(v.colour) + "\">" + v.words + "</span>";
    }

    /// The modules side by side, with how many of the imports another one offers.
    void overview() {
        put("<div class=\"wide\"><table class=\"plain\">\n<thead><tr><th scope=\"col\">Module</th>"
            "<th scope=\"col\">Verdict</th>");
        for (const char* name : {"Bytes", "Code", "Data", "Bss", "Sections", "Relocations", "Exports", "Imports"})
            put("<th scope=\"col\" class=\"number\">" + std::string(name) + "</th>");
        if (files_.size() > 1)
            put("<th scope=\"col\" class=\"number\">Offered here</th>");
        put("</tr></thead>\n<tbody>\n");
        for (std::size_t i = 0; i < files_.size(); ++i)
            overview_row(files_[i], "m" + std::to_string(i + 1));
        put("</tbody></table></div>\n");
    }

    void overview_row(const module_file& file, const std::string& id) {
        const velm_module& module = file.module;
        const size_shares shares = sizes_of(module);
        const std::vector<std::string_view> imports = imported_names(module);
        put("<tr>");
        cell("<a href=\"#" + id + "\">" + markup(drawn_file_name(file.path)) + "</a>");
        cell(verdict_markup(file));
        for (const std::uint64_t value : {module.size(), shares.code, shares.data, shares.bss,
                                          std::uint64_t{module.sections.size()}, shares.relocs / sizeof(reloc_record),
                                          std::uint64_t{exported_names(module).size()}, std::uint64_t{imports.size()}})
            number(value);
        if (files_.size() > 1)
            number(static_cast<std::uint64_t>(std::count_if(
                imports.begin(), imports.end(), [this](std::string_view name) { return offered_.contains(name); })));
        put("</tr>\n");
    }

    void module(const module_file& file, const std::string& id) {
        put("<h2 id=\"" + id + "\">" + markup(drawn_file_name(file.path)) + "</h2>\n<p>" + verdict_markup(file) +
            "</p>\n<dl>\n");
        for (const auto& [name, text] : module_facts(file.module, page_name))
            put("<dt>" + markup(name) + "</dt><dd>" + markup(text) + "</dd>\n");
        put("</dl>\n");
        shares(file.module);
        findings(file, id);
        map(file, id);
        tables(file.module, id);
    }

    void shares(const velm_module& module) {
        const size_shares sizes = sizes_of(module);
        const struct {
            const char* colour;
            const char* name;
            std::uint64_t bytes;
        } parts[] = {{"s-code", "code", sizes.code},
                     {"s-data", "data", sizes.data},
                     {"s-relocs", "relocations", sizes.relocs},
                     {"s-packets", "packet headers and padding", sizes.packets},
                     {"s-tables", "header, names, section headers, symbols", table_bytes(module)}};
        std::uint64_t all = 0;
        for (const auto& part : parts)
            all += part.bytes;
        put("<h3>Where the bytes of the file go</h3>\n<div class=\"bar\">");
        for (const auto& part : parts) {
            char text[96];
            std::snprintf(text, sizeof text, "<span class=\"%s\" style=\"flex:%llu 0 0\"></span>", part.colour,
                          wide(part.bytes));
            if (part.bytes != 0)
                put(text);
        }
        put("</div>\n<ul class=\"shares\">\n");
        for (const auto& part : parts) {
            char text[24];
            std::snprintf(text, sizeof text, "%.1f",
                          100.0 * static_cast<double>(part.bytes) /
                              static_cast<double>(std::max<std::uint64_t>(all, 1)));
            put("<li><i class=\"" + std::string(part.colour) + "\"></i>" + part.name + ": " +
                counted_words(part.bytes, "byte") + " <span class=\"quiet\">" + text + " %</span></li>\n");
        }
        put("</ul>\n<p class=\"quiet\">Memory without contents in the file (bss): " + counted_words(sizes.bss, "byte") +
            "</p>\n");
    }

    void findings(const module_file& file, const std::string& id) {
        if (file.findings.empty())
            return;
        put("<h3>Findings</h3>\n");
        first_rows(file.findings.size(), "findings", "velmdump check");
        print_findings_table(file, id, out_);
    }

    void map(const module_file& file, const std::string& id) {
        if (verdict_of(file).colour == std::string("bad")) {
            put("<p class=\"quiet\">No map: the module is unsound.</p>\n");
            return;
        }
        put("<h3>Map</h3>\n<div class=\"map\">\n");
        draw_map(file.module, file.findings, {.title = drawn_file_name(file.path), .prefix = id + "-map"}, out_);
        put("</div>\n");
    }

    void tables(const velm_module& module, const std::string& id) {
        put("<h3>Sections</h3>\n");
        print_sections_table(module, id, out_);
        put("<h3>Symbols</h3>\n");
        print_symbols_table(module, id, out_);
        put("<h3>Relocations</h3>\n");
        first_rows(sizes_of(module).relocs / sizeof(reloc_record), "relocations", "velmdump show --relocs");
        print_relocs_table(module, id, out_);
    }

    /// Says so when the page does not hold all.
    void first_rows(std::uint64_t all, const std::string& what, const std::string& command) {
        if (all > most_report_rows)
            put("<p class=\"quiet\">The first " + grouped(most_report_rows) + " of " + grouped(all) + " " + what +
                "; <span class=\"mono\">" + command + "</span> has them all.</p>\n");
    }

    const std::vector<module_file>& files_;
    std::FILE* out_;
    std::unordered_set<std::string_view> offered_;
};

}  // namespace

void print_report(const std::vector<module_file>& files, std::FILE* out) {
    page(files, out).print();
}
