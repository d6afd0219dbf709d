// Image packets and their relocations.
#ifndef MODFORGE_TOOLS_VELMDUMP_PACKET_CHECKS_H
#define MODFORGE_TOOLS_VELMDUMP_PACKET_CHECKS_H

class finding_list;
class velm_module;
struct sound_parts;

/// That the packets chain from the tables to the end of the file and add up to their sections, each sound in itself and
/// cut where the converter would cut it.
void check_packets(const velm_module& module, const sound_parts& parts, finding_list& report);

#endif
