// An examination from end to end: read the files, convert, find and mend the faults, convert again, judge.
#include "tools/coffdump/checks.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "tools/coffdump/entries_lint.h"
#include "tools/coffdump/raw_image.h"
#include "tools/coffdump/reading_checks.h"
#include "tools/common/entries_input.h"
#include "tools/common/file_input.h"

namespace {

namespace so = second_opinion;

/// So many sections that cannot be cut are looked at; each takes another conversion.
constexpr int most_tries = 50;

/// Reasons that are no one record's, as the second opinion gives them.
struct general_reason {
    const char* why;
    const char* says;
    const char* way_out;
};
constexpr general_reason general_reasons[] = {
    {"the module would have more than", "ERROR: The module would have more than 65535 symbols",
     "export fewer: write an entries file"},
    {"the module would have 4 GiB", "ERROR: The module would have 4 GiB or more",
     "leave sections out with '!' entries"},
    {"the names of the module are out of", "ERROR: The names of the module are out of proportion to the input",
     "the file is damaged: link again"},
    {"a name of the module", "", "shorten it, or choose other entries"},
    {"overlapping contents", "", "sections share their bytes in the file too often: it is damaged"},
};

const general_reason* reason_of(const so::conversion& refused) {
    const auto* const reason = std::find_if(std::begin(general_reasons), std::end(general_reasons),
                                            [&](const auto& r) { return refused.why.starts_with(r.why); });
    return reason == std::end(general_reasons) ? nullptr : reason;
}

/// The last line of what modforge prints.
std::string last_line(std::string text) {
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text.substr(text.rfind('\n') + 1);
}

std::string refusal_of(const so::conversion& result) {
    if (result.status == 0 || result.wording_open)
        return {};
    return last_line(result.out.empty() ? result.err : result.out);
}

}  // namespace

examination::examination(const planned_conversion& plan) : plan_(plan) {
    readable_ = read_files();
    if (readable_)
        examine();
}

bool examination::read_files() {
    request_.input_name = plan_.input == "-" ? input_label(plan_.input) : plan_.input;
    request_.symbols_only = plan_.symbols_only;
    request_.keep_cinit = plan_.runtime_cinit;
    request_.packet_size = plan_.packet_size;
    request_.account_only = true;
    auto input = read_whole(plan_.input);
    if (!input)
        return false;
    request_.input = std::move(*input);
    return read_entries_files(plan_.entries_files, request_.entries);
}

/// The conversion of the file as it is.
so::conversion examination::convert_as_is() {
    so::conversion result = so::convert(request_, &told_);
    for (std::size_t i = 0; i < request_.entries.size(); ++i)
        read_entries(plan_.entries_files[i], request_.entries[i], entries_, findings_);
    if (!request_.entries.empty())
        add_default_entries(entries_);
    return result;
}

void examination::examine() {
    so::conversion as_is = convert_as_is();
    refused_ = as_is.status != 0;
    raw_image image(request_.input);
    conversion_checks checks(image, request_.input_name, plan_.symbols_only, findings_);
    if (!refused_) {
        said_ = std::move(as_is.err);
        judge(checks, "");
        return;
    }
    if (check_reading(image, request_.input_name, findings_)) {
        checks.mend();
        convert_mended(checks);
        judge(checks, refusal_of(as_is));
    }
    if (!findings_.has_errors())
        explain(as_is);
}

/// Converts until nothing is refused any more, or nothing can be done about it.
void examination::convert_mended(conversion_checks& checks) {
    for (int tries = 0; tries < most_tries; ++tries) {
        so::conversion mended = so::convert(request_, &told_);
        if (mended.status == 0) {
            said_ = std::move(mended.err);
            return;
        }
        if (checks.mend_cut(mended))
            continue;
        // Only what holds for the file as a whole: for the rest, mending may be to blame where tables overlap.
        if (reason_of(mended))
            explain(mended);
        return;
    }
}

void examination::judge(conversion_checks& checks, const std::string& refusal) {
    if (!told_.input)
        return;
    checks.judge(told_, refusal);
    apply_entries(told_, entries_);
    lint_entries(told_, entries_, request_.input_name, said_, findings_);
    add_packet_warnings();
}

void examination::explain(const so::conversion& refused) {
    finding made{true, request_.input_name, refused.why, refusal_of(refused), ""};
    if (const general_reason* const reason = reason_of(refused)) {
        made.says = reason->says;
        made.way_out = reason->way_out;
    }
    findings_.add(std::move(made));
}

/// Fields can reach over the end of a packet that was cut at an odd place: nothing in the file tells beforehand.
void examination::add_packet_warnings() {
    for (const so::module_section& made : told_.module_sections) {
        const std::string name(made.from->name);
        const std::string says = "WARNING: Section " + name + ": relocations out of order or outside its packets";
        if (said_.find(says + '\n') != std::string::npos && !findings_.tells(says))
            findings_.add({false, request_.input_name,
                           "section " + std::to_string(made.from->number) + " (" + name +
                               "): the field of some relocation reaches over the end of its packet",
                           says, "place the field at an even address, or try another packet size (-p)"});
    }
}
