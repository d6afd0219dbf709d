#include "coff/aux_facts.h"

std::vector<std::pair<const char*, std::uint32_t>> aux_facts(const auxent& aux, aux_form form) {
    switch (form) {
    case aux_form::file:
        return {};
    case aux_form::block:
    case aux_form::function_mark:
        return {{"line", aux.half(4)}, {"next", aux.word(12)}};
    case aux_form::begin_function:
        return {{"register_mask", aux.word(0)},
                {"line", aux.half(4)},
                {"lines", aux.half(6)},
                {"frame_size", aux.word(8)},
                {"next", aux.word(12)}};
    case aux_form::tag:
        return {{"size", aux.word(4)}, {"next", aux.word(12)}};
    case aux_form::function:
        return {{"tag", aux.word(0)}, {"size", aux.word(4)}, {"line_pointer", aux.word(8)}, {"next", aux.word(12)}};
    case aux_form::array:
        return {{"tag", aux.word(0)},          {"size", aux.word(4)},         {"dimension_0", aux.half(8)},
                {"dimension_1", aux.half(10)}, {"dimension_2", aux.half(12)}, {"dimension_3", aux.half(14)}};
    case aux_form::section:
        return {{"length", aux.word(0)}, {"relocations", aux.half(4)}, {"line_numbers", aux.half(6)}};
    case aux_form::end_of_struct:
    case aux_form::other:
        break;
    }
    return {{"tag", aux.word(0)}, {"size", aux.word(4)}};
}
