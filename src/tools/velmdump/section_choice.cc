// By name first; a number counts only where no section is named so.
#include "tools/velmdump/section_choice.h"

#include <algorithm>
#include <charconv>

#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"

namespace {

const section_place* numbered_section(const velm_module& module, const std::string& wanted) {
    std::size_t number = 0;
    const char* const end = wanted.data() + wanted.size();
    if (std::from_chars(wanted.data(), end, number).ptr != end)
        return nullptr;
    return number >= 1 && number <= module.sections.size() ? &module.sections[number - 1] : nullptr;
}

}  // namespace

const section_place* one_section(const velm_module& module, const std::string& wanted) {
    const auto named = [&](const section_place& section) { return module.name(section) == wanted; };
    const auto first = std::find_if(module.sections.begin(), module.sections.end(), named);
    if (first == module.sections.end()) {
        const section_place* section = numbered_section(module, wanted);
        if (!section)
            complain("no section is named %s", printable(wanted).c_str());
        return section;
    }
    const auto second = std::find_if(first + 1, module.sections.end(), named);
    if (second == module.sections.end())
        return &*first;
    complain("several sections are named %s: choose one by its number, for instance %td", printable(wanted).c_str(),
             second - module.sections.begin() + 1);
    return nullptr;
}
