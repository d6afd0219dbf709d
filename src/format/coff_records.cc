// Which fields of a record have a byte order.
#include "format/coff_records.h"

#include "format/reloc_types.h"

namespace {

void swap_name_offset(char (&name)[8]) {
    if (name_is_offset(name))
        set_name_offset(name, swapped(name_offset(name)));
}

std::int16_t swapped_signed(std::int16_t value) {
    return static_cast<std::int16_t>(swapped(static_cast<std::uint16_t>(value)));
}

}  // namespace

void swap_record(filehdr& header) {
    header.fh_magic = swapped(header.fh_magic);
    header.fh_nscns = swapped(header.fh_nscns);
    header.fh_timdat = swapped(header.fh_timdat);
    header.fh_symptr = swapped(header.fh_symptr);
    header.fh_nsyms = swapped(header.fh_nsyms);
    header.fh_opthdr = swapped(header.fh_opthdr);
    header.fh_flags = swapped(header.fh_flags);
    header.fh_target_id = swapped(header.fh_target_id);
}

void swap_record(opthdr& header) {
    header.ofh_magic = swapped_signed(header.ofh_magic);
    header.ofh_vstamp = swapped_signed(header.ofh_vstamp);
    for (std::uint32_t opthdr::*field : {&opthdr::ofh_tsize, &opthdr::ofh_dsize, &opthdr::ofh_bsize,
                                         &opthdr::ofh_entrypt, &opthdr::ofh_text_start, &opthdr::ofh_data_start})
        header.*field = swapped(header.*field);
}

void swap_record(scnhdr& header) {
    swap_name_offset(header.s_name);
    for (std::uint32_t scnhdr::*field :
         {&scnhdr::s_paddr, &scnhdr::s_vaddr, &scnhdr::s_size, &scnhdr::s_scnptr, &scnhdr::s_relptr, &scnhdr::s_lnnoptr,
          &scnhdr::s_nreloc, &scnhdr::s_nlnno, &scnhdr::s_flags})
        header.*field = swapped(header.*field);
    header.s_page = swapped(header.s_page);
}

void swap_record(reloc& entry) {
    entry.r_vaddr = swapped(entry.r_vaddr);
    entry.r_type = swapped(entry.r_type);
    // The type decides, so it must be in host order at this point: swap_record of a host-order record is not the way
    // back for it, and nothing is ever written in another order than the host's.
    if (is_field_reloc(entry.r_type))
        return;
    entry.r_symndx = swapped(entry.r_symndx);
    // On purpose the word stays as it lies in the file for types that have no displacement.
    if (has_displacement(entry.r_type))
        entry.r_disp = swapped(entry.r_disp);
}

void swap_record(lineno& entry) {
    entry.l_addr = swapped(entry.l_addr);
    entry.l_lnno = swapped(entry.l_lnno);
}

void swap_record(syment& entry) {
    swap_name_offset(entry.n_name);
    entry.n_value = static_cast<std::int32_t>(swapped(static_cast<std::uint32_t>(entry.n_value)));
    entry.n_scnum = swapped_signed(entry.n_scnum);
    entry.n_type = swapped(entry.n_type);
}
