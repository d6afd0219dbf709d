// The answers of a file without debug information, and those that line numbers and function symbols can give.
#include "coff/coff_debug.h"

#include "coff/coff_file.h"
#include "msg/user_msg.h"

COFF_DEBUG::COFF_DEBUG(COFF_FILE* file) : file_(file) {
    if (!file)
        UMSG.die("COFF_DEBUG::COFF_DEBUG", "missing file");
}

COFF_DEBUG::~COFF_DEBUG() = default;

bool COFF_DEBUG::condense(bool wanted, bool) {
    return wanted;
}

std::uint32_t COFF_DEBUG::code_coverage_update(std::uint32_t, std::uint32_t) {
    return 0;
}

void COFF_DEBUG::code_coverage_dump(std::FILE*) {}

PSN* COFF_DEBUG::get_source_psn(std::uint32_t address) {
    for (std::int16_t number = 1; COFF_SECTION* const section = file_->get_section(number); ++number) {
        if (PSN* const position = section->get_source_psn(address))
            return position;
    }
    return nullptr;
}

void COFF_DEBUG::get_functions(SLIST* list) {
    list->merge(&file_->symbol_table()->functions());
}

bool COFF_DEBUG::is_address_branch(std::uint32_t) {
    return false;
}

SLIST* COFF_DEBUG::get_callee_list(std::uint32_t, std::int16_t, SLIST* list) {
    return list;
}

std::uint32_t COFF_DEBUG::max_stack_size(std::uint32_t, std::int16_t, std::uint32_t* size) {
    if (size)
        *size = 0;
    return 0;
}
