// What people call the relocation types.
#include "packets/reloc_names.h"

#include <algorithm>
#include <iterator>

#include "packets/reloc_record.h"

namespace {

struct named_type {
    std::uint16_t type;
    const char* name;
};

constexpr named_type type_names[] = {
    {R_ABS, "R_ABS"},         {R_REL24, "R_REL24"},     {R_DIR32, "R_DIR32"},     {R_RELBYTE, "R_RELBYTE"},
    {R_RELWORD, "R_RELWORD"}, {R_RELLONG, "R_RELLONG"}, {R_PCRBYTE, "R_PCRBYTE"}, {R_PCRWORD, "R_PCRWORD"},
    {R_PCRLONG, "R_PCRLONG"}, {R_PCR24, "R_PCR24"},     {RE_ADD, "RE_ADD"},       {RE_SUB, "RE_SUB"},
    {RE_NEG, "RE_NEG"},       {RE_MPY, "RE_MPY"},       {RE_DIV, "RE_DIV"},       {RE_MOD, "RE_MOD"},
    {RE_SR, "RE_SR"},         {RE_ASR, "RE_ASR"},       {RE_SL, "RE_SL"},         {RE_AND, "RE_AND"},
    {RE_OR, "RE_OR"},         {RE_XOR, "RE_XOR"},       {RE_NOTB, "RE_NOTB"},     {RE_ULDFLD, "RE_ULDFLD"},
    {RE_SLDFLD, "RE_SLDFLD"}, {RE_USTFLD, "RE_USTFLD"}, {RE_SSTFLD, "RE_SSTFLD"}, {RE_PUSH, "RE_PUSH"},
    {RE_PUSHSK, "RE_PUSHSK"}, {RE_PUSHUK, "RE_PUSHUK"}, {RE_PUSHPC, "RE_PUSHPC"}, {RE_DUP, "RE_DUP"},
    {RE_XSTFLD, "RE_XSTFLD"}, {RE_PUSHSV, "RE_PUSHSV"},
};

}  // namespace

const char* reloc_type_name(std::uint16_t type) {
    const auto* found = std::find_if(std::begin(type_names), std::end(type_names),
                                     [type](const named_type& n) { return n.type == type; });
    return found == std::end(type_names) ? nullptr : found->name;
}
