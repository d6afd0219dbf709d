// The symbols as a linker's map or nm would list them. A module has no sizes of symbols: the size is the room up to the
// next symbol of the section, a nameless one among them, or up to its end.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <tuple>

#include "tools/common/json_writer.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/module_facts.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/section_choice.h"

namespace {

struct symbols_arguments {
    std::string path;
    std::string order = "address";
    std::string section;
    bool all = false;
    bool json = false;
};

struct listed_symbol {
    const velm_symbol_record* record;
    std::string_view name;  ///< empty for a nameless one
    std::uint32_t size;     ///< address units
    char kind;
};

/// As nm has it: T code, D data, B uninitialised, A absolute, U undefined, N debugging, small when nameless.
char kind_of(const velm_module& module, const velm_symbol_record& symbol) {
    static constexpr char section_kinds[] = {'T', 'D', 'B', 'D'};
    char kind = symbol.section == 0 ? 'U' : symbol.section == -1 ? 'A' : symbol.section == -2 ? 'N' : '?';
    if (symbol.section > 0 && static_cast<std::size_t>(symbol.section) <= module.sections.size()) {
        const auto number = static_cast<std::size_t>(symbol.section) - 1;
        kind = section_kinds[module.sections[number].header.flags & velm_scn_type_mask & 3];
    }
    return velm_module::is_named(symbol) || kind == '?' ? kind : static_cast<char>(kind - 'A' + 'a');
}

/// All symbols by section and address, with their sizes.
std::vector<listed_symbol> measured(const velm_module& module) {
    std::vector<listed_symbol> list;
    for (const velm_symbol_record& symbol : module.symbols)
        list.push_back({&symbol, velm_module::is_named(symbol) ? module.name(symbol) : std::string_view{}, 0,
                        kind_of(module, symbol)});
    std::stable_sort(list.begin(), list.end(), [](const listed_symbol& a, const listed_symbol& b) {
        return std::tie(a.record->section, a.record->value) < std::tie(b.record->section, b.record->value);
    });
    std::uint32_t next = 0;
    for (std::size_t i = list.size(); i-- > 0;) {
        const velm_symbol_record& symbol = *list[i].record;
        if (symbol.section <= 0 || static_cast<std::size_t>(symbol.section) > module.sections.size())
            continue;
        const velm_scnhdr_record& section = module.sections[static_cast<std::size_t>(symbol.section) - 1].header;
        const bool last = i + 1 == list.size() || list[i + 1].record->section != symbol.section;
        const bool alias = !last && list[i + 1].record->value == symbol.value;
        if (last)
            next = section.paddr + section.size;
        else if (!alias)
            next = list[i + 1].record->value;
        list[i].size = next > symbol.value ? next - symbol.value : 0;
    }
    return list;
}

/// Names as they are listed. Any number of symbols can share a long name: when so many bytes have been printed that no
/// real module has them, long names are cut, and end with three dots.
class listed_names {
public:
    std::string operator()(std::string_view name) {
        constexpr std::size_t plenty = std::size_t{64} << 20;
        constexpr std::size_t shortened = 256;
        used_ += name.size();
        return used_ < plenty || name.size() <= shortened ? std::string(name)
                                                          : std::string(name.substr(0, shortened)) + "...";
    }

private:
    std::size_t used_ = 0;
};

/// Imports have no address: they come last.
bool before_by_address(const listed_symbol& a, const listed_symbol& b) {
    return std::tuple(a.record->section == 0, a.record->value) < std::tuple(b.record->section == 0, b.record->value);
}

void sort(std::vector<listed_symbol>& list, const std::string& order) {
    if (order == "name")
        std::ranges::stable_sort(list, std::ranges::less{}, &listed_symbol::name);
    else if (order == "size")
        std::ranges::stable_sort(list, std::ranges::greater{}, &listed_symbol::size);
    else
        std::ranges::stable_sort(list, before_by_address);
}

void print_list(const velm_module& module, const std::vector<listed_symbol>& list) {
    std::puts("address     size        kind  section           name");
    listed_names names;
    for (const listed_symbol& each : list) {
        const std::string section = section_words(module, each.record->section, shown_name);
        const std::string name = velm_module::is_named(*each.record) ? shown_name(names(each.name)) : "-";
        if (each.record->section == 0)
            std::printf("%-10s  %-10s  %c     %-16s  %s\n", "-", "-", each.kind, section.c_str(), name.c_str());
        else
            std::printf("0x%08X  0x%08X  %c     %-16s  %s\n", each.record->value, each.size, each.kind, section.c_str(),
                        name.c_str());
    }
}

void print_list_as_json(const module_file& file, const std::vector<listed_symbol>& list) {
    json_writer json(stdout);
    json.begin_object();
    json.name("file", file.path);
    json.begin_array("symbols");
    listed_names names;
    for (const listed_symbol& each : list) {
        json.begin_object();
        if (velm_module::is_named(*each.record))
            json.name("name", names(each.name));
        else
            json.null("name");
        json.member("kind", std::string_view(&each.kind, 1));
        json.member("value", each.record->value);
        json.member("size", each.size);
        const int number = each.record->section;
        json.member("section", number);
        if (number > 0 && static_cast<std::size_t>(number) <= file.module.sections.size())
            json.name("section_name", file.module.name(file.module.sections[static_cast<std::size_t>(number) - 1]));
        json.end_object();
    }
    json.end_array();
    json.end_object();
}

int symbols(const symbols_arguments& given) {
    int status = status_good;
    const auto file = read_module(given.path, wanted_module::sound, status);
    if (!file)
        return status;
    const velm_module& module = file->module;
    const section_place* section = given.section.empty() ? nullptr : one_section(module, given.section);
    if (!section && !given.section.empty())
        return status_trouble;
    std::vector<listed_symbol> list = measured(module);
    std::erase_if(list, [&](const listed_symbol& each) {
        const bool elsewhere = section && each.record->section != section - module.sections.data() + 1;
        return elsewhere || (!given.all && !velm_module::is_named(*each.record));
    });
    sort(list, given.order);
    if (given.json)
        print_list_as_json(*file, list);
    else
        print_list(module, list);
    return status;
}

std::function<int()> set_up_symbols(command_arguments& arguments) {
    auto given = std::make_shared<symbols_arguments>();
    add_file(arguments, given->path);
    arguments.add_option("--sort", given->order, "ORDER", "address (as it is without this), name or size")
        .one_of({"address", "name", "size"});
    arguments.add_option("--section", given->section, "SECTION", "only those of one section, by name or by number");
    arguments.add_flag("--all", given->all, "the nameless ones, too");
    arguments.add_flag("--json", given->json, "as one JSON document");
    return [given] { return symbols(*given); };
}

}  // namespace

const command symbols_command = {"the symbols with address, size, kind and section",
                                 "  velmdump symbols --sort size app.vlm\n", set_up_symbols};
