// Sizes as a build wants to see them: of one module by section, of several a line each, or what changed since another.
#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <utility>

#include "tools/common/file_input.h"
#include "tools/common/json_writer.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/module_sizes.h"

namespace {

struct size_arguments {
    std::vector<std::string> paths;
    std::string against;
    bool sections = false;
    bool json = false;
};

constexpr const char* columns[] = {"code", "data", "bss", "relocations", "packets", "tables", "file"};
constexpr const char* rest_name = "(header, names, symbols)";

/// A value for each of the columns, bytes. Signed, because they can be differences.
using size_row = std::array<std::int64_t, std::size(columns)>;

size_row row_of(const size_shares& shares, std::uint64_t tables) {
    size_row row{};
    std::size_t column = 0;
    for (const std::uint64_t value :
         {shares.code, shares.data, shares.bss, shares.relocs, shares.packets, tables, shares.in_file() + tables})
        row[column++] = static_cast<std::int64_t>(value);
    return row;
}

size_row growth(const size_row& now, const size_row& before) {
    size_row row = now;
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] -= before[i];
    return row;
}

struct named_row {
    std::string_view name;  ///< the module's
    size_row row;
};

/// A row for each section, and one for what belongs to none.
std::vector<named_row> rows_of(const velm_module& module) {
    std::vector<named_row> rows;
    for (const section_place& section : module.sections)
        rows.push_back({module.name(section), row_of(sizes_of(module, section), sizeof(velm_scnhdr_record))});
    rows.push_back({rest_name, row_of({}, table_bytes(module) - sizeof(velm_scnhdr_record) * module.sections.size())});
    return rows;
}

size_row total_of(const velm_module& module) {
    return row_of(sizes_of(module), table_bytes(module));
}

void print_head(const char* last) {
    for (const char* name : columns)
        std::printf("%11s ", name);
    std::printf(" %s\n", last);
}

void print_row(const size_row& row, const std::string& name, bool with_sign) {
    for (const std::int64_t value : row)
        std::printf("%11s ", ((with_sign && value > 0 ? "+" : "") + std::to_string(value)).c_str());
    std::printf(" %s\n", name.c_str());
}

void print_sections(const module_file& file) {
    print_head("section");
    for (const named_row& each : rows_of(file.module))
        print_row(each.row, shown_name(each.name), false);
    print_row(total_of(file.module), input_label(file.path), false);
}

/// A line for each section whose sizes changed, those that came or went among them, and the total.
void print_difference(const module_file& now, const module_file& before) {
    std::map<std::pair<std::string_view, unsigned>, size_row>
        old_rows;  // by name, and a counter where several share one
    std::map<std::string_view, unsigned> seen;
    for (const named_row& each : rows_of(before.module))
        old_rows[{each.name, seen[each.name]++}] = each.row;
    seen.clear();
    const auto print_changed = [](const size_row& row, std::string_view name) {
        if (row != size_row{})
            print_row(row, shown_name(name), true);
    };
    print_head("section");
    for (const named_row& each : rows_of(now.module)) {
        const auto old_row = old_rows.extract({each.name, seen[each.name]++});
        print_changed(old_row ? growth(each.row, old_row.mapped()) : each.row, each.name);
    }
    for (const auto& [key, row] : old_rows)
        print_changed(growth({}, row), key.first);
    print_row(growth(total_of(now.module), total_of(before.module)), input_label(now.path), true);
}

void put_row(json_writer& json, const size_row& row) {
    for (std::size_t i = 0; i < row.size(); ++i)
        json.member(columns[i], row[i]);
}

void put_module(json_writer& json, const module_file& file) {
    json.name("file", file.path);
    json.begin_array("sections");
    for (const section_place& section : file.module.sections) {
        json.begin_object();
        json.name("name", file.module.name(section));
        put_row(json, row_of(sizes_of(file.module, section), sizeof(velm_scnhdr_record)));
        json.end_object();
    }
    json.end_array();
    json.begin_object("total");
    put_row(json, total_of(file.module));
    json.end_object();
}

void print_as_json(const std::vector<module_file>& files, const std::vector<module_file>& before) {
    json_writer json(stdout);
    json.begin_object();
    json.begin_array("modules");
    for (const module_file& file : files) {
        json.begin_object();
        put_module(json, file);
        json.end_object();
    }
    json.end_array();
    if (!before.empty()) {
        json.begin_object("against");
        put_module(json, before.front());
        json.end_object();
    }
    json.end_object();
}

/// Every file that can be read; `status` tells of the others.
std::vector<module_file> read_all(const std::vector<std::string>& paths, int& status) {
    std::vector<module_file> files;
    for (const std::string& path : paths) {
        if (auto file = read_module(path, wanted_module::sound, status))
            files.push_back(std::move(*file));
    }
    return files;
}

int size(const size_arguments& given) {
    int status = status_good;
    const std::vector<module_file> files = read_all(given.paths, status);
    std::vector<module_file> before;
    if (!given.against.empty())
        before = read_all({given.against}, status);
    if (files.empty() || before.empty() != given.against.empty())
        return status;
    if (given.json) {
        print_as_json(files, before);
    } else if (!before.empty()) {
        for (const module_file& file : files)
            print_difference(file, before.front());
    } else if (given.sections || given.paths.size() == 1) {
        for (const module_file& file : files)
            print_sections(file);
    } else {
        print_head("module");
        for (const module_file& file : files)
            print_row(total_of(file.module), input_label(file.path), false);
    }
    return status;
}

std::function<int()> set_up_size(command_arguments& arguments) {
    auto given = std::make_shared<size_arguments>();
    add_files(arguments, given->paths);
    arguments.add_flag("--sections", given->sections, "every section, of several modules, too");
    arguments.add_option("--against", given->against, "FILE", "an older module: what changed since, by section");
    arguments.add_flag("--json", given->json, "as one JSON document");
    return [given] { return size(*given); };
}

}  // namespace

const command size_command = {"how many bytes are code, data, bss, relocations, packets and tables",
                              "  velmdump size app.vlm\n  velmdump size app.vlm --against released.vlm\n", set_up_size};
