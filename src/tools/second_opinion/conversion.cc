// The stages in the order of a run: read, choose, cut, lay out.
#include "tools/second_opinion/conversion.h"

#include <optional>
#include <utility>

#include "tools/second_opinion/account.h"
#include "tools/second_opinion/coff_input.h"
#include "tools/second_opinion/entries.h"
#include "tools/second_opinion/module_bytes.h"
#include "tools/second_opinion/name_table.h"
#include "tools/second_opinion/packets.h"
#include "tools/second_opinion/refusal.h"
#include "tools/second_opinion/sayings.h"
#include "tools/second_opinion/selection.h"

namespace second_opinion {
namespace {

void append_all_packets(const conversion_request& request, const coff_input& input, selection& selected,
                        made_module& module, sayings& said) {
    for (module_section& scn : selected.sections) {
        if (!scn.has_contents)
            continue;
        scn.first_packet = static_cast<u32>(module.size);
        if (append_packets(scn, input, selected, request, module))
            said.say("WARNING: Section " + std::string(scn.from->name) +
                     ": relocations out of order or outside its packets\n");
        if (scn.is_copy)  // the addresses were needed until here
            scn.run_address = scn.load_address = 0;
    }
}

void run(const conversion_request& request, sayings& said, bytes& module, account* told) {
    const u64 most = memory_limit(request.input.size());
    coff_input input(request.input);
    entries named(request.entries, said);
    name_table names(most);
    if (!request.symbols_only)
        names.add(std::string_view(request.input_name).substr(request.input_name.rfind('/') + 1));
    names.forget_longest();
    selection selected(request, input, named, names);
    if (said.warns_of_entries())
        named.tell_missing(request.input_name, said);
    names.pad();
    if (front_size(selected, names) > request.most_bytes)
        throw too_long();
    made_module made{.size = front_size(selected, names), .data = request.account_only ? nullptr : &module};
    if (!request.account_only)
        module.resize(made.size);
    append_all_packets(request, input, selected, made, said);
    if (!request.account_only)
        fill_front(input, selected, names, request.order, module);
    if (told != nullptr)
        *told = account(std::move(input), std::move(named), std::move(selected), request.symbols_only);
}

}  // namespace

conversion convert(const conversion_request& request, account* told) {
    conversion result;
    sayings said(!request.quiet, memory_limit(request.input.size()));
    try {
        run(request, said, result.module, told);
        if (request.c_text)
            result.module = as_text(result.module, request.order);
        result.err = said.text();
        return result;
    } catch (const refusal& end) {
        result.wording_open = end.err.empty() && end.out.empty();
        result.why = end.why;
        result.out = end.out;
        result.err = said.text() + end.err;
    } catch (const too_long&) {
        result.unfinished = request.most_bytes < largest_module;
        result.wording_open = true;
        result.why = "the module would have 4 GiB or more";
        result.err = said.text();
    }
    result.status = 1;
    result.module = bytes();
    return result;
}

}  // namespace second_opinion
