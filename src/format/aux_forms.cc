// One table of the forms, from which entries are swapped and listed.
#include "format/aux_forms.h"

#include "format/coff_records.h"

namespace {

constexpr aux_field tag_index = {"tag", aux_tag_index, 4};
constexpr aux_field entry_size = {"size", aux_entry_size, 4};
constexpr aux_field line = {"line", aux_line, 2};
constexpr aux_field next = {"next", aux_next, 4};

constexpr aux_field mark_fields[] = {line, next};
constexpr aux_field begin_function_fields[] = {
    {"register_mask", aux_regmask, 4}, line, {"lines", aux_line_count, 2}, {"frame_size", aux_framesize, 4}, next};
constexpr aux_field tag_fields[] = {entry_size, next};
constexpr aux_field function_fields[] = {tag_index, entry_size, {"line_pointer", aux_lnnoptr, 4}, next};
constexpr aux_field array_fields[] = {tag_index,
                                      entry_size,
                                      {"dimension_0", aux_dimensions, 2},
                                      {"dimension_1", aux_dimensions + 2, 2},
                                      {"dimension_2", aux_dimensions + 4, 2},
                                      {"dimension_3", aux_dimensions + 6, 2}};
constexpr aux_field section_fields[] = {
    {"length", aux_scn_length, 4}, {"relocations", aux_scn_nreloc, 2}, {"line_numbers", aux_scn_nlnno, 2}};
constexpr aux_field other_fields[] = {tag_index, entry_size};

}  // namespace

std::span<const aux_field> aux_fields(aux_form form) {
    switch (form) {
    case aux_form::file:
        return {};
    case aux_form::block:
    case aux_form::function_mark:
        return mark_fields;
    case aux_form::begin_function:
        return begin_function_fields;
    case aux_form::tag:
        return tag_fields;
    case aux_form::function:
        return function_fields;
    case aux_form::array:
        return array_fields;
    case aux_form::section:
        return section_fields;
    case aux_form::end_of_struct:
    case aux_form::other:
        break;
    }
    return other_fields;
}

void swap_record(auxent& entry, aux_form form) {
    for (const aux_field& field : aux_fields(form)) {
        if (field.size == 2)
            entry.set_half(field.offset, swapped(entry.half(field.offset)));
        else
            entry.set_word(field.offset, swapped(entry.word(field.offset)));
    }
}
